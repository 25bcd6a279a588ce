#include "qbnxdl/entry_points.h"
#include "support/collation_model.h"
#include "support/faults.h"

#include <gtest/gtest.h>
#include <random>

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

Locale load(const Codeset &codeset, const Collation &collation) { return load_locale(LocaleObject(codeset, collation.text())); }

Locale load_direct(const Codeset &codeset) {
    Collation collation;
    collation.direct = true;
    return load(codeset, collation);
}

// Characters of every length against each other, with the same beginnings.
TEST(Texts, CompareAsTheirWideValues) {
    for (const Codeset &codeset : {single_byte_codeset(), sjis_codeset(), eucjp_codeset(), utf8_codeset(), two_byte_codeset()}) {
        SCOPED_TRACE(codeset.name);
        const Locale owner = load_direct(codeset);
        gl_locale *const l = owner.get();
        const std::string a = codeset.encode("a"), end = codeset.encode("\0"s);
        for (size_t i = 1; i < codeset.characters.size(); i += 7) {
            for (size_t j = 1; j < codeset.characters.size(); j += 5) {
                const std::string &c1 = codeset.characters[i].bytes, &c2 = codeset.characters[j].bytes;
                const std::string s1 = a + c1 + a + end, s2 = a + c2 + end;
                const int expected = wide(c1) < wide(c2) ? -1 : 1,
                          begins = static_cast<int>(a.size() + std::max(c1.size(), c2.size()));
                const int len1 = static_cast<int>(s1.size() - end.size()), len2 = static_cast<int>(s2.size() - end.size());
                for (const auto compare : {l->mbfscoll, _qbx_gl_im_mbfscoll, _qbx_gl_mbscmp}) {
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
        EXPECT_EQ(compare(l, s, len1, s, len2), 0);
        EXPECT_EQ(l->error, error);
    };
    const char *const kana = "a\x82\xA0";
    for (const auto compare : {_qbx_gl_im_mbfscoll, _qbx_gl_mbscmp}) {
        expect_failure(compare, sjis.get(), kana, -1, 3, GL_EMIXEDLEN);
        expect_failure(compare, sjis.get(), kana, 2, 2, GL_EILSEQ); // cut
    }
    for (gl_locale *const l : {sjis.get(), latin.get()}) {
        expect_failure(l->mbfscoll, l, kana, 2, -1, GL_EMIXEDLEN);
        expect_failure(l->mbfscoll, l, kana, -2, -2, GL_EILSEQ);
        expect_failure(l->mbfscoll, l, nullptr, -1, -1, GL_ENULLPTR);
        const gl_wchar text[] = {'a', 0};
        l->error = 0;
        EXPECT_EQ((std::tuple{gl_full_wcscoll(l, text, nullptr), std::exchange(l->error, 0)}), std::tuple(0, GL_ENULLPTR));
        EXPECT_EQ((std::tuple{gl_wcsxfrm(l, nullptr, nullptr, 0), std::exchange(l->error, 0)}), std::tuple(-1, GL_ENULLPTR));
        EXPECT_EQ((std::tuple{_qbx_gl_full_wcscoll(l, text, 1, text, -1), std::exchange(l->error, 0)}),
                  std::tuple(0, GL_EMIXEDLEN));
    }
}

TEST(Keys, OfCodeValuesAreTheTextAsFarAsThereIsRoom) {
    const Locale locale = load_direct(sjis_codeset());
    for (const auto &[capacity, key] :
         {std::pair(0, "??????"), {2, "a?????"}, {3, "a\x82\xA0???"}, {4, "a\x82\xA0z??"}, {5, "a\x82\xA0z"}}) {
        std::string out(6, '?');
        EXPECT_EQ(gl_mbsxfrm(locale.get(), out.data(), "a\x82\xA0z", capacity), 4);
        EXPECT_STREQ(out.c_str(), key);
    }
    for (const std::string &text : {""s, "\0"s, "a\0\x82\xA0"s}) {
        char key[8];
        EXPECT_EQ(gl_mbfsxfrm(locale.get(), key, text.data(), static_cast<int>(text.size()), 8), text.size());
        EXPECT_EQ(std::string(key, text.size() + 1), text + '\0');
    }
    EXPECT_EQ(locale->error, 0);
    EXPECT_EQ(gl_mbfsxfrm(locale.get(), nullptr, "a\x82", 2, 0), -1);
    EXPECT_EQ(std::exchange(locale->error, 0), GL_EILSEQ);
    EXPECT_EQ(gl_mbfsxfrm(locale.get(), nullptr, "a", -2, 0), -1);
    EXPECT_EQ(std::exchange(locale->error, 0), GL_EBADARG);
}

// Runs a check with the lookup arrays, and with the tables alone.
void with_and_without_maps(gl_locale *l, auto check) {
    check();
    const auto *const maps = std::exchange(l->collate.maps, nullptr);
    check();
    l->collate.maps = maps;
}

// Nothing is written behind the zero byte that ends a key.
std::string key_of(auto transform, int length) {
    const std::string canary(8, '?');
    std::string key(static_cast<size_t>(length) + 1 + canary.size(), '?');
    EXPECT_EQ(transform(key.data(), static_cast<int>(key.size())), length);
    EXPECT_EQ(key.substr(static_cast<size_t>(length)), '\0' + canary);
    key.resize(key.size() - canary.size());
    for (const int capacity : {0, length / 3, length / 2, length - 1, length, length + 1}) {
        std::string cut(key.size(), '?');
        EXPECT_EQ(transform(cut.data(), capacity), length);
        const auto kept = static_cast<size_t>(std::max(capacity, 0));
        EXPECT_EQ(cut, key.substr(0, kept) + std::string(cut.size() - kept, '?'));
    }
    key.pop_back();
    return key;
}

TEST(Rules, AreFollowedByEveryEngine) {
    std::minstd_rand random(1);
    for (const Codeset &codeset : {single_byte_codeset(), sjis_codeset(), utf8_codeset(), two_byte_codeset()}) {
        for (int round = 0, loaded = 0; loaded < 60; ++round) {
            SCOPED_TRACE(codeset.name + " " + std::to_string(round));
            const RandomRules rules(codeset, random);
            const Locale owner = load(codeset, rules.collation);
            gl_locale *const l = owner.get();
            if (l->error == GL_EBADFILE || l->error == GL_EILSEQ) continue; // expansions that never end, elements that are no text
            ++loaded;
            ASSERT_EQ(l->error, 0);
            const CollationModel model(codeset, rules.collation);
            for (size_t i = 0; i < 30; ++i) {
                CollatedText a = rules.text(random, i % 12), b = rules.text(random, i % 3 + (i % 4) / 3 * 140);
                if (i % 5 != 0) { // they differ in the middle
                    const CollatedText head = rules.text(random, i % 7), tail = a;
                    (a = head) += rules.text(random, 1);
                    a += tail;
                    CollatedText other = head;
                    other += b;
                    (b = other) += tail;
                }
                const int expected = model.compare(a.chars, b.chars);
                const std::string key = model.key(a.chars);
                EXPECT_EQ(sign(key.compare(model.key(b.chars))), expected);
                CollatedText ended_a = a, ended_b = b;
                ended_a += codeset.encode("\0"s);
                ended_b += codeset.encode("\0"s);
                const char *const s1 = ended_a.bytes.data(), *const s2 = ended_b.bytes.data();
                const gl_wchar *const w1 = ended_a.chars.data(), *const w2 = ended_b.chars.data();
                const auto key_length = static_cast<int>(key.size());
                with_and_without_maps(l, [&] {
                    for (const auto compare : {l->mbfscoll, _qbx_gl_im_mbfscoll}) {
                        EXPECT_EQ(sign(compare(l, s1, a.size(), s2, b.size())), expected);
                        EXPECT_EQ(sign(compare(l, s2, -1, s1, -1)), -expected);
                    }
                    for (const auto compare : {l->mbscoll, _gl_im_mbscoll}) EXPECT_EQ(sign(compare(l, s1, s2)), expected);
                    EXPECT_EQ(sign(_qbx_gl_full_wcscoll(l, w1, a.length(), w2, b.length())), expected);
                    EXPECT_EQ(sign(gl_full_wcscoll(l, w2, w1)), -expected);
                    EXPECT_EQ(key_of([&](char *out, int n) { return gl_mbsxfrm(l, out, s1, n); }, key_length), key);
                    EXPECT_EQ(key_of([&](char *out, int n) { return gl_wcsxfrm(l, out, w1, n); }, key_length), key);
                    EXPECT_EQ(key_of([&](char *out, int n) { return gl_mbfsxfrm(l, out, s1, a.size(), n); }, key_length), key);
                    EXPECT_EQ(key_of([&](char *out, int n) { return gl_wcfsxfrm(l, out, w1, a.length(), n); }, key_length), key);
                });
                EXPECT_EQ(l->error, 0);
                if (HasFailure()) return;
            }
        }
    }
}

// Letters whose order the passes tell one after the other: a < b in the first, 'A' after 'a' in the last; '-' is only seen there;
// 'e' sorts as two, "cch" as one.
Collation some_rules(const Codeset &codeset, const std::vector<unsigned> &directions, bool elements) {
    const size_t passes = directions.size();
    Collation rules = Collation::in_order(codeset, directions);
    for (const auto &[character, row] : rules.places) {
        if (character.size() > 1 || character[0] == '\0') continue;
        const auto lower = static_cast<char>(character[0] | 32);
        const bool letter = lower >= 'a' && lower <= 'z';
        for (size_t pass = 0; letter && pass + 1 < passes; ++pass) rules.rows[row][pass] = 2 + static_cast<unsigned>(lower - 'a');
        if (character == "e") std::fill(rules.rows[row].begin(), rules.rows[row].end() - 1, 0x4000);
        if (character == "-") std::fill(rules.rows[row].begin(), rules.rows[row].end() - 1, 1);
    }
    rules.expansions = {{'a', 'b'}};
    if (elements) rules.elements = {{{'c', 'c', 'h'}, 50}};
    return rules;
}

TEST(LongTexts, WithoutMemoryAreEqualWithAnError) {
    for (const Codeset &codeset : {single_byte_codeset(), sjis_codeset()}) {
        const Locale locale = load(codeset, some_rules(codeset, {1, 2, 1}, true));
        gl_locale *const l = locale.get();
        const std::string a = "cch" + std::string(128, 'b') + "a",
                          b = "cch" + std::string(128, 'B') + "A"; // more than the stack holds
        with_and_without_maps(l, [&] {
            for_each_fault(Operation::allocate, [&](const Faults &faults) {
                l->error = 0;
                const int order = sign(gl_mbscoll(l, a.c_str(), b.c_str()));
                EXPECT_EQ(order, faults.hit() ? 0 : 1);
                EXPECT_EQ(l->error, faults.hit() ? int{GL_ENOMEM} : 0);
            });
            for_each_fault(Operation::allocate, [&](const Faults &faults) {
                l->error = 0;
                const int length = gl_mbsxfrm(l, nullptr, a.c_str(), 0);
                EXPECT_EQ(length, faults.hit() ? -1 : 6 * 130 + 2);
                EXPECT_EQ(l->error, faults.hit() ? int{GL_ENOMEM} : 0);
            });
        });
    }
}

TEST(Texts, OfAnOrderThatTheExtensionServesAreLeftToIt) {
    qbgl::fn_glu_ucs32coll = [](auto...) { return 42; };
    qbgl::fn_glu_ucs32xfrm = [](auto...) { return 43; };
    for (const Codeset &codeset : {single_byte_codeset(), sjis_codeset(), utf8_codeset()}) {
        const Locale locale = load(codeset, Collation::in_order(codeset));
        locale->glu_flag[GL_CAT_COLLATE] = 1; // and LC_CTYPE is the locale's own
        EXPECT_EQ(_gl_im_mbscoll(locale.get(), "a", "b"), 42);
        EXPECT_EQ(_qbx_gl_im_mbfscoll(locale.get(), "a", 1, "b", 1), 42);
        EXPECT_EQ(gl_full_mbsxfrm(locale.get(), nullptr, "a", 0), 43);
        locale->glu_flag[GL_CAT_COLLATE] = 0;
    }
    qbgl::clear_entry_points();
}

TEST(Rules, OfExpansionsThatNeverEndAreNoRules) {
    Collation rules = some_rules(single_byte_codeset(), {1, 2}, false);
    rules.expansions = {{'a', 'e'}};
    EXPECT_EQ(load(single_byte_codeset(), rules)->error, GL_EBADFILE);
}

// A weight of 0 is the least, and what follows where another text ends at one does not count.
TEST(Rules, WithWeightsOfZeroAreFollowedStepByStep) {
    Collation rules = Collation::in_order(single_byte_codeset());
    rules.rows['z' + 1] = {0};
    const Locale locale = load(single_byte_codeset(), rules);
    for (const auto &[a, b, order] : {std::tuple("z", "a", -1), {"z", "za", 0}, {"", "z", -1}, {"zb", "za", 1}, {"za", "zza", 1}})
        EXPECT_EQ(sign(gl_mbscoll(locale.get(), a, b)), order) << a << b;
    EXPECT_EQ(gl_mbsxfrm(locale.get(), nullptr, "zaz", 0), 1);
}

} // namespace
