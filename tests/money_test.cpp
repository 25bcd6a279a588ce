// Amounts as text: exact decimals, what is refused, cuts, and what is read.
#include "support/every_codeset.h"
#include "support/guarded.h"
#include "support/tree_locale.h"

namespace {

using namespace qbgl_test;

std::string written(gl_locale *locale, const std::string &format, const char *decimal, int room = 200) {
    GuardedMemory memory(2);
    auto *out = static_cast<char *>(memory.take(static_cast<size_t>(room), Guard::behind));
    const auto *guarded = static_cast<const char *>(memory.take(format.size() + 1, Guard::behind, format.c_str()));
    gl_clear_errno(locale);
    const int length = gl_mbsfmon_text(locale, out, room, guarded, decimal);
    std::string result = room > 0 ? out : "";
    if (length < 0) result += "!" + std::to_string(gl_errno(locale));
    EXPECT_TRUE(memory.clear()) << format;
    return result;
}

TEST(MoneyText, IsExact) {
    const Handle locale = load("de_de.utf8");
    const struct {
        const char *format, *decimal, *text;
    } CASES[] = {
        {"%n", "-1234567890123456789.05", "-1.234.567.890.123.456.789,05 €"},
        {"%i", "1", "1,00 EUR"},
        {"%.1n", "0.05", "0,1 €"},
        {"%.1n", "0.04", "0,0 €"},
        {"%.0n", "-0.5", "-1 €"},
        {"%.0n", "999.5", "1.000 €"},
        {"%.2n", "9.999", "10,00 €"},
        {"%.2n", "0.999", "1,00 €"},
        {"%.2n", ".045", "0,05 €"},
        {"%.3n", "+00012.", "12,000 €"},
        {"%.1n", "0.949", "0,9 €"},
        {"%.2n", "199.995", "200,00 €"},
        {"a%", "1", "a!7"},
        {"\xC3", "1", "!1"},
    };
    for (const auto &[format, decimal, text] : CASES) EXPECT_EQ(written(locale.get(), format, decimal), text) << format << decimal;
    for (const char *decimal : {"", "1e5", "--1"}) EXPECT_EQ(written(locale.get(), "%n", decimal), "!6") << decimal;
    for (const char *format : {"%x", "%+(n", "%=", "%#n", "%5%"}) EXPECT_EQ(written(locale.get(), format, "1"), "!7") << format;
    for (int room = 0; room < 12; ++room) {
        const std::string cut = written(locale.get(), "%n€", "12345", room);
        ASSERT_TRUE(cut.ends_with("!14")) << room;
        EXPECT_LT(static_cast<int>(cut.size()) - 3, std::max(room, 1));
    }
    char out[400];
    EXPECT_EQ(gl_mbsfmon(locale.get(), out, sizeof out, "%n", 1 / 0.0), -1);
    EXPECT_EQ(gl_errno(locale.get()), GL_ERANGE);
    EXPECT_EQ(written(locale.get(), "%2147483648n", "1", 12), "           !14");
    EXPECT_EQ(written(locale.get(), "%#2147483647.2147483647n", "1", 5), "    !14");
}

TEST(MoneyText, IsInTheCodeset) {
    everywhere(std::identity(), [](const Codeset &codeset, gl_locale *l) {
        const std::string end(codeset.encode("a").size(), '\0');
        for (const auto &[format, expected] : {std::pair("%n|%i", "-E1,234,567.90|-EUR1,234,567.90"),
                                               std::pair("%(#8n", "(E 1,234,567.90)"), std::pair("%-0n|", "-E1,234,567.90|")}) {
            char out[400], decimal[100];
            const char *rest;
            const int length = gl_mbsfmon_text(l, out, sizeof out, (codeset.encode(format) + end).c_str(), "-1234567.895");
            ASSERT_EQ(std::string(out, static_cast<size_t>(std::max(length, 0))), codeset.encode(expected)) << format;
            EXPECT_EQ(gl_mbspmon(l, out, &rest, decimal, sizeof decimal), 11) << format;
            EXPECT_STREQ(decimal, "-1234567.90") << format;
        }
        take_error(l);
    });
}

TEST(MoneyReading, TakesWhatPeopleWrite) {
    const struct {
        const char *locale, *text, *result; // with what is left behind "|", or the error
    } CASES[] = {
        {"en_us.utf8", "$1,234.50", "1234.50|"},
        {"en_us.utf8", "($1,234.50)x", "-1234.50|x"},
        {"en_us.utf8", " - USD 5", "-5|"},
        {"en_us.utf8", "1,23.5", "1|,23.5"},
        {"en_us.utf8", "12.", "12|."},
        {"en_us.utf8", "(5", "1"},
        {"en_us.utf8", "5- $ 7", "-5| 7"},
        {"en_us.utf8", "10 - 20", "10| - 20"},
        {"ko_kr.cp949",
         "\xC2\xA0"
         "5",
         "1"}, // a letter, whose bytes are those of a no-break space elsewhere
        {"en_us.utf8", ".5", "0.5|"},
        {"en_us.utf8", "$", "1"},
        {"en_us.utf8", "0012", "12|"},
        {"en_us.utf8", "--5", "1"},
        {"de_de.utf8", "1.5", "1|.5"},
        {"de_de.utf8", "1.234,5 €", "1234.5|"},
        {"de_de.utf8", "-3,00 EUR.", "-3.00|."},
        {"de_de.8859-1", "1.234,5\240EUR", "1234.5|"},
        {"fr_fr.utf8", "1 234,56 €", "1234.56|"},
        {"fr_fr.utf8", "1\u00A0234\u202F567 €", "1234567|"},
        {"en_us.utf8", "1234567.8", "1234567.8|"},
    };
    for (const auto &[spec, text, result] : CASES) {
        const Handle locale = load(spec);
        char decimal[64];
        const char *end = nullptr;
        const int length = gl_mbspmon(locale.get(), text, &end, decimal, sizeof decimal);
        EXPECT_EQ(length < 0 ? std::to_string(gl_errno(locale.get())) : std::string(decimal) + "|" + end, result) << spec << text;
        if (length < 0) continue;
        GuardedMemory memory(1);
        auto *exact = static_cast<char *>(memory.take(static_cast<size_t>(length) + 1, Guard::behind));
        EXPECT_EQ(gl_mbspmon(locale.get(), text, nullptr, exact, length + 1), length) << text;
        EXPECT_EQ(gl_mbspmon(locale.get(), text, nullptr, exact, length), -1) << text;
        EXPECT_TRUE(memory.clear()) << text;
    }
}

} // namespace
