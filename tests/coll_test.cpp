#include "support/faults.h"
#include "support/locale_object.h"

#include <gtest/gtest.h>

namespace {

using namespace qbgl_test;
using namespace std::string_literals;

int sign(int value) { return (value > 0) - (value < 0); }

TEST(WideTexts, CompareByValue) {
    const gl_wchar abc[] = {'a', 'b', 'c', 0}, abd[] = {'a', 'b', 'd', 0}, ab[] = {'a', 'b', 0}, high[] = {0xF0000001, 0};
    for (const auto &[s1, s2, whole, first_two] :
         {std::tuple(&abc[0], &abd[0], -1, 0), {abd, abc, 1, 0}, {ab, abc, -1, 0}, {high, abc, 1, 1}, {abc, abc, 0, 0}}) {
        EXPECT_EQ(sign(gl_wcscmp(nullptr, s1, s2)), whole);
        EXPECT_EQ(sign(gl_wcsncmp(nullptr, s1, s2, 2)), first_two);
    }
    for (const auto &[len1, len2, result] : {std::tuple(3, 3, -1), {2, 2, 0}, {2, 1, 1}, {0, 3, -3}, {3, -1, 4}, {-1, -1, 0}})
        EXPECT_EQ(_qbx_gl_wcfscmp(nullptr, abc, len1, abd, len2), result); // the rest's length, not only its sign
}

// Characters of every length against each other, with the same beginnings.
TEST(Texts, CompareAsTheirWideValues) {
    for (const Codeset &codeset : {single_byte_codeset(), sjis_codeset(), eucjp_codeset(), utf8_codeset(), two_byte_codeset()}) {
        SCOPED_TRACE(codeset.name);
        const Locale owner = load_locale(LocaleObject(codeset));
        gl_locale *const l = owner.get();
        const std::string a = codeset.encode("a"), end = codeset.encode("\0"s);
        for (size_t i = 1; i < codeset.characters.size(); i += 7) {
            for (size_t j = 1; j < codeset.characters.size(); j += 5) {
                const std::string &c1 = codeset.characters[i].bytes, &c2 = codeset.characters[j].bytes;
                const std::string s1 = a + c1 + a + end, s2 = a + c2 + end;
                const int expected = wide(c1) < wide(c2) ? -1 : 1,
                          begins = static_cast<int>(a.size() + std::max(c1.size(), c2.size()));
                const int len1 = static_cast<int>(s1.size() - end.size()), len2 = static_cast<int>(s2.size() - end.size());
                for (const auto compare : {l->mbfscoll, _qbx_gl_im_mbfscoll, _qbx_gl_thaismoncoll, _qbx_gl_mbscmp}) {
                    EXPECT_EQ(sign(compare(l, s1.data(), len1, s2.data(), len2)), expected);
                    EXPECT_EQ(sign(compare(l, s1.data(), -1, s2.data(), -1)), expected);
                }
                EXPECT_EQ(sign(gl_full_mbsncmp(l, s1.c_str(), s2.c_str(), begins)), i == j ? 0 : expected);
                EXPECT_EQ(sign(gl_mbscoll(l, s1.c_str(), s2.c_str())), expected);
            }
        }
        EXPECT_EQ(l->error, 0);
    }
}

TEST(Texts, FailWithEqualityAndAnError) {
    const Locale sjis = load_locale(LocaleObject(sjis_codeset())), latin = load_locale(LocaleObject(single_byte_codeset()));
    const auto expect_failure = [](auto compare, gl_locale *l, const char *s, int len1, int len2, int error) {
        l->error = 0;
        EXPECT_EQ(compare(l, s, len1, "\x82\xA0", len2), 0);
        EXPECT_EQ(l->error, error);
    };
    const char *const kana = "\x82\xA0", *const bad = "\x82\x20";
    for (const auto compare : {_qbx_gl_im_mbfscoll, _qbx_gl_mbscmp}) {
        expect_failure(compare, sjis.get(), kana, -1, 2, GL_EMIXEDLEN);
        expect_failure(compare, sjis.get(), kana, 1, 1, GL_EILSEQ); // cut
        expect_failure(compare, sjis.get(), bad, 2, 2, GL_EILSEQ);
        expect_failure(compare, sjis.get(), bad, -1, -1, GL_EILSEQ);
    }
    for (gl_locale *const l : {sjis.get(), latin.get()}) {
        expect_failure(l->mbfscoll, l, kana, 2, -1, GL_EMIXEDLEN);
        expect_failure(l->mbfscoll, l, kana, -2, -2, GL_EILSEQ);
        expect_failure(l->mbfscoll, l, nullptr, -1, -1, GL_ENULLPTR);
    }
    EXPECT_EQ(gl_mbsxfrm(sjis.get(), nullptr, bad, 0), -1);
    const std::string longer(128, 'a'), longest = longer + "b"; // more than the stack holds
    for_each_fault(Operation::allocate, [&](const Faults &faults) {
        sjis->error = 0;
        const int order = gl_mbscoll(sjis.get(), longer.c_str(), longest.c_str());
        EXPECT_EQ(order, faults.hit() ? 0 : -1);
        EXPECT_EQ(sjis->error, faults.hit() ? int{GL_ENOMEM} : 0);
    });
}

TEST(Keys, AreTheTextAsFarAsThereIsRoom) {
    const Locale locale = load_locale(LocaleObject(sjis_codeset()));
    for (const auto &[capacity, key] :
         {std::pair(0, "??????"), {2, "a?????"}, {3, "a\x82\xA0???"}, {4, "a\x82\xA0z??"}, {5, "a\x82\xA0z"}}) {
        std::string out(6, '?');
        EXPECT_EQ(gl_mbsxfrm(locale.get(), out.data(), "a\x82\xA0z", capacity), 4);
        EXPECT_STREQ(out.c_str(), key);
    }
}

} // namespace
