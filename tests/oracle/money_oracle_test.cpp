// Amounts in every locale of the tree against the platform's strfmon_l under the same definition, and read back.
#include "oracle/tree_oracle.h"
#include "support/locale_object.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <array>
#include <monetary.h>

namespace {

using namespace qbgl_test;

constexpr const char *FORMATS[] = {"%n",     "%i",     "%!n",    "%(n",        "%+n",      "%^n",     "%12n",  "%-12n|", "%#6n",
                                   "%=*#6n", "%=0#6n", "%.0n",   "%.4n",       "%(#5n",    "%-14#5n", "%!i",   "%#3i",   "%(i",
                                   "%^(#4i", "%.3i",   "a%%%nb", "%-20#8.1i|", "%!(#6.1n", "%+#2i",   "%^.0i", "%10.1i"};
constexpr double AMOUNTS[] = {
    0,    1,   -1, 1234.567, -1234.567,         0.005, 0.125, -0.375, 2.5, 999.995, 1e15, -1e15, 123456789.125, -0.01, 99999999.995,
    1e22, 0.1, -3, 1000000,  4503599627370497.5};

class Comparison {
  public:
    explicit Comparison(OracleLocale &locale) : locale_(locale), ours_(locale.ours()) {}

    void compare(const char *format, double amount) {
        std::array<char, 300> ours{}, platforms{};
        const int length = gl_mbsfmon(&ours_, ours.data(), ours.size(), format, amount);
        const ssize_t theirs = strfmon_l(platforms.data(), platforms.size(), locale_.platforms().get(), format, amount);
        if (length != theirs || std::string(ours.data()) != platforms.data())
            report(format, "write", ours.data(), platforms.data());
        // Wide text is the same text.
        const std::basic_string<gl_wchar> wide_format(format, format + strlen(format));
        std::array<gl_wchar, 300> wide{}, back{};
        gl_wcsfmon(&ours_, wide.data(), wide.size(), wide_format.c_str(), amount);
        gl_mbstowcs(&ours_, back.data(), ours.data(), back.size());
        if (std::string_view(format).find_first_of("123456#") == std::string_view::npos && wide != back)
            report(format, "wide", ours.data(), "");
    }

    // What is written and read is written again.
    void write_again(const std::string &format, const char *decimal) {
        std::array<char, 300> text{}, back{}, again{};
        const char *end = nullptr;
        ASSERT_GT(gl_mbsfmon_text(&ours_, text.data(), text.size(), format.c_str(), decimal), 0) << format;
        if (gl_mbspmon(&ours_, text.data(), &end, back.data(), back.size()) < 0)
            return report(format, "again", fmt::format("error {}", gl_errno(&ours_)), text.data());
        gl_mbsfmon_text(&ours_, again.data(), again.size(), format.c_str(), back.data());
        const bool rest = std::string(end).find_first_not_of(' ') != std::string::npos; // what fills a width
        if (rest || again != text) report(format, "again", fmt::format("{} {}", again.data(), end), text.data());
    }

  private:
    void report(const std::string &format, const std::string &kind, const std::string &ours, const std::string &theirs) {
        const std::string last = format.substr(format.size() - 1),
                          of = kind == "write" && format.find('+') != format.npos ? "signs" : kind;
        locale_.report(last, of, hexadecimal(ours), hexadecimal(theirs), fmt::format("{}: {}, {}", format, ours, theirs));
    }

    OracleLocale &locale_;
    gl_locale &ours_;
};

TEST(MoneyOracle, EveryLocaleWritesAmountsAsThePlatform) {
    TreeOracle("money_differences.txt").each([](OracleLocale &locale) {
        Comparison comparison(locale);
        for (const char *format : FORMATS)
            for (const double amount : AMOUNTS) comparison.compare(format, amount);
        for (const char *flags : {"", "^", "+", "(", "!", "^(", "^+", "!(", "!+", "20", "-20", "#6", "(#6", "+#6", "!#6", "-(20#3"})
            for (const char *digits : {"", ".0", ".3"})
                for (const char conversion : {'n', 'i'})
                    for (const char *amount : {"0", "1.5", "-1.5", "-1234567.891", "-1234567890123456789012345.05"})
                        comparison.write_again(fmt::format("%{}{}{}", flags, digits, conversion), amount);
    });
}

} // namespace
