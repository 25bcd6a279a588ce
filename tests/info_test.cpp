// Trailing white space and width, in codesets of every shape, against a model that knows the classes of each character.
#include "qbnxdl/entry_points.h"
#include "support/every_codeset.h"

#include <climits>
#include <random>

namespace {

using namespace qbgl_test;

constexpr unsigned FULL_WIDTH = 4096;

// With a class of wide characters, and among them a space, a control that is a space, and one of no class.
Codeset with_widths(Codeset codeset) {
    codeset.classes.emplace_back(1, "full_width");
    for (Character &character : codeset.characters)
        if (wide(character.bytes) >= 0xE0) character.classes |= FULL_WIDTH;
    Character *const last = &codeset.characters.back();
    last[0].classes = FULL_WIDTH | GL_CLASS_PRINT | GL_CLASS_SPACE | GL_CLASS_BLANK;
    last[-1].classes = GL_CLASS_CNTRL | GL_CLASS_SPACE;
    last[-2].classes = 0;
    return codeset;
}

struct Text {
    std::vector<Character> characters;

    // Without the characters at its end that are in `mask`, but not in `but`.
    int without(unsigned mask, unsigned but) const {
        size_t rest = characters.size();
        while (rest > 0 && (characters[rest - 1].classes & mask) != 0 && (characters[rest - 1].classes & but) == 0) --rest;
        return static_cast<int>(rest);
    }
    std::string bytes(int count) const {
        std::string text;
        for (int i = 0; i < count; ++i) text += characters[i].bytes;
        return text;
    }
    int length(int count) const { return static_cast<int>(bytes(count).size()); }
    int width(int count) const {
        int sum = 0;
        for (int i = 0; i < count; ++i) {
            if ((characters[i].classes & GL_CLASS_PRINT) == 0) return -1;
            sum += (characters[i].classes & FULL_WIDTH) != 0 ? 2 : 1;
        }
        return sum;
    }
};

Text random_text(const Codeset &codeset, std::mt19937 &random) {
    const auto &all = codeset.characters;
    const auto below = [&random](size_t n) { return static_cast<size_t>(random()) % n; };
    Text text;
    for (size_t i = below(40), odd = below(3); i > 0; --i)
        text.characters.push_back(odd == 0 && below(9) == 0 ? all[below(32) + 1] : all[64 + below(all.size() - 67)]);
    for (size_t i = below(5); i > 0; --i) text.characters.push_back(below(2) == 0 ? all[' '] : all[all.size() - 1]);
    for (size_t i = below(3); i > 0; --i) text.characters.push_back(all[below(8) == 0 ? '\t' : all.size() - 1 - below(3)]);
    return text;
}

std::pair<int, int> answer(int width, int error = UNTOUCHED) { return {width, width < 0 ? GL_EINVAL : error}; }
template <class Value> Value *place(Value *begin, int rest, int all) { return rest != all ? begin + rest : nullptr; }

TEST(Measures, AreThoseOfTheCharacters) {
    everywhere(with_widths, [](const Codeset &codeset, gl_locale *l) {
        for (const Character &character : codeset.characters) {
            const int width = wide(character.bytes) == 0 ? 0 : Text{{character}}.width(1);
            EXPECT_EQ(told(l, gl_wcwidth(l, wide(character.bytes))), answer(width));
            EXPECT_EQ(told(l, gl_mbwidth(l, character.bytes.c_str())), answer(character.bytes.size() == 1 ? abs(width) : width));
        }
        std::mt19937 random{5};
        for (int round = 0; round < 400; ++round) {
            const Text text = random_text(codeset, random);
            const auto all = static_cast<int>(text.characters.size());
            const std::string end = codeset.encode({"\0", 1}), whole = text.bytes(all);
            std::string s = whole + end;
            const auto size = static_cast<int>(whole.size()), size_with_end = static_cast<int>(s.size());
            std::vector<gl_wchar> ws;
            for (const Character &character : text.characters) ws.push_back(wide(character.bytes));
            ws.push_back(0);
            for (const int n : {all / 2, all, all + 1, INT_MAX}) {
                const int count = std::min(n, all), width = text.width(count);
                const int behind = n == count ? text.length(count) : size_with_end;
                EXPECT_EQ(told(l, gl_wcswidth(l, ws.data(), n)), answer(width));
                EXPECT_EQ(told(l, gl_mbswidth(l, s.data(), n)), answer(width));
                EXPECT_EQ(told(l, gl_wcspwidth(l, ws.data(), &ws[count])), answer(width));
                EXPECT_EQ(told(l, gl_mbspwidth(l, s.data(), s.data() + behind)), answer(width, 0));
            }
            const int wides = text.without(GL_CLASS_SPACE, GL_CLASS_CNTRL), cut = text.without(GL_CLASS_SPACE, 0);
            const int rest = text.without(GL_CLASS_BLANK, GL_CLASS_CNTRL), bytes = text.length(rest);
            EXPECT_EQ(gl_wcsntslen(l, ws.data()), wides);
            EXPECT_EQ(_qbx_gl_wcsntslen(l, ws.data(), all), wides);
            EXPECT_EQ(_qbx_gl_wcsntslen(l, ws.data(), all + 1), all + 1); // a given length may hold a zero
            EXPECT_EQ(gl_mbsntslen(l, s.data()), rest);
            EXPECT_EQ(gl_mbsntsbytes(l, s.data()), bytes);
            EXPECT_EQ(_qbx_gl_mbsntsbytes(l, s.data(), -1), bytes);
            EXPECT_EQ(_qbx_gl_mbsntsbytes(l, std::vector(whole.begin(), whole.end()).data(), size), bytes);
            EXPECT_EQ(_qbx_gl_mbsntsbytes(l, s.data(), size_with_end), size_with_end);
            EXPECT_EQ(gl_mbsp(l, s.data()), place(s.data(), bytes, size));
            EXPECT_EQ(gl_mbsntstrunc(l, s.data()), place(s.data(), bytes, size));
            EXPECT_EQ(s.substr(0, bytes + end.size()), whole.substr(0, bytes) + end);
            EXPECT_EQ(gl_mbsp(l, s.data()), nullptr);
            EXPECT_EQ(gl_wcsntstrunc(l, ws.data()), place(ws.data(), cut, all));
            EXPECT_EQ(gl_wcslen(ws.data()), cut);
        }
    });
}

TEST(Measures, Fail) {
    everywhere(with_widths, [](const Codeset &codeset, gl_locale *l) {
        const std::string text = codeset.encode("ab");
        const char *const s = text.c_str();
        gl_wchar wides[] = {'a', 0x12345678, ' ', 0};
        for (const auto measure : {gl_mbsntslen, gl_mbsntsbytes, gl_mbwidth})
            EXPECT_TRUE(fails(l, measure(l, nullptr), GL_ENULLPTR));
        EXPECT_TRUE(fails(l, _qbx_gl_mbsntsbytes(l, nullptr, -2), GL_EBADARG));
        EXPECT_EQ(_qbx_gl_mbsntsbytes(l, nullptr, 0), 0);
        EXPECT_TRUE(fails(l, _qbx_gl_wcsntslen(l, nullptr, -2), GL_EBADARG));
        EXPECT_TRUE(fails(l, gl_wcsntstrunc(l, nullptr), GL_ENULLPTR));
        EXPECT_TRUE(fails(l, gl_mbswidth(l, s, -1), GL_ENEGCOUNT));
        EXPECT_TRUE(fails(l, gl_mbswidth(l, nullptr, -1), GL_ENULLPTR));
        EXPECT_TRUE(fails(l, gl_wcswidth(l, wides, -1), GL_ENEGCOUNT));
        EXPECT_TRUE(fails(l, gl_wcswidth(l, wides, 3), GL_EINVAL));
        EXPECT_TRUE(fails(l, gl_mbspwidth(l, s + 1, s), GL_EENDBEFORE));
        EXPECT_TRUE(fails(l, gl_wcspwidth(l, wides + 1, wides), GL_EENDBEFORE));
        EXPECT_TRUE(fails(l, gl_wcspwidth(l, wides, wides + 3), GL_EINVAL));
        EXPECT_EQ(gl_wcspwidth(l, wides, wides), 0);
        for (const int none : {0, -1, 255, INT_MAX}) EXPECT_EQ(told(l, *gl_langinfo(l, none)), std::pair('\0', int{GL_EBADARG}));
        // What is no character is no white space either.
        EXPECT_EQ(told(l, gl_wcsntslen(l, wides)), std::pair(2, int{GL_EILSEQ}));
        EXPECT_EQ(told(l, gl_wcsntstrunc(l, wides)), std::pair(wides + 2, int{GL_EILSEQ}));
        EXPECT_EQ(wides[2], 0U);
        if (l->single_byte != 0) return;
        const std::string bad = text + "\xFF\xFF" + codeset.encode(" \0");
        EXPECT_TRUE(fails(l, gl_mbsntslen(l, bad.c_str()), GL_EILSEQ));
        EXPECT_TRUE(fails(l, _qbx_gl_mbsntsbytes(l, bad.c_str(), 6), GL_EILSEQ));
        EXPECT_TRUE(fails(l, gl_mbswidth(l, bad.c_str(), 9), GL_EINVAL));
        EXPECT_TRUE(fails(l, gl_mbwidth(l, "\xFF\xFF"), GL_EINVAL));
        EXPECT_TRUE(fails(l, gl_mbspwidth(l, bad.c_str(), bad.c_str() + 9), GL_EILSEQ));
    });
}

// An extension that has characters of two bytes, but for blanks.
TEST(TrailingSpace, IsWhatTheExtensionSays) {
    const Locale locale = load_locale(LocaleObject(utf8_codeset()));
    gl_locale *const l = locale.get();
    l->glu_flag[GL_CAT_CTYPE] = 1;
    qbgl::fn_glu_mblen = [](void *, const char *s, int n, int16_t *) { return *s == ' ' ? 1 : n < 2 ? -1 : 2; };
    qbgl::fn_glu_mbsnext = [](void *, const char *s, int, int16_t *) { return const_cast<char *>(s) + (*s == ' ' ? 1 : 2); };
    qbgl::fn_glu_ismctype = [](void *, const char *s, int n, unsigned mask, int16_t *) {
        EXPECT_EQ(n, *s == ' ' ? 1 : 2);
        return *s == ' ' && mask == GL_CLASS_BLANK ? 1U : 0U;
    };
    char text[] = "abcd ef   ";
    EXPECT_EQ(gl_mbsntslen(l, text), 4);
    EXPECT_EQ(gl_mbsntstrunc(l, text), text + 7);
    for (const auto &[length, bytes] : {std::pair(-1, 7), {5, 4}, {6, -1}}) EXPECT_EQ(_qbx_gl_mbsntsbytes(l, text, length), bytes);
    qbgl::clear_entry_points();
}

} // namespace
