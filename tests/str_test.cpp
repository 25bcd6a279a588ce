// Texts by characters, in codesets of every shape and as wide characters, against std::u32string on the same characters.
#include "support/every_codeset.h"
#include "support/faults.h"
#include "support/guarded.h"

#include <algorithm>
#include <random>

namespace {

using namespace qbgl_test;
using Wide = std::basic_string<char32_t>;
constexpr int ROOM = 256;

// The same texts in both forms, beside pages that cannot be touched.
class Texts {
  public:
    Texts(const Codeset &codeset, gl_locale *locale) : l(locale), terminator_(codeset.encode(std::string(1, '\0')).size()) {
        for (const char *ascii : {"a", "b", "B", "\\", "%", "_"}) alphabet += wide(codeset.encode(ascii));
        for (size_t i = 1; i < 5; ++i) alphabet += wide(codeset.characters[codeset.characters.size() - i].bytes);
        for (const Character &character :
             codeset.characters) { // a character that ends as "a" or a backslash looks, or begins as it ends
            const char last = character.bytes.back();
            if (character.bytes.size() > terminator_ && (last == 'a' || last == '\\' || last == character.bytes[0]))
                alphabet += wide(character.bytes);
        }
        shortest = static_cast<int>(terminator_);
    }

    Wide random(size_t most, size_t of) {
        Wide text(random_() % (most + 1), U'\0');
        for (char32_t &c : text) c = alphabet[random_() % std::min(of, alphabet.size())];
        return text;
    }
    std::string bytes(const Wide &text) const {
        std::string result;
        for (const char32_t c : text) {
            char buffer[4];
            const int length = gl_full_wctomb(l, buffer, c);
            if (length < 1) throw std::logic_error("no character");
            result.append(buffer, static_cast<size_t>(length));
        }
        return result;
    }
    char *mbs(const Wide &text, size_t room = 0) { return mbs_of(bytes(text), room); }
    char *mbs_of(std::string text, size_t room = 0) {
        text.append(terminator_, '\0');
        return static_cast<char *>(
            memory_.take(std::max(room, text.size()), Guard::behind, (text + std::string(room, '\1')).data()));
    }
    gl_wchar *wcs(const Wide &text, size_t room = 0) {
        const Wide padded = text + U'\0' + Wide(room, U'\1');
        return static_cast<gl_wchar *>(memory_.take(4 * std::max(room, text.size() + 1), Guard::behind, padded.data()));
    }
    char *room(size_t size) { return static_cast<char *>(memory_.take(size, Guard::behind)); }
    int offset(const Wide &text, size_t characters) const { return static_cast<int>(bytes(text.substr(0, characters)).size()); }
    void next() { EXPECT_TRUE(memory_.clear()); }

    gl_locale *const l;
    Wide alphabet;
    int shortest;

