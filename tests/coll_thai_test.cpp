// The order of Thai dictionaries: words, codesets, keys, failures.
#include "support/faults.h"
#include "support/locale_object.h"

#include <gtest/gtest.h>
#include <random>

namespace {

using namespace qbgl_test;
using std::string, std::u32string_view;

string byte(unsigned value) { return {static_cast<char>(value)}; }
string as_byte(char32_t c) { return byte(c < 0x80 ? c : c - 0xE00 + 0xA0); }
string as_unit(char32_t c) { return byte(c >> 8) + byte(c); }
string as_utf8(char32_t c) { return utf8_bytes(c); }

struct Side { // a locale, and how its characters are written
    string (*write)(char32_t);
    Locale locale;

    string text(u32string_view characters) const {
        string bytes;
        for (const char32_t c : characters) bytes += write(c);
        return bytes + string(2, '\0');
    }
    int order(u32string_view a, u32string_view b) const { return gl_mbscoll(locale.get(), text(a).data(), text(b).data()); }
    string key(u32string_view a) const {
        string out(2000, '?');
        out.resize(static_cast<size_t>(gl_mbsxfrm(locale.get(), out.data(), text(a).data(), 2000)) + 1);
        return out;
    }
};

// In a codeset of ASCII, Thai and some characters more.
Side side(const string &name, string (*write)(char32_t), u32string_view more) {
    Codeset codeset{name, {}};
    for (char32_t c = 0; c <= 0xE5B; c = c == 0x7F ? 0xE01 : c + 1) codeset.characters.push_back({write(c), LETTER});
    for (const char32_t c : more) codeset.characters.push_back({write(c), LETTER});
    return {write, load_locale(LocaleObject(codeset, "thai_smo\n"))};
}

const Side SIDES[] = {side("utf8", as_utf8, U"é\u200B"), side("thai", as_byte, U""), side("unicode", as_unit, U"é\u200B")};

TEST(ThaiOrder, IsThatOfDictionaries) {
    constexpr u32string_view WORDS =
        U" - 1 ๑ 10 ๑๐ 2 A a AB aB ab a-b ab1 B Thai ก กก ก็ก กกุธภัณฑ์ กรรม กรรม- กร-รม กรรม์ กราบ กฤษณา กล้วย กลอน กอ กฮ กํ กะ กัน "
        U"กั้น กา ก-า กๅ ก่า ก้า ก้าๆ ก๊า ก๋า กาก กำ ก้ำ กิน กี่ กึ่ง กุ้ง กู เก กเ เกง เก่ง เก็บ เกา เก่า เก้า แก แก่ แก้ แกง แก้ว โก้ ใกล้ ไก ไก่ ไกล ขวด "
        U"ขา "
        U"ข้า เขา เข้า แขก ไข่ คน ความ งาน ใจ น้ำ เรา ฤดู ฤๅษี ลม ฦๅ เวลา หนู หมา เหตุ แหวน ไหม อก อา เอา โอ ไอ ฮา เฮ ";
    u32string_view before = U"";
    for (size_t at = 1, end; (end = WORDS.find(U' ', at)) != WORDS.npos; at = end + 1) {
        const u32string_view word = WORDS.substr(at, end - at);
        for (const Side &s : SIDES) EXPECT_LT(s.order(before, word), 0) << SIDES[0].text(before) << SIDES[0].text(word);
        before = word;
    }
    EXPECT_GT(SIDES[0].order(U"é", U"ฮ"), 0);
    EXPECT_LT(SIDES[0].order(U"ก\u200Bขค", U"กขง"), 0); // the zero-width space between words
    const gl_wchar wide[] = {0xE0B981, 0xE0B881, 0}, wider[] = {0xE0B882, 0};
    EXPECT_LT(gl_wcscoll(SIDES[0].locale.get(), wide, wider), 0);
}

TEST(ThaiOrder, IsTheSameInKeysAndCodesets) {
    constexpr u32string_view ALPHABET = U"กขฃเแาๅ็่ํ้1๑2Aab -ฯ";
    std::mt19937 random(1);
    const auto some = [&](size_t limit) {
        std::u32string text(random() % limit, U' ');
        for (char32_t &c : text) c = ALPHABET[random() % ALPHABET.size()];
        return text;
    };
    const auto sign = [](int order) { return (order > 0) - (order < 0); };
    for (int i = 0; i < 20000; ++i) {
        const std::u32string a = some(6), b = i % 100 == 0 ? a + some(300) : some(6);
        const int order = sign(SIDES[0].key(a).compare(SIDES[0].key(b)));
        ASSERT_EQ(order == 0, a == b);
        for (const Side &s : SIDES) {
            ASSERT_EQ(s.key(a), SIDES[0].key(a));
            ASSERT_EQ(sign(s.order(a, b)), order) << SIDES[0].text(a) << SIDES[0].text(b);
            ASSERT_EQ(sign(s.order(b, a)), -order);
        }
    }
}

TEST(ThaiOrder, Fails) {
    const string word = utf8_bytes(U'ก'), bad = word + "\xE0", longer(128, 'a'),
                 longest = longer + "b"; // more than the stack holds
    const auto error = [](const string &a, int len_a, const string &b, int len_b) {
        gl_locale *const locale = SIDES[0].locale.get();
        locale->error = 0;
        return gl_mbfscoll(locale, a.c_str(), len_a, b.c_str(), len_b) == 0 ? locale->error : -1;
    };
    EXPECT_EQ(error(bad, 4, "a", 1), GL_EILSEQ);
    EXPECT_EQ(error("a", -1, bad, -1), GL_EILSEQ);
    EXPECT_EQ(error(word, 3, word, -1), GL_EMIXEDLEN);
    for_each_fault(Operation::allocate, [&](const Faults &faults) {
        const int result = error(longer, -1, longest, -1);
        EXPECT_EQ(result, faults.hit() ? int{GL_ENOMEM} : -1);
    });
}

} // namespace
