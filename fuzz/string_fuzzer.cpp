// Texts through the functions of strings: what is copied is whole, places are within the text, and multibyte and wide text say the
// same where the codeset is undamaged. The locale's items are texts.
#include "family.h"

#include <climits>

using namespace qbgl_test;

namespace {

constexpr const char *TOKENS[] = {"a", "b", "ab", "aab", "%", "_", "\\", "A", "%a", "a_b%", "aaaaaaaa", ",", " "};

using Wide = std::vector<gl_wchar>;

Wide widened(gl_locale *l, const char *text) {
    Wide wide(300);
    const int length = gl_mbstowcs(l, wide.data(), text, 300);
    if (length < 0) return {};
    wide.resize(static_cast<size_t>(length) + 1);
    return wide;
}

// How many characters stand before a place; -1 for null.
int characters_before(gl_locale *l, const char *text, const char *place) {
    int count = 0;
    if (place == nullptr) return -1;
    for (gl_wchar wc; text < place; ++count) {
        const int length = gl_full_mbtowc(l, &wc, text, 4);
        require(length > 0 || l->single_byte != 0);
        text += std::max(length, 1);
    }
    require(text == place);
    return count;
}
int characters_before(const Wide &text, const gl_wchar *place) {
    return place != nullptr ? static_cast<int>(place - text.data()) : -1;
}

void copy(Family &f, const char *a, const char *b) {
    const int room = f.room(), n = static_cast<int>(f.in.below(8));
    auto *const out = f.out<char>(room);
    f.check(out, room, f.without_memory([&] { return gl_mbscpy(f.l, out, room, a); }));
    f.check(out, room, f.without_memory([&] { return gl_mbsncpy(f.l, out, room, a, n); }));
    f.check(out, room, f.without_memory([&] { return gl_mbscat(f.l, out, room, b); }));
    f.check(out, room, f.without_memory([&] { return gl_mbsncat(f.l, out, room, b, n); }));
    f.check(out, room, f.without_memory([&] { return gl_mbsrev(f.l, out, room, a); }));
}

void split(Family &f, const std::string &text, const char *set) {
    char *s = const_cast<char *>(f.guarded(text)), *state = nullptr;
    const char *const begin = s, *const end = begin + text.size() + static_cast<size_t>(f.unit);
    for (int pieces = 0; const char *piece = gl_mbstok(f.l, s, set, &state); s = nullptr) {
        require(begin <= piece && piece < end && ++pieces <= 300);
        require(gl_mbsbytes(f.l, piece) > 0);
    }
}

void search(Family &f, const char *a, const char *b, bool damaged) {
    const Wide wa = widened(f.l, a), wb = widened(f.l, b);
    const bool comparable = !damaged && !wa.empty() && !wb.empty();
    const auto same = [&](const char *found, auto wide) {
        if (found != nullptr) f.check_place(found, a);
        if (comparable) require(characters_before(f.l, a, found) == characters_before(wa, wide()));
    };
    same(gl_mbsstr(f.l, a, b), [&] { return gl_wcsstr(f.l, wa.data(), wb.data()); });
    same(gl_mbschr(f.l, a, b), [&] { return gl_wcschr(f.l, wa.data(), wb[0]); });
    same(gl_mbsrchr(f.l, a, b), [&] { return gl_wcsrchr(f.l, wa.data(), wb[0]); });
    same(gl_mbspbrk(f.l, a, b), [&] { return gl_wcspbrk(f.l, wa.data(), wb.data()); });
    const int in = gl_mbsspn(f.l, a, b), out = gl_mbscspn(f.l, a, b), match = gl_mbsmatch(f.l, a, b, nullptr);
    const int order = gl_mbscasecmp(f.l, a, b);
    require(in >= -1 && out >= -1 && match >= -1 && match <= 1 && order >= -1 && order <= 1);
    if (in >= 0) f.check_place(a + in, a);
    if (out >= 0) f.check_place(a + out, a);
    if (!comparable) return;
    require(match == gl_wcsmatch(f.l, wa.data(), wb.data(), nullptr) && order == gl_wcscasecmp(f.l, wa.data(), wb.data()));
    require(characters_before(f.l, a, a + in) == gl_wcsspn(f.l, wa.data(), wb.data()));
    require(characters_before(f.l, a, a + out) == gl_wcscspn(f.l, wa.data(), wb.data()));
    require(order == -gl_mbscasecmp(f.l, b, a));
}

void look_at_items(gl_locale *l) {
    for (int item = -1; item < 220; ++item) {
        const char *const text = gl_langinfo(l, item);
        require(text != nullptr);
        const bool is_number = item >= GL_FIRST_WEEKDAY && item <= GL_INT_N_SIGN_POSN;
        if (is_number)
            require(*text <= 7 || *text == CHAR_MAX);
        else
            require(item == GL_CODESET || gl_mbsbytes(l, text) > 0);
    }
}

void run(Family &f, bool damaged) {
    const std::string one = f.text(40), other = f.text(12);
    const char *const a = f.guarded(one), *const b = f.guarded(other);
    copy(f, a, b);
    search(f, a, b, damaged);
    split(f, one, b);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input in(data, size);
    Family f(in, TOKENS);
    const bool damage = in.below(4) == 0;
    if (damage) {
        Codeset codeset = f.shape.codeset;
        for (unsigned changes = 1 + in.below(4); changes > 0; --changes)
            codeset.characters[in.word() % codeset.characters.size()].bytes = some_bytes(in);
        try {
            f.object.ctype = ctype_text(codeset);
        } catch (const std::logic_error &) { // there is no such table
            return 0;
        }
    }
    if (!f.load()) return 0;
    look_at_items(f.l);
    while (f.next()) run(f, damage || f.is_damaged());
    return 0;
}