  private:
    const size_t terminator_;
    std::mt19937 random_{11};
    GuardedMemory memory_;
};

void everywhere_with_texts(auto check) {
    everywhere(std::identity(), [&](const Codeset &codeset, gl_locale *l) {
        Texts texts(codeset, l);
        check(texts);
        texts.next();
    });
}

TEST(Strings, AreSearchedByCharacters) {
    everywhere_with_texts([](Texts &t) {
        gl_locale *const l = t.l;
        for (int round = 0; round < 600; ++round) {
            const size_t letters = round % 2 == 0 ? t.alphabet.size() : 3;
            const Wide text = t.random(24, letters), needle = t.random(3, letters), set = t.random(4, letters);
            const char32_t one = t.alphabet[static_cast<size_t>(round) % t.alphabet.size()];
            const char *const s = t.mbs(text), *const n = t.mbs(needle), *const of = t.mbs(set), *const c = t.mbs(Wide(1, one));
            const gl_wchar *const ws = t.wcs(text), *const wn = t.wcs(needle), *const wof = t.wcs(set);
            const auto same = [&](const char *found, const gl_wchar *wide_found, size_t place) {
                ASSERT_EQ(found, place == Wide::npos ? nullptr : s + t.offset(text, place)) << round;
                ASSERT_EQ(wide_found, place == Wide::npos ? nullptr : ws + place) << round;
            };
            same(gl_mbsstr(l, s, n), gl_wcsstr(l, ws, wn), text.find(needle));
            same(gl_mbschr(l, s, c), gl_wcschr(l, ws, one), text.find(one));
            same(gl_mbsrchr(l, s, c), gl_wcsrchr(l, ws, one), text.rfind(one));
            same(gl_mbspbrk(l, s, of), gl_wcspbrk(l, ws, wof), text.find_first_of(set));
            const size_t in = std::min(text.find_first_not_of(set), text.size()),
                         out = std::min(text.find_first_of(set), text.size());
            same(s + gl_mbsspn(l, s, of), ws + gl_wcsspn(l, ws, wof), in);
            same(s + gl_mbscspn(l, s, of), ws + gl_wcscspn(l, ws, wof), out);
            same(gl_mbschr(l, s, c + t.offset(Wide(1, one), 1)), gl_wcschr(l, ws, 0), text.size()); // the terminator
            t.next();
        }
    });
}

// Each would take minutes if the time grew with the product of the lengths.
TEST(Strings, AreSearchedInLinearTime) {
    constexpr size_t LONG = 200'000;
    const auto search = [](gl_locale *l, const std::string &text, const std::string &needle) {
        const std::string end(4, '\0');
        EXPECT_EQ(gl_mbsstr(l, (text + end).c_str(), (needle + end).c_str()), nullptr);
        EXPECT_EQ(take_error(l), UNTOUCHED);
    };
    everywhere_with_texts([&](Texts &t) {
        for (const char32_t c : {t.alphabet[0], t.alphabet.back()}) {
            const Wide text(LONG, c), needle = Wide(LONG / 2, c) + t.alphabet[1] + Wide(LONG / 4, c);
            search(t.l, t.bytes(text), t.bytes(needle));
            const std::vector<gl_wchar> ws(text.c_str(), text.c_str() + LONG + 1),
                wn(needle.c_str(), needle.c_str() + needle.size() + 1);
            EXPECT_EQ(gl_wcsstr(t.l, ws.data(), wn.data()), nullptr);
        }
    });
    // The needle's bytes stand everywhere, but never where a character begins.
    Codeset codeset = sjis_codeset();
    for (const char *bytes : {"\x82\x88", "\x88\x82"}) codeset.characters.push_back({bytes, LETTER});
    const Locale locale = load_locale(LocaleObject(codeset));
    std::string text, needle;
    for (size_t i = 0; i < LONG; ++i) text += "\x82\x88";
    for (size_t i = 0; i < LONG / 2; ++i) needle += "\x88\x82";
    take_error(locale.get());
    search(locale.get(), text, needle);
}

TEST(Strings, AreCopiedWhole) {
    everywhere_with_texts([](Texts &t) {
        gl_locale *const l = t.l;
        for (int round = 0; round < 300; ++round) {
            const Wide head = t.random(4, 99), text = t.random(6, 99);
            const int room = round % 32, n = round % 8;
            for (const bool behind : {false, true}) {
                for (const int most : {n, 99}) {
                    const Wide front = behind ? head : U"", all = front + text.substr(0, static_cast<size_t>(most));
                    const auto fitting = [&](auto size_of, int terminator) {
                        size_t count = all.size();
                        while (count > 0 && size_of(all.substr(0, count)) + terminator > room) --count;
                        return all.substr(0, count);
                    };
                    const auto size = [&](const Wide &of) { return static_cast<int>(t.bytes(of).size()); };
                    const Wide kept = fitting(size, t.shortest);
                    const bool has_room = room >= t.shortest, head_fits = size(front) + t.shortest <= room;
                    char *const out =
                        behind && head_fits ? t.mbs(head, static_cast<size_t>(room)) : t.room(static_cast<size_t>(room));
                    if (behind && !head_fits) continue;
                    const char *const s = t.mbs(text);
                    const int result = most == 99 ? (behind ? gl_mbscat : gl_mbscpy)(l, out, room, s)
                                                  : (behind ? gl_mbsncat : gl_mbsncpy)(l, out, room, s, most);
                    ASSERT_EQ(told(l, result),
                              has_room && kept == all ? std::pair(size(all), UNTOUCHED) : std::pair(-1, int{GL_E2BIG}));
                    const std::string ended = has_room ? t.bytes(kept) + std::string(static_cast<size_t>(t.shortest), '\0') : "";
                    ASSERT_EQ(std::string(out, ended.size()), ended);
                    const auto units = [](const Wide &of) { return static_cast<int>(of.size()); };
                    const Wide wide_kept = fitting(units, 1);
                    if (room == 0 || units(front) >= room) continue;
                    gl_wchar *const wide_out = t.wcs(front, static_cast<size_t>(room));
                    const gl_wchar *const ws = t.wcs(text);
                    const int count = most == 99 ? (behind ? gl_wcscat : gl_wcscpy)(l, wide_out, room, ws)
                                                 : (behind ? gl_wcsncat : gl_wcsncpy)(l, wide_out, room, ws, most);
                    ASSERT_EQ(told(l, count), wide_kept == all ? std::pair(units(all), UNTOUCHED) : std::pair(-1, int{GL_E2BIG}));
                    ASSERT_TRUE(std::equal(wide_kept.c_str(), wide_kept.c_str() + wide_kept.size() + 1, wide_out));
                    t.next();
                }
            }
            const Wide reversed(text.rbegin(), text.rend());
            char *const out = t.room(ROOM);
            ASSERT_EQ(gl_mbsrev(l, out, ROOM, t.mbs(text)), static_cast<int>(t.bytes(text).size()));
            ASSERT_EQ(std::string(out, t.bytes(text).size()), t.bytes(reversed));
            gl_wchar *const wide_out = t.wcs(U"", 7);
            ASSERT_EQ(gl_wcsrev(l, wide_out, 7, t.wcs(text)), static_cast<int>(text.size()));
            ASSERT_TRUE(std::equal(reversed.begin(), reversed.end(), wide_out));
            if (text.size() > 1) {
                const Wide tail = text.substr(1);
                const int cut = static_cast<int>(t.bytes(tail).size()) + t.shortest;
                char *const small = t.room(static_cast<size_t>(cut));
                ASSERT_TRUE(fails(l, gl_mbsrev(l, small, cut, t.mbs(text)), GL_E2BIG));
                ASSERT_EQ(std::string(small, t.bytes(tail).size()), t.bytes(reversed.substr(0, tail.size())));
            }
            t.next();
        }
    });
}

TEST(Strings, AreSplitInTheirPlace) {
    everywhere_with_texts([](Texts &t) {
        for (int round = 0; round < 200; ++round) {
            const Wide text = t.random(12, 5), set = t.random(2, 5);
            std::vector<Wide> expected, pieces, wide_pieces;
            for (size_t at = 0; (at = text.find_first_not_of(set, at)) != Wide::npos;) {
                const size_t end = std::min(text.find_first_of(set, at), text.size());
                expected.push_back(text.substr(at, end - at));
                at = end;
            }
            char *s = t.mbs(text), *state = nullptr;
            const char *const of = t.mbs(set);
            for (char *piece = gl_mbstok(t.l, s, of, &state); piece != nullptr; piece = gl_mbstok(t.l, nullptr, of, &state)) {
                gl_wchar buffer[16];
                const int count = gl_mbstowcs(t.l, buffer, piece, 16);
                pieces.emplace_back(buffer, buffer + count);
            }
            gl_wchar *ws = t.wcs(text), *wide_state = nullptr;
            const gl_wchar *const wof = t.wcs(set);
            for (gl_wchar *piece = gl_wcstok(t.l, ws, wof, &wide_state); piece != nullptr;
                 piece = gl_wcstok(t.l, nullptr, wof, &wide_state))
                wide_pieces.emplace_back(piece, piece + gl_wcslen(piece));
            ASSERT_EQ(pieces, expected);
            ASSERT_EQ(wide_pieces, expected);
            t.next();
        }
    });
}

// What LIKE means, by trying everything.
bool like(const Wide &text, size_t at, const Wide &pattern, size_t from, char32_t escape) {
    if (from == pattern.size()) return at == text.size();
    if (pattern[from] == escape)
        return at < text.size() && text[at] == pattern[from + 1] && like(text, at + 1, pattern, from + 2, escape);
    if (pattern[from] == '%')
        return like(text, at, pattern, from + 1, escape) || (at < text.size() && like(text, at + 1, pattern, from, escape));
    return at < text.size() && (pattern[from] == '_' || pattern[from] == text[at]) && like(text, at + 1, pattern, from + 1, escape);
}

TEST(Strings, AreComparedAndMatched) {
    everywhere_with_texts([](Texts &t) {
        gl_locale *const l = t.l;
        int matched = 0;
        for (int round = 0; round < 1000; ++round) {
            Wide letters = t.alphabet.substr(0, 2) + t.alphabet.substr(4, 3);
            const auto some = [&](size_t most) {
                Wide text = t.random(most, letters.size());
                for (char32_t &c : text) c = letters[t.alphabet.find(c)];
                return text;
            };
            const Wide text = some(7), pattern = some(6), other = some(4);
            for (const char32_t escape : {char32_t{0}, letters[4]}) {
                const Wide with = escape == 0 ? Wide() : Wide(1, escape);
                const bool cut = escape != 0 && [&] {
                    size_t i = 0;
                    while (i < pattern.size()) i += pattern[i] == escape ? 2 : 1;
                    return i > pattern.size();
                }();
                const int expected = cut ? -1 : like(text, 0, pattern, 0, escape == 0 ? U'\xFFFFFF' : escape) ? 1 : 0;
                matched += expected == 1 ? 1 : 0;
                const auto told_of = std::pair(expected, cut ? int{GL_EINVAL} : UNTOUCHED);
                ASSERT_EQ(told(l, gl_mbsmatch(l, t.mbs(text), t.mbs(pattern), escape != 0 ? t.mbs(with) : nullptr)), told_of)
                    << round;
                ASSERT_EQ(told(l, gl_wcsmatch(l, t.wcs(text), t.wcs(pattern), t.wcs(with))), told_of) << round;
            }
            t.next();
            const Wide one = t.random(4, 4), two = t.random(4, 4);
            for (const int n : {2, 99}) {
                Wide x = one.substr(0, static_cast<size_t>(n)), y = two.substr(0, static_cast<size_t>(n));
                for (Wide *folded : {&x, &y})
                    for (char32_t &c : *folded) c = gl_towlower(l, c);
                const int order = x.compare(y), sign = order < 0 ? -1 : order > 0 ? 1 : 0;
                ASSERT_EQ(gl_mbsncasecmp(l, t.mbs(one), t.mbs(two), n), sign);
                ASSERT_EQ(n == 2 ? gl_wcsncasecmp(l, t.wcs(one), t.wcs(two), n) : gl_wcscasecmp(l, t.wcs(one), t.wcs(two)), sign);
                ASSERT_EQ(gl_mbscasecmp(l, t.mbs(x), t.mbs(y)), sign);
                t.next();
            }
        }
        EXPECT_GT(matched, 50);
    });
}

TEST(Strings, Fail) {
    everywhere_with_texts([](Texts &t) {
        gl_locale *const l = t.l;
        const char *const good = t.mbs(t.alphabet.substr(0, 2));
        char out[ROOM] = {}, *state = nullptr;
        EXPECT_TRUE(fails(l, gl_mbscpy(l, nullptr, ROOM, good), GL_ENULLPTR));
        EXPECT_TRUE(fails(l, gl_mbscat(l, out, ROOM, nullptr), GL_ENULLPTR));
        EXPECT_TRUE(fails(l, gl_mbsncpy(l, out, ROOM, good, -1), GL_ENEGCOUNT));
        EXPECT_TRUE(fails(l, gl_mbsrev(l, out, t.shortest - 1, good), GL_E2BIG));
        EXPECT_TRUE(fails(l, gl_mbscat(l, const_cast<char *>(good), t.shortest, good), GL_EINVAL));
        EXPECT_TRUE(fails(l, gl_mbschr(l, good, nullptr), GL_ENULLPTR));
        EXPECT_TRUE(fails(l, gl_mbsstr(l, nullptr, good), GL_ENULLPTR));
        EXPECT_TRUE(fails(l, gl_mbsspn(l, good, nullptr), GL_ENULLPTR));
        EXPECT_TRUE(fails(l, gl_mbstok(l, out, good, nullptr), GL_ENULLPTR));
        EXPECT_EQ(told(l, gl_mbstok(l, nullptr, good, &state)), std::pair(static_cast<char *>(nullptr), UNTOUCHED));
        EXPECT_EQ(told(l, gl_mbsncasecmp(l, good, good, -1)), std::pair(0, int{GL_ENEGCOUNT}));
        EXPECT_TRUE(fails(l, gl_mbsmatch(l, good, good, good), GL_EINVAL)); // an escape of two characters
        Wide many;
        for (gl_wchar c = 0x1000; c < 0x1064; ++c) many += c;
        for_each_fault(Operation::allocate, Lasting::once, [&](const Faults &faults) {
            const int length = gl_wcsspn(l, t.wcs(many), t.wcs(many));
            EXPECT_EQ(told(l, length), faults.hit() ? std::pair(-1, int{GL_ENOMEM}) : std::pair(100, UNTOUCHED));
            t.next();
        });
        if (l->single_byte != 0) return;
        const char *const fine = t.mbs(t.alphabet.substr(0, 2)), *const bad = t.mbs_of(t.bytes(t.alphabet.substr(0, 1)) +
                                                                                       "\xFF\xFF\xFF\xFF");
        for (const auto &result :
             {told(l, gl_mbscpy(l, out, ROOM, bad)), told(l, gl_mbscat(l, out, ROOM, bad)), told(l, gl_mbsspn(l, bad, fine)),
              told(l, gl_mbsspn(l, fine, bad)), told(l, gl_mbsmatch(l, bad, fine, nullptr)),
              told(l, gl_mbsmatch(l, fine, bad, nullptr)), told(l, gl_mbsmatch(l, fine, fine, bad + t.shortest))})
            EXPECT_EQ(result, std::pair(-1, int{GL_EILSEQ}));
        EXPECT_EQ(std::string(out, static_cast<size_t>(t.shortest)), t.bytes(t.alphabet.substr(0, 1)));
        for (const auto &result : {told(l, gl_mbsrchr(l, bad, fine)), told(l, gl_mbsstr(l, fine, bad)),
                                   told(l, gl_mbschr(l, fine, bad + t.shortest)), told(l, gl_mbspbrk(l, bad, fine + t.shortest))})
            EXPECT_EQ(result, std::pair(static_cast<char *>(nullptr), int{GL_EILSEQ}));
        EXPECT_EQ(told(l, gl_mbscasecmp(l, bad, bad)), std::pair(0, int{GL_EILSEQ}));
    });
}

} // namespace
