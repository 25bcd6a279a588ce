// Numbers, against the platform's functions and against tables of what hosts know.
#include "support/locale_object.h"

#include <cerrno>
#include <cfenv>
#include <clocale>
#include <cmath>
#include <gtest/gtest.h>
#include <iomanip>
#include <random>
#include <sstream>

namespace {

using namespace qbgl_test;
using std::string, std::vector;
using Wide = vector<gl_wchar>;

struct Rules {
    string point = ".", separator = ",", positive{}, negative = "-";
    vector<int> sizes = {3};
};

string section(const Rules &rules) {
    string text = string_line(rules.point) + string_line(rules.separator) + std::to_string(rules.sizes.size());
    for (const int size : rules.sizes) text += " " + std::to_string(size);
    return text + "\n" + string_line(rules.positive) + string_line(rules.negative);
}

Locale locale_with(const Codeset &codeset, const Rules &rules, const Rules &money = {}) {
    LocaleObject object(codeset);
    object.numeric = section(rules);
    object.monetary = string_lines(codeset, {"EUR ", "E"}) + section(money) + "2\n2\n1\n0\n1\n0\n1\n1\n";
    return load_locale(object);
}
Locale latin(const Rules &rules = {}, const Rules &money = {}) { return locale_with(single_byte_codeset(), rules, money); }

Wide widened(const string &text) {
    Wide result(text.begin(), text.end());
    for (gl_wchar &wc : result) wc &= 0xFF;
    result.push_back(0);
    return result;
}

constexpr int UNTOUCHED = 99;

// The value and where reading stopped, with the error number behind "!"; then "^" for ERANGE, or "?" when errno was left alone.
string shown(auto value, ptrdiff_t end, int error, int number) {
    std::ostringstream text;
    text << std::setprecision(17) << value << "@" << end;
    if (error != UNTOUCHED) text << "!" << error;
    text << (number == UNTOUCHED ? "?" : number == ERANGE ? "^" : number != 0 ? "*" : "");
    return text.str();
}

template <class Unit> string outcome(gl_locale *l, const Unit *text, auto read) {
    Unit *end = const_cast<Unit *>(text) + UNTOUCHED;
    l->error = errno = UNTOUCHED;
    const auto value = read(text, &end);
    return shown(value, end != nullptr ? end - text : -1, l->error, errno);
}

// Wide functions get the bytes of the text as characters.
template <auto READ> string result(gl_locale *l, const string &text, auto... arguments) {
    const auto read = [&](auto s, auto end) { return READ(l, s, end, arguments...); };
    if constexpr (std::is_invocable_v<decltype(READ), gl_locale *, const char *, char **, decltype(arguments)...>)
        return outcome(l, text.c_str(), read);
    else
        return outcome(l, widened(text).data(), read);
}

// A case is a text, "=>" and what comes of it.
template <auto READ> void expect(const Locale &locale, const vector<string> &cases, auto... arguments) {
    for (const string &one : cases) {
        const string text = one.substr(0, one.find("=>"));
        EXPECT_EQ(text + "=>" + result<READ>(locale.get(), text, arguments...), one);
    }
}

TEST(Integers, AreReadByTheirGroups) {
    const Locale locale = latin(), indian = latin({.positive = "DB", .negative = "CR", .sizes = {3, 2}});
    expect<gl_wcstol>(locale,
                      {"  -1,234=>-1234@8", "1234=>2147483647@99!7?", "123=>123@3", "1,234x=>2147483647@99!7?", "1,23x=>123@4",
                       "+1,234=>1234@6", ",234=>234@4", ",23=>0@0", "12,34=>2147483647@99!7?", "1,234,=>2147483647@99!7?", "=>0@0",
                       "9,999,999,999,999,999,999=>" + std::to_string(LONG_MAX) + "@25^"},
                      10, 1);
    expect<gl_wcstol>(indian, {"12,34,567=>1234567@9", "CR12,345=>-12345@7", "DB5=>5@2", "-5=>-5@2"}, 10, 1); // a sign counts one
    expect<gl_wcstoul>(locale, {"0x1,234=>4660@7", "-123=>2147483647@99!7?", "-0=>0@2"}, 0, 1); // a sign is a character of a group
    expect<gl_wcstoull>(locale, {"12345=>9223372036854775807@99!7?", "18,446,744,073,709,551,615=>18446744073709551615@26"}, 10, 1);
    const auto read = [&](auto s, auto end) { return gl_wcstol(locale.get(), s, end, 10, 1); };
    EXPECT_EQ(outcome(locale.get(), Wide{0x8231, 0x8232, 0}.data(), read), "12@2!1"); // low bytes
    EXPECT_EQ(outcome(locale.get(), Wide{0x150, '5', 0}.data(), read), "0@0!1");
}

TEST(Integers, HaveLengthLimits) {
    const Locale locale = latin({.sizes = {}});
    const auto sevens = [](size_t length) { return string(length - 1, '0') + "7"; };
    const string tail(300, 'x');
    expect<gl_wcstol>(
        locale, {sevens(254) + "=>7@254", sevens(255) + "=>0@254!14", "-" + sevens(254) + "=>0@254!14", "5" + tail + "=>5@1!14"},
        10, 0);
    expect<gl_wcstol>(locale, {"-" + sevens(255) + "=>-7@256", sevens(256) + "=>2147483647@99!7?"}, 10, 1);
    for (const int grouping : {0, 1})
        expect<gl_wcstoul>(locale,
                           {" " + sevens(254) + "=>7@255", sevens(255) + "=>2147483647@99!7?", "5" + tail + "=>2147483647@99!7?"},
                           10, grouping);
}

TEST(MultibyteNumbers, AreReadAndTheirEndFound) {
    const Locale sjis = locale_with(sjis_codeset(), {.separator = "\x82\x60\x82\x61"}), locale = latin(),
                 utf16 = locale_with(two_byte_codeset(), {});
    expect<gl_mbstol>(
        sjis, {"1\x82\x60\x82\x61\x32\x33\x34=>1234@8", "\x81=>2147483647@99!1?", "12\x81=>12@2!1", "1234=>2147483647@-1!7?"}, 10,
        1);
    expect<gl_mbstol>(locale, {"=>2147483647@99!6?", "-99999999999999999999=>2147483647@99!6^", string(255, ' ') + "78=>7@256"}, 10,
                      0); // 256 characters are read
    expect<gl_mbstoul>(locale, {"=>4294967295@99!6?", "4294967294=>4294967294@10"}, 10, 0);
    expect<gl_mbstod>(
        sjis, {"=>2147483647@99!6?", "1e999=>2147483647@99!6^", "1\x82\x60\x82\x61\x32\x33\x34.5x=>1234.5@10", "x=>0@0"}, 1);
    EXPECT_EQ(result<gl_mbstol>(utf16.get(), two_byte_codeset().encode(string("12x\0", 4)), 10, 0), "12@4");
}

TEST(Reals, AreReadByTheirConventions) {
    Codeset codeset = single_byte_codeset();
    codeset.characters.push_back({"\xB2", GL_CLASS_DIGIT});
    const Locale locale =
        locale_with(codeset, {}, {.point = ",,", .separator = "''", .positive = "DB", .negative = "CR", .sizes = {2}});
    const string zeros(300, '0'), some(zeros, 0, 252);
    expect<gl_wcstod>(locale,
                      {".5=>0.5@2", "abc=>0@0?", "=>0@0?", " -=>0@0?", ".=>0@1!46", "1e=>1@1", "1e5=>100000@3", "1E+=>1@1",
                       "1.5e-1e4=>0.14999999999999999@6", "1.e3=>1000@4", "1,234.5=>1@1", "1\xB2=>1@1", "1e400=>inf@5^",
                       "0e99999999999=>0@13", "1" + zeros + "=>9.9999999999999999e+254@256!14", "1." + zeros + "=>1@256!14",
                       "1e-" + zeros + "=>1@256!14", "1." + some + "0e5=>1@255!14", "1." + some + "e5=>100000@256"},
                      0);
    expect<gl_wcstod_num_mon>(locale,
                              {" -=>0@2!46", " +=>0@2", "=>0@0", "e5=>0@2!46", "1,234.5=>1234.5@7", "1234.5=>0@0!7?",
                               "1,23,4=>0@0?", "1\xB2=>0@0?", zeros + "=>0@0!7?"},
                              1, 0);
    expect<gl_wcstod_num_mon>(locale, {"CR1''23''45,,5=>-12345.5@14", "DB7=>7@3", "-7,5=>-7@2"}, 1, 1);
    EXPECT_EQ(result<gl_wcstod>(latin({.point = ""}).get(), "", 0), "0@0"); // the terminator begins an empty point
}

TEST(Symbols, AreFoundAtAPosition) {
    const string too_long(257, 'a');
    const Locale locale = latin({.point = too_long, .separator = "ab"}, {.point = "", .separator = too_long});
    gl_locale *l = locale.get();
    const Wide text = widened("xab" + too_long);
    const int cases[][4] = {{1, 0, 0, 2}, {2, 1, 0, 2}, {2, 0, 0, 0}, {1, 1, 0, 0}, {1, 2, 0, 0}, {1, 0, 2, 0}, {3, 0, 1, 0}};
    for (const auto &[at, direction, monetary, length] : cases) EXPECT_EQ(gl_iswgrpsymb(l, &text[at], direction, monetary), length);
    EXPECT_EQ((std::tuple{gl_iswcdecml(l, &text[3], 0, 0), gl_iswcdecml(l, &text[3], 0, 1)}), std::tuple(256, 0));
    l->numeric.thousands_sep.wide = (_gl_free_ptr(l->numeric.thousands_sep.wide), nullptr); // a record that was only read
    EXPECT_EQ(gl_iswgrpsymb(l, &text[1], 0, 0), 2);
    for (const auto &[number, index] : {std::pair(" \t-12.5", 5), {"1,5", 1}, {",", 0}, {"--1.", -1}, {"12", -1}})
        EXPECT_EQ(gl_getDecimalCharIndex(number), index);
}

string digits_of(unsigned long magnitude, unsigned base) {
    string digits;
    do digits.insert(digits.begin(), "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ"[magnitude % base]);
    while ((magnitude /= base) != 0);
    return digits;
}

Wide grouped(string digits, const vector<int> &sizes, const Wide &separator) {
    Wide result;
    for (size_t group = 0; !digits.empty(); ++group) {
        const int size = sizes.empty() ? 0 : sizes[std::min(group, sizes.size() - 1)];
        const size_t rest = size > 0 && digits.size() > static_cast<size_t>(size) ? digits.size() - static_cast<size_t>(size) : 0;
        result.insert(result.begin(), digits.begin() + static_cast<ptrdiff_t>(rest), digits.end());
        if (rest != 0) result.insert(result.begin(), separator.begin(), separator.end());
        if (size < 1) break; // all that was left
        digits.resize(rest);
    }
    return result;
}

// With room for so many characters; what is not written stays FFFF.
Wide written(gl_locale *l, size_t size, long value, unsigned base, int grouping) {
    Wide out(1000, 0xFFFF);
    gl_ltowcs(l, out.data(), static_cast<int>(size), value, static_cast<int>(base), grouping);
    while (!out.empty() && out.back() == 0xFFFF) out.pop_back();
    return out;
}

TEST(Integers, ComeBackAsTheyWereWritten) {
    std::mt19937_64 random(7);
    for (const Codeset &codeset : {single_byte_codeset(), sjis_codeset(), eucjp_codeset(), utf8_codeset(), two_byte_codeset()}) {
        for (int round = 0; round < 100; ++round) {
            Rules rules{codeset.encode("."), "", "", codeset.encode("-"), {}};
            for (size_t left = random() % 4; left > 0; --left)
                rules.separator += codeset.characters[1 + random() % (codeset.characters.size() - 1)].bytes;
            for (size_t left = random() % 16; left > 0; --left) rules.sizes.push_back(static_cast<int>(random() % 8) - (left < 3));
            const Locale locale = locale_with(codeset, rules);
            gl_locale *l = locale.get();
            const gl_wchar *const symbol = l->numeric.thousands_sep.wide;
            const Wide separator(symbol, symbol + gl_wcslen(symbol));
            const auto value = round % 20 == 0 ? LONG_MIN : static_cast<long>(random()) >> random() % (sizeof(long) * CHAR_BIT);
            const auto bits = static_cast<unsigned long>(value);
            const unsigned base = 2 + random() % 35;
            const string digits = digits_of(value < 0 ? 0 - bits : bits, base), sign = value < 0 ? "-" : "";
            Wide expected = grouped(digits, rules.sizes, separator);
            expected.insert(expected.begin(), sign.begin(), sign.end());
            expected.push_back(0);
            const size_t needed = grouped(sign + digits, rules.sizes, separator).size() + 1; // the sign counts as a digit
            for (size_t size = 1; size < needed + 3; ++size) {
                ASSERT_EQ(written(l, size, value, base, 1), size < needed ? Wide{0} : expected) << size;
                ASSERT_EQ(written(l, size, value, base, 0), widened((sign + digits).substr(0, size - 1))) << size;
            }
            string bytes(1024, '?');
            const int length = gl_ltombs(l, bytes.data(), 1024, value, static_cast<int>(base), 1);
            const bool readable = !separator.empty() || grouped(digits, rules.sizes, {1}).size() == digits.size();
            const string back = std::to_string(value) + "@" + std::to_string(length);
            if (value > LONG_MIN && readable && needed <= 256) {
                ASSERT_EQ(result<gl_mbstol>(l, bytes, static_cast<int>(base), 1), back) << codeset.name;
            }
            gl_ultombs(l, bytes.data(), 1024, bits, 10, 0);
            const string plain = codeset.encode(digits_of(bits, 10));
            ASSERT_EQ(bytes.substr(0, plain.size() + 1), plain + '\0');
        }
    }
    const Locale locale = latin({.separator = "12345678", .sizes = {1}});
    for (const unsigned base : {1U, 37U}) EXPECT_EQ(written(locale.get(), 9, 5, base, 1), Wide{0});
    EXPECT_EQ(written(locale.get(), 0, 5, 10, 0), Wide{});
    EXPECT_EQ(written(locale.get(), 1000, INT_MAX, 2, 1), widened(string(31, '1'))); // more than 256 characters
    EXPECT_EQ(locale->error, GL_E2BIG);
}

TEST(Numbers, AreThePlatformsOwn) {
    const Locale locale = latin();
    std::mt19937 random(3);
    const auto some = [&](const string &alphabet, size_t most) {
        string text;
        for (size_t left = random() % (most + 1); left > 0; --left) text += alphabet[random() % alphabet.size()];
        return text;
    };
    const string digits = "0123456789";
    for (int round = 0; round < 60000; ++round) {
        const string text = some(" \t\v", 2) + some("+-", 1) + some("0x", 2) + some(digits + "abzZ", 24) + some(" ,.-5x\xE4", 4);
        const int base = round % 3 != 0 ? 10 : static_cast<int>(random() % 38);
        const auto compare = [&](const string &ours, auto convert) {
            char *begin = const_cast<char *>(text.c_str()), *end = begin;
            errno = 0;
            const auto value = convert(begin, &end, base);
            if (errno == EINVAL || end == begin) end = begin + strspn(begin, " \t\v"); // spaces count
            ASSERT_EQ(ours, shown(value, end - begin, UNTOUCHED, errno)) << text << " in base " << base;
        };
        compare(result<gl_wcstol>(locale.get(), text, base, 0), strtol);
        compare(result<gl_wcstoul>(locale.get(), text, base, 0), strtoul);
        compare(result<gl_wcstoull>(locale.get(), text, base, 0), strtoull);
    }
    for (int round = 0; round < 200000; ++round) {
        string text = some("-", 1) + some("0", 3) + digits[random() % 10] + some(digits, round % 4 == 0 ? 30 : 9) + some(".", 1);
        if (text.back() == '.') text += some(digits, round % 5 == 0 ? 40 : 9);
        if (round % 2 == 0) text += "e" + some("+-", 1) + some("0123", round % 8 == 0 ? 3 : 2);
        if (round % 16 == 1) { // half way between two doubles, or beside
            const double one = std::ldexp(static_cast<double>(random()), static_cast<int>(random() % 40) - 30);
            const long double middle = (static_cast<long double>(one) + std::nextafter(one, HUGE_VAL)) / 2;
            char exact[400];
            text = string(exact, static_cast<size_t>(snprintf(exact, sizeof exact, "%.90Lf", middle))) + some("01", 1);
        }
        text += some(" ,x", 2);
        char *end;
        errno = 0;
        std::fesetround(round % 7 == 0 ? FE_UPWARD : round % 7 == 1 ? FE_TOWARDZERO : FE_TONEAREST);
        const double value = strtod(text.c_str(), &end);
        const string expected = shown(value, end - text.c_str(), UNTOUCHED, errno), ours = result<gl_wcstod>(locale.get(), text, 0);
        std::fesetround(FE_TONEAREST);
        ASSERT_EQ(ours, expected) << text;
    }
}

TEST(Reals, DoNotDependOnThePlatformsLocale) {
    const TempDir directory;
    write_file(directory / "comma", "LC_CTYPE\ncopy \"POSIX\"\nEND LC_CTYPE\nLC_NUMERIC\ndecimal_point \"<U066B>\"\n"
                                    "thousands_sep \".\"\ngrouping 3\nEND LC_NUMERIC\n");
    const string command =
        "localedef -c --quiet --no-archive -i " + directory / "comma" + " -f UTF-8 " + directory / "xx 2>/dev/null";
    const ScopedEnv path("LOCPATH", directory.path().string());
    if (system(command.c_str()) < 0 || setlocale(LC_NUMERIC, "xx") == nullptr) GTEST_SKIP() << "no localedef";
    EXPECT_EQ(strtod("1.5", nullptr), 1.0);
    const Locale locale = latin();
    expect<gl_wcstod>(locale,
                      {"1.5=>1.5@3", "0.50000000000000000000000e-290=>5.0000000000000003e-291@30",
                       "12345678901234567890.5=>1.2345678901234567e+19@22"},
                      0);
    setlocale(LC_NUMERIC, "C");
}

} // namespace
