// All 1,112,064 scalar values of Unicode are characters of its codesets, whatever the locale, and nothing else is.
#include "support/locale_object.h"
#include "support/tree_locale.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

using namespace qbgl_test;
using std::string;

constexpr uint32_t SCALAR_VALUES = 0x110000 - 0x800;
constexpr int LONGEST_KEY = 256;
constexpr size_t REPORTED = 20;

std::vector<string> utf8_characters() {
    std::vector<string> characters;
    for (uint32_t code = 0; code < 0x110000; ++code)
        if (code < 0xD800 || code > 0xDFFF) characters.push_back(utf8_bytes(code));
    return characters;
}

// Whatever has the shape of a character of GB18030: which of them are some is for the locale to say.
std::vector<string> gb18030_sequences() {
    std::vector<string> sequences;
    for (int first = 0; first < 0x100; ++first) {
        sequences.push_back(string(1, static_cast<char>(first)));
        for (int second = 0x30; first > 0x80 && second < 0x100; ++second) {
            const string two = {static_cast<char>(first), static_cast<char>(second)};
            if (second > 0x3F) sequences.push_back(two);
            for (int third = 0x81; second < 0x3A && third < 0xFF; ++third)
                for (int fourth = 0x30; fourth < 0x3A; ++fourth)
                    sequences.push_back(two + static_cast<char>(third) + static_cast<char>(fourth));
        }
    }
    return sequences;
}

class Checker {
  public:
    explicit Checker(const string &spec) : spec_(spec), locale_(load(spec.c_str())) {
        full_width_ = gl_ctype(locale_.get(), "full_width");
        gl_charmap *charmap = nullptr;
        EXPECT_EQ(gl_cm_load(&charmap, spec.c_str(), nullptr, nullptr), 0);
        charmap_.reset(charmap);
    }

    bool is_character(const string &bytes) {
        return _qbx_gl_full_mblen(locale_.get(), bytes.data(), static_cast<int>(bytes.size())) == static_cast<int>(bytes.size());
    }

    // Both ways, its symbol, its classes, width, case, comparison and key. The one before it in the pass must differ.
    void check(const string &bytes) {
        gl_locale *const l = locale_.get();
        const auto length = static_cast<int>(bytes.size());
        l->error = 0;
        gl_wchar wc = 0;
        expect(_qbx_gl_full_mbtowc(l, &wc, bytes.data(), length) == (bytes == string(1, '\0') ? 0 : length), bytes, "not read");
        char written[4] = {};
        expect(gl_full_wctomb(l, written, wc) == length && string(written, bytes.size()) == bytes, bytes, "not written");
        const unsigned classes = _gl_im_iswctype(l, wc, 0xFFFF);
        expect(_qbx_gl_im_ismctype(l, bytes.data(), length, 0xFFFF) == classes, bytes, "class of bytes");
        const bool prints = (classes & GL_CLASS_PRINT) != 0;
        expect(gl_wcwidth(l, wc) == (wc == 0 ? 0 : !prints ? -1 : (classes & full_width_) != 0 ? 2 : 1), bytes, "width");
        check_symbol(bytes);
        l->error = 0; // width says of controls that they have none
        for (const auto map : {_qbx_gl_im_tomupper, _qbx_gl_im_tomlower}) {
            const int lengths = map(l, written, bytes.data(), length);
            expect(lengths >> 8 == length && is_character(string(written, lengths & 0xFF)), bytes, "case");
        }
        expect(gl_mbfscoll(l, bytes.data(), length, bytes.data(), length) == 0, bytes, "unlike itself");
        char key[LONGEST_KEY];
        const int size = gl_mbfsxfrm(l, key, bytes.data(), length, LONGEST_KEY);
        expect(size >= 0 && size < LONGEST_KEY, bytes, "no key");
        const string own(key, static_cast<size_t>(std::max(size, 0)));
        const int order = gl_mbfscoll(l, before_.data(), static_cast<int>(before_.size()), bytes.data(), length);
        expect((order > 0) - (order < 0) == (key_before_ > own) - (key_before_ < own), bytes, "key unlike comparison");
        const int total = gl_order_compare(l, before_.data(), static_cast<int>(before_.size()), bytes.data(), length, -1);
        expect(total == (order > 0) - (order < 0), bytes, "order for indexes unlike comparison");
        expect(l->error == 0, bytes, "an error");
        before_ = bytes;
        key_before_ = own;
    }

    unsigned classes_of(const string &bytes) {
        return static_cast<unsigned>(_qbx_gl_im_ismctype(locale_.get(), bytes.data(), static_cast<int>(bytes.size()), 0xFFFF));
    }
    unsigned full_width() const { return full_width_; }

  private:
    void check_symbol(const string &bytes) {
        char symbol[32], text[8];
        const char *in = bytes.data(), *symbols = symbol;
        expect(gl_mbstosyms(charmap_.get(), symbol, sizeof symbol, &in, static_cast<int>(bytes.size())) > 0, bytes, "no symbol");
        const int size = gl_symstombs(charmap_.get(), text, sizeof text, &symbols);
        expect(size > 0 && string(text, static_cast<size_t>(size) - 1) == bytes, bytes, "another character's symbol");
    }

    void expect(bool good, const string &bytes, const char *what) {
        if (!good && failures_++ < REPORTED) ADD_FAILURE() << spec_ << ": " << what << ": " << testing::PrintToString(bytes);
    }

    string spec_;
    const Handle locale_;
    std::unique_ptr<gl_charmap, void (*)(gl_charmap *)> charmap_{nullptr, gl_cm_unload};
    unsigned full_width_ = 0;
    string before_, key_before_; // a text and its key
    size_t failures_ = 0;
};

TEST(CodeSpace, EveryScalarValueIsACharacterOfUtf8) {
    const std::vector<string> characters = utf8_characters();
    ASSERT_EQ(characters.size(), SCALAR_VALUES);
    for (const char *spec : {"de_de.utf8", "ja_jp.utf8"}) {
        Checker checker(spec);
        for (const string &bytes : characters) checker.check(bytes);
        for (uint32_t code = 0xD800; code < 0xE000; ++code) EXPECT_FALSE(checker.is_character(utf8_bytes(code))) << code;
        for (const char *none : {"\xC0\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80",
                                 "\xF8\x88\x80\x80", "\x80", "\xFF"})
            EXPECT_FALSE(checker.is_character(none)) << testing::PrintToString(none);
        // What the platform does not know: pictures, ideographs, others; noncharacters.
        const unsigned narrow = GL_CLASS_GRAPH | GL_CLASS_PRINT, wide = narrow | checker.full_width();
        for (const uint32_t code : {0x1FAE8, 0x3FFFD}) EXPECT_EQ(checker.classes_of(utf8_bytes(code)), wide) << std::hex << code;
        for (const uint32_t code : {0x2FFFF, 0x378, 0xA4C7, 0x40000, 0xEFFFF, 0xFFFF, 0x10FFFF})
            EXPECT_EQ(checker.classes_of(utf8_bytes(code)), narrow) << std::hex << code;
    }
}

TEST(CodeSpace, AsManySequencesAreCharactersOfGb18030) {
    Checker checker("zh_cn.gb18030");
    uint32_t count = 0;
    for (const string &bytes : gb18030_sequences()) {
        if (!checker.is_character(bytes)) continue;
        ++count;
        checker.check(bytes);
    }
    EXPECT_EQ(count, SCALAR_VALUES);
    EXPECT_FALSE(checker.is_character("\xE3\x32\x9A\x36")); // the first above 10FFFF
}

} // namespace
