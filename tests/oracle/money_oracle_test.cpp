// Amounts in every locale of the tree against the platform's strfmon_l under the same definition, and read back.
#include "oracle/differences.h"
#include "oracle/platform_locale.h"
#include "oracle/sample.h"
#include "oracle/tree_locales.h"
#include "support/locale_object.h"

#include "system/parallel.h"

#include <qbgl.h>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <memory>
#include <monetary.h>

namespace {

using namespace qbgl_test;

constexpr size_t REPORTED = 6; // differences of one locale

constexpr const char *FORMATS[] = {"%n",     "%i",     "%!n",    "%(n",        "%+n",      "%^n",     "%12n",  "%-12n|", "%#6n",
                                   "%=*#6n", "%=0#6n", "%.0n",   "%.4n",       "%(#5n",    "%-14#5n", "%!i",   "%#3i",   "%(i",
                                   "%^(#4i", "%.3i",   "a%%%nb", "%-20#8.1i|", "%!(#6.1n", "%+#2i",   "%^.0i", "%10.1i"};
constexpr double AMOUNTS[] = {
    0,    1,   -1, 1234.567, -1234.567,         0.005, 0.125, -0.375, 2.5, 999.995, 1e15, -1e15, 123456789.125, -0.01, 99999999.995,
    1e22, 0.1, -3, 1000000,  4503599627370497.5};

class Comparison {
  public:
    Comparison(const TreeLocale &name, gl_locale &ours, locale_t platforms, Differences &known)
        : name_(name), ours_(ours), platforms_(platforms), known_(known) {}

    void compare(const char *format, double amount) {
        std::array<char, 300> ours{}, platforms{};
        const int length = gl_mbsfmon(&ours_, ours.data(), ours.size(), format, amount);
        const ssize_t theirs = strfmon_l(platforms.data(), platforms.size(), platforms_, format, amount);
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

    void read(const char *format, const char *decimal) {
        std::array<char, 300> text{}, back{};
        ASSERT_GT(gl_mbsfmon_text(&ours_, text.data(), text.size(), format, decimal), 0) << format;
        const char *end = nullptr;
        if (gl_mbspmon(&ours_, text.data(), &end, back.data(), back.size()) < 0 || *end != '\0' ||
            std::string(back.data()) != decimal)
            report(format, "read", fmt::format("{} {}", back.data(), end != nullptr ? end : "-"), text.data());
    }

    size_t unknown() const { return unknown_; }

  private:
    void report(const std::string &format, const std::string &kind, const std::string &ours, const std::string &theirs) {
        const std::string last = format.substr(format.size() - 1),
                          of = kind == "write" && format.find('+') != format.npos ? "signs" : kind;
        const Difference difference = {name_.name, name_.codeset, "", last, of, hexadecimal(ours), hexadecimal(theirs), "platform"};
        if (known_.covers(difference)) return;
        if (unknown_++ < REPORTED) ADD_FAILURE() << difference.text() << "\n  " << format << ": " << ours << "\n  " << theirs;
    }

    const TreeLocale &name_;
    gl_locale &ours_;
    locale_t platforms_;
    Differences &known_;
    size_t unknown_ = 0;
};

TEST(MoneyOracle, EveryLocaleWritesAmountsAsThePlatform) {
    setenv("QUORBANEDIR", QBGL_TREE, 1);
    const std::vector<TreeLocale> locales = tree_locales();
    ASSERT_FALSE(locales.empty()) << "no locales in " QBGL_TREE;
    const PlatformLocales platform(QBGL_PLATFORM_LOCALES);
    Differences known(QBGL_SOURCE_DIR "/tests/oracle/money_differences.txt");
    std::atomic<size_t> compared{0};
    const size_t part = oracle_part();
    qbgl::compiler::parallel_for((locales.size() + part - 1) / part, 2, [&](size_t at) {
        const TreeLocale &tree_locale = locales[at * part];
        if (!PlatformLocales::has_charmap(tree_locale.charmap)) return;
        const std::string name = platform.compile(tree_locale.definition, tree_locale.charmap);
        const PlatformLocale in_thread(name); // strfmon_l asks the thread's for the length of a character
        const locale_t platforms = newlocale(LC_ALL_MASK, name.c_str(), nullptr);
        gl_locale *loaded = nullptr;
        const int result = gl_lc_load(&loaded, tree_locale.spec.c_str(), nullptr, nullptr);
        const std::unique_ptr<gl_locale, void (*)(gl_locale *)> ours(loaded, gl_lc_unload);
        ASSERT_EQ(result, 0) << tree_locale.spec;
        Comparison comparison(tree_locale, *ours, platforms, known);
        for (const char *format : FORMATS)
            for (const double amount : AMOUNTS) comparison.compare(format, amount);
        for (const char *format : {"%.2n", "%.2i", "%!.2n", "%(.2n", "%(.2i", "%^.2n", "%#4.2n", "%#12.2i"})
            for (const char *amount : {"0.00", "1.50", "-1.50", "-1234567890123456789012345.05", "999999.99", "-1000.00"})
                comparison.read(format, amount);
        EXPECT_EQ(comparison.unknown(), 0U) << tree_locale.spec;
        ++compared;
        freelocale(platforms);
    });
    if (part == 1)
        for (const std::string &line : known.mismatched()) ADD_FAILURE() << "not the differences of this line: " << line;
    fmt::print("{} locales\n", compared.load());
}

} // namespace
