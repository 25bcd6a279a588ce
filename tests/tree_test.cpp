#include "support/locale_object.h"

#include <gtest/gtest.h>

namespace {

using namespace qbgl_test;
using std::string;

const string END(8, '\0'); // terminates text in any codeset

struct Expected {
    string input;
    int value, bytes, characters; // value and lengths of the word; value -1: nothing is found
};

// Both kinds of caches; the value of a word is its place.
void expect_found(const LocaleObject &object, const std::vector<string> &words, const std::vector<Expected> &found) {
    const Locale locale = load_locale(object);
    ASSERT_EQ(locale->error, 0);
    void *by_byte = nullptr, *by_wide = nullptr;
    for (size_t i = 0; i < words.size(); ++i) {
        EXPECT_EQ(_gl_cache_mb_string(locale.get(), &by_byte, (words[i] + END).c_str(), int(i)), 0);
        EXPECT_EQ(_gl_cache_wc_string(locale.get(), &by_wide, (words[i] + END).c_str(), int(i)), 0);
    }
    for (const auto &[input, value, bytes, characters] : found) {
        SCOPED_TRACE(input);
        std::vector<gl_wchar> wide(input.size() + 1);
        EXPECT_GE(locale->mbstowcs(locale.get(), wide.data(), (input + END).c_str(), int(wide.size())), 0);
        int length = -1, got = -1;
        EXPECT_EQ(_gl_validate_mb_string(locale.get(), by_byte, (input + END).c_str(), &length, &got), value < 0 ? -1 : 0);
        EXPECT_EQ(std::pair(got, length), std::pair(value, bytes));
        length = got = -1;
        EXPECT_EQ(_gl_validate_wc_string(locale.get(), by_wide, wide.data(), &length, &got), value < 0 ? -1 : 0);
        EXPECT_EQ(std::pair(got, length), std::pair(value, characters));
    }
    _gl_free_mb_cache(locale.get(), by_byte);
    _gl_free_wc_cache(locale.get(), by_wide);
}

TEST(StringCache, FindsTheShortestWordInAnyCase) {
    expect_found(LocaleObject(single_byte_codeset()), {"Jan", "january", "june", "Mar", "mar", "M\xC4RZ", string(1'000'000, 'x')},
                 {{"JANUARY 5", 0, 3, 3},
                  {"Ja", -1, -1, -1},
                  {"JUNE", 2, 4, 4},
                  {"m\xE4rz", 5, 4, 4},
                  {"MARCH", 4, 3, 3},
                  {"", -1, -1, -1}});
    expect_found(LocaleObject(single_byte_codeset()), {"pm", ""}, {{"x", 1, 0, 0}, {"PM", 0, 2, 2}, {"", 1, 0, 0}, {"p", 1, 0, 0}});
    expect_found(LocaleObject(utf8_codeset()), {"\xC3\x84pril", "\xE3\x81\x81\xE3\x81\x82", "\xF0\x90\x90\x80x", "a\xE2\xB1\xAF"},
                 {{"\xC3\xA4PRIL", 0, 6, 5},
                  {"\xE3\x81\x81\xE3\x81\x82z", 1, 6, 2},
                  {"\xE3\x81\x81", -1, -1, -1},
                  {"\xF0\x90\x90\xA8X", 2, 5, 2},
                  {"A\xC9\x90", 3, 3, 2}});
    const auto two = [](const char *ascii) { return two_byte_codeset().encode(ascii); };
    expect_found(LocaleObject(two_byte_codeset()), {two("May"), two("")}, {{two("mAY!"), 0, 6, 3}, {two("x"), 1, 0, 0}});
    expect_found(LocaleObject(sjis_codeset()), {}, {{"x", -1, -1, -1}});
}

// A case table need not have all characters: the others are taken as they are.
TEST(StringCache, TakesCharactersThatTheCaseTableLacks) {
    Codeset codeset = utf8_codeset();
    LocaleObject object(codeset);
    const auto classes_of = [](const Codeset &of) {
        std::vector<std::pair<string, unsigned>> values;
        for (const Character &character : of.characters) values.emplace_back(character.bytes, character.classes);
        return values_text(values);
    };
    const string classes = classes_of(codeset);
    std::erase_if(codeset.characters,
                  [](const Character &character) { return character.upper.empty() && character.lower.empty(); });
    object.ctype = classes + ctype_text(codeset).substr(classes_of(codeset).size());
    expect_found(object, {"\xE3\x81\x81z"}, {{"\xE3\x81\x81Z", 0, 4, 2}, {"\xE3\x81\x82z", -1, -1, -1}});
}

TEST(StringCache, RefusesWhatIsNoText) {
    const Locale locale = load_locale(LocaleObject(sjis_codeset())), single = load_locale(LocaleObject(single_byte_codeset()));
    void *root = nullptr;
    int length, value;
    EXPECT_EQ(_gl_cache_mb_string(locale.get(), &root, nullptr, 1), -1);
    ASSERT_EQ(_gl_cache_mb_string(locale.get(), &root, "ab", 2), 0);
    EXPECT_EQ(_gl_validate_mb_string(locale.get(), root, "a\x81", &length, &value), -1);
    const gl_wchar too_wide[] = {'a', 300, 0};
    EXPECT_EQ(_gl_validate_wc_string(single.get(), root, too_wide, &length, &value), -1);
    EXPECT_EQ(single->error, GL_EILSEQ);
    _gl_free_mb_cache(locale.get(), root);
}

} // namespace
