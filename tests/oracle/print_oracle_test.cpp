// Random formats and values of printing and scanning, against the platform's snprintf and sscanf under the same definitions.
#include "oracle/sample.h"
#include "oracle/tree_oracle.h"
#include "support/locale_object.h"

#include <cctype>
#include <cfenv>
#include <cmath>
#include <cstring>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <random>

namespace {

using namespace qbgl_test;

// The locales: every way to group, separators of one byte and of more, a point that is a comma.
constexpr std::pair<const char *, const char *> LOCALES[] = {{"de_de", "ISO-8859-1"}, {"en_us", "UTF-8"},
                                                             {"hi_in", "UTF-8"},      {"fr_fr", "UTF-8"},
                                                             {"ja_jp", "SHIFT_JIS"},  {"cs_cz", "ISO-8859-2"}};
constexpr int ROOM = 6000;

class Random {
  public:
    explicit Random(unsigned seed) : random_(seed) {}
    unsigned below(unsigned n) { return static_cast<unsigned>(random_() % n); }
    uint64_t bits() { return random_(); }
    // Small numbers, powers of two and their neighbours, any bits.
    uint64_t integer() {
        const uint64_t value = random_();
        switch (below(4)) {
        case 0: return value % 2000 - 1000;
        case 1: return (uint64_t{1} << value % 64) + value / 64 % 3 - 1;
        default: return value >> below(64);
        }
    }
    double real() {
        switch (below(6)) {
        case 0: return static_cast<double>(below(2000)) / 8 - 100;
        case 1: return (below(2) != 0 ? 1 : -1) * static_cast<double>(below(100000)) / 100;
        case 2: return std::ldexp(static_cast<double>(bits()), static_cast<int>(below(200)) - 130);
        case 3: return below(2) != 0 ? 0.0 : -0.0;
        default: break;
        }
        double value;
        const uint64_t any = bits();
        std::memcpy(&value, &any, sizeof value);
        return value;
    }

  private:
    std::mt19937_64 random_;
};

struct Format {
    std::string text;
    int stars[2] = {}, star_count = 0;
    char letter;
    std::string length;
};

Format random_format(Random &random) {
    Format format;
    format.text = random.below(4) == 0 ? "ab%%" : "";
    format.text += '%';
    for (const char flag : {'-', '+', ' ', '#', '0', '\''})
        if (random.below(4) == 0) format.text += flag;
    const auto amount = [&](unsigned most) {
        if (random.below(4) == 0) {
            format.text += '*';
            format.stars[format.star_count++] = static_cast<int>(random.below(most)) - 5;
        } else {
            format.text += std::to_string(random.below(random.below(8) == 0 ? most : 12) + 1);
        }
    };
    if (random.below(2) == 0) amount(60);
    if (random.below(2) == 0) {
        format.text += '.';
        if (random.below(5) != 0) amount(random.below(16) == 0 ? 1200 : 40);
    }
    format.letter = "diouxXaAeEfFgGscp"[random.below(17)];
    const bool is_integer = std::strchr("diouxX", format.letter) != nullptr,
               is_real = std::strchr("aAeEfFgG", format.letter) != nullptr;
    if (is_integer) format.length = std::array{"", "", "hh", "h", "l", "ll", "j", "z", "t"}[random.below(9)];
    if (is_real && random.below(4) == 0) format.length = "L";
    format.text += format.length + format.letter + (random.below(4) == 0 ? "|" : "");
    return format;
}

template <class Print> int with_stars(const Format &format, Print print) {
    switch (format.star_count) {
    case 0: return print();
    case 1: return print(format.stars[0]);
    default: return print(format.stars[0], format.stars[1]);
    }
}

// Calls `print` with the arguments that the format asks for.
template <class Print> int with_arguments(const Format &format, uint64_t integer, double real, const char *text, Print print) {
    const auto with = [&](auto value) { return with_stars(format, [&](auto... stars) { return print(stars..., value); }); };
    switch (format.letter) {
    case 's': return with(text);
    case 'c': return with(static_cast<int>('a' + integer % 26));
    case 'p': return with(reinterpret_cast<void *>(static_cast<uintptr_t>(integer)));
    default: break;
    }
    if (std::strchr("aAeEfFgG", format.letter) != nullptr) {
        if (format.length.empty()) return with(real);
        return with(static_cast<long double>(real) * (1 + static_cast<long double>(integer % 1000) / 7));
    }
    if (format.length == "l") return with(static_cast<long>(integer));
    if (format.length == "ll" || format.length == "j") return with(static_cast<long long>(integer));
    if (format.length == "z" || format.length == "t") return with(static_cast<ptrdiff_t>(integer));
    return with(static_cast<int>(integer));
}

#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"

// What a difference is about, when it is of a known class.
const char *kind_of(const Format &format, const std::string &separator) {
    const auto has = [&](char flag) { return format.text.find(flag) != std::string::npos; };
    if (has('\'') && std::strchr("oxXp", format.letter) != nullptr) return "base";
    if ((has('+') || has(' ')) && format.letter == 'p') return "pointer";
    if (has('\'') && has('.') && std::strchr("diu", format.letter) != nullptr) return "precision";
    if (has('\'') && separator.size() > 1 && std::strchr("fFgG", format.letter) != nullptr) return "separator";
    return "print";
}

void compare_printing(OracleLocale &locale, Random &random) {
    static char own[ROOM], platforms[ROOM];
    const Format format = random_format(random);
    const uint64_t integer = random.integer();
    const double real = random.real();
    const std::string text(random.below(30), 'x');
    std::fesetround(integer % 8 == 0 ? FE_UPWARD : FE_TONEAREST);
    const int expected = with_arguments(format, integer, real, text.c_str(), [&](auto... arguments) {
        return std::snprintf(platforms, ROOM, format.text.c_str(), arguments...);
    });
    if (expected < 0 || expected >= ROOM) return;
    const int result = with_arguments(format, integer, real, text.c_str(), [&](auto... arguments) {
        return gl_mbsprintf(&locale.ours(), own, ROOM, format.text.c_str(), arguments...);
    });
    if (result == expected && std::memcmp(own, platforms, static_cast<size_t>(expected) + 1) == 0) return;
    locale.report({format.letter}, kind_of(format, gl_langinfo(&locale.ours(), GL_THOUSEP)), hexadecimal(own),
                  hexadecimal(platforms),
                  fmt::format("{} of {}, {}: \"{}\", not \"{}\" ({}, {})", format.text, integer, real, own, platforms,
                              format.stars[0], format.stars[1]));
}

// One to three conversions, by position or not, and a text that they read or nearly read.
struct Scan {
    struct Conversion {
        char letter;
        bool suppressed, grouped, has_width, wide, is_text, real;
        std::string length;
        size_t argument;
    };
    std::string format, text;
    std::vector<Conversion> conversions;
};

// The words of a text, with the locale's separator for each S and its point for each P.
std::vector<std::string> words_of(const std::string &text, const std::string &separator, const std::string &point) {
    std::vector<std::string> words(1);
    for (const char c : text) {
        if (c == ' ')
            words.emplace_back();
        else
            words.back() += c == 'S' ? separator : c == 'P' ? point : std::string(1, c);
    }
    return words;
}

Scan random_scan(Random &random, gl_locale *locale) {
    const auto one_of = [&random](const auto &list) {
        return std::string(list[random.below(static_cast<unsigned>(std::size(list)))]);
    };
    const std::string separator = gl_langinfo(locale, GL_THOUSEP), point = gl_langinfo(locale, GL_RADIXCHAR),
                      name = gl_langinfo(locale, GL_MON_8);
    const auto numbers =
        words_of("0 7 -12 +345 0x1f -0XAB 077 08 2147483648 -99999999999999999999 1S234S567 12S34 0x - 65536", separator, point);
    const auto reals = words_of("0P5 -P25 1e10 1e 1E-400 3P 123456P789e-3 inf -INFINITY infi nan 0x1p4 0xP8 1S234P5 1.5 "
                                "9007199254740993 1e400 0x1Pfp",
                                separator, point);
    const std::string words[] = {"abc", "x", name, "a]b", "%", "it's", "]-^", name + "9", "\t"};
    constexpr const char *SETS[] = {"[a-z]", "[^ ,]", "[]x]", "[^]]", "[0-9.]", "[a-]", "[-x]", "[^a]"};
    constexpr const char *LENGTHS[] = {"", "", "hh", "h", "l", "ll", "j", "z", "t"},
                         *BETWEEN[] = {"", "", " ", "  ", ",", "%%", ":"};
    Scan scan;
    const unsigned count = random.below(3) + 1;
    const bool positions = random.below(5) == 0, backward = random.below(2) == 0;
    size_t assigned = 0;
    for (unsigned i = 0; i < count; ++i) {
        const std::string between = one_of(BETWEEN);
        scan.format += between + '%';
        scan.text += random.below(8) != 0 ? (between == "%%" ? "%" : between) : one_of(BETWEEN);
        Scan::Conversion one{};
        one.letter = "diouxXpaAeEfFgGsc["[random.below(18)];
        one.is_text = std::strchr("sc[", one.letter) != nullptr;
        one.real = std::strchr("aAeEfFgG", one.letter) != nullptr;
        one.suppressed = !positions && random.below(6) == 0;
        one.grouped = !one.is_text && one.letter != 'p' && random.below(4) == 0;
        one.has_width = random.below(3) == 0;
        one.wide = one.is_text && random.below(3) == 0;
        one.argument = positions && backward ? count - 1 - i : assigned;
        if (!one.suppressed) ++assigned;
        if (one.wide)
            one.length = "l";
        else if (one.real)
            one.length = one_of(std::array{"", "l", "L"});
        else if (!one.is_text && one.letter != 'p')
            one.length = one_of(LENGTHS);
        if (positions) scan.format += std::to_string(one.argument + 1) + "$";
        if (one.suppressed) scan.format += '*';
        if (one.grouped) scan.format += '\'';
        if (one.has_width) scan.format += std::to_string(random.below(random.below(4) == 0 ? 40 : 6) + 1);
        scan.format += one.length + (one.letter == '[' ? one_of(SETS) : std::string(1, one.letter));
        if (random.below(3) == 0) scan.text += ' ';
        const unsigned like = random.below(8);
        if (like == 0 || (like > 1 && one.is_text))
            scan.text += one_of(words);
        else
            scan.text += like > 1 && one.real ? one_of(reals) : one_of(numbers);
        scan.conversions.push_back(one);
    }
    return scan;
}

constexpr size_t TARGET = 512;
struct Targets {
    alignas(16) unsigned char bytes[3][TARGET] = {};

    // Wide characters have values of their own: those of a locale, or the thread's.
    std::string shown(const Scan::Conversion &one, gl_locale *locale) const {
        const unsigned char *const target = bytes[one.argument];
        if (!one.wide) return {reinterpret_cast<const char *>(target), TARGET};
        char text[TARGET * 2] = {};
        if (locale != nullptr)
            gl_full_wcstombs(locale, text, reinterpret_cast<const gl_wchar *>(target), sizeof text);
        else
            std::wcstombs(text, reinterpret_cast<const wchar_t *>(target), sizeof text);
        return text;
    }
};

// An exponent, or "0x", without a digit, or a longer beginning of "infinity" than "inf".
bool has_unfinished_real(const std::string &text) {
    for (size_t i = 0; i < text.size(); ++i)
        if (std::strchr("eEpPxX", text[i]) != nullptr && std::isdigit(text[i + (text[i + 1] == '-' ? 2 : 1)] & 0x7F) == 0)
            return true;
    return text.find("infi") != std::string::npos;
}

// What a conversion can be about, or null.
const char *kind_of(const Scan::Conversion &one, const std::string &text) {
    const bool multibyte = std::any_of(text.begin(), text.end(), [](char c) { return static_cast<signed char>(c) < 0; });
    if (one.grouped) return "groups";
    if (one.real) return one.has_width || has_unfinished_real(text) ? "unfinished" : nullptr;
    if (multibyte && one.is_text && (one.suppressed || !one.wide) && (one.letter == 'c' || one.has_width)) return "cut";
    if (one.is_text) return one.letter == 'c' && one.has_width ? "short" : nullptr;
    return one.length.starts_with('h') || (sizeof(long) > sizeof(int) && one.length.empty()) ? "range" : nullptr;
}

// By the first conversion that went otherwise, or one before it that left its mark on the place in the text alone.
const char *kind_of(const Scan &scan, int ours, int theirs, const std::vector<bool> &same) {
    if (ours == 0 && theirs < 0) return "skipped";
    const char *kind = "scan";
    int assigned = 0;
    for (size_t i = 0; i < scan.conversions.size(); ++i) {
        const Scan::Conversion &one = scan.conversions[i];
        const char *own = kind_of(one, scan.text);
        const bool is_same = one.suppressed || (same[i] && assigned++ < std::min(ours, theirs));
        if (is_same && !one.suppressed && !one.grouped) kind = "scan";
        if (own != nullptr && (!is_same || one.suppressed || one.grouped)) kind = own;
        if (!is_same) break;
    }
    return kind;
}

void compare_scanning(OracleLocale &locale, Random &random) {
    const Scan scan = random_scan(random, &locale.ours());
    Targets own, platforms;
    const int result =
        gl_mbsscanf(&locale.ours(), scan.text.c_str(), scan.format.c_str(), own.bytes[0], own.bytes[1], own.bytes[2]);
    const int expected =
        std::sscanf(scan.text.c_str(), scan.format.c_str(), platforms.bytes[0], platforms.bytes[1], platforms.bytes[2]);
    std::vector<bool> same;
    std::string ours = std::to_string(result), theirs = std::to_string(expected);
    for (const Scan::Conversion &one : scan.conversions) {
        const std::string our_value = own.shown(one, &locale.ours()), their_value = platforms.shown(one, nullptr);
        same.push_back(one.suppressed || our_value == their_value);
        ours += ' ' + hexadecimal(our_value.substr(0, 24));
        theirs += ' ' + hexadecimal(their_value.substr(0, 24));
    }
    if (result == expected && std::find(same.begin(), same.end(), false) == same.end()) return;
    locale.report("scanf", kind_of(scan, result, expected, same), ours, theirs,
                  fmt::format("\"{}\" of \"{}\": {}, not {}", scan.format, scan.text, ours, theirs));
}

// QBGL_FORMATS in the environment says how many formats and values each locale takes.
template <class Compare> void compare_formats(const char *table, Compare compare) {
    TreeOracle oracle(table);
    const std::vector<TreeLocale> &tree = oracle.locales();
    const char *const asked = std::getenv("QBGL_FORMATS");
    const int count = asked != nullptr ? std::atoi(asked) : 20'000;
    unsigned seed = 0;
    for (const auto &[name, charmap] : LOCALES) {
        const auto found = std::find_if(tree.begin(), tree.end(), [name = name, charmap = charmap](const TreeLocale &one) {
            return one.name == name && one.charmap == charmap;
        });
        ASSERT_NE(found, tree.end()) << name;
        Random random(++seed);
        oracle.each({static_cast<size_t>(found - tree.begin())}, [&](OracleLocale &locale) {
            for (int i = 0; i < count; ++i) compare(locale, random);
        });
    }
    if (asked == nullptr && oracle_part() == 1) oracle.check_counts();
}

TEST(PrintOracle, PrintsRandomFormatsAsThePlatform) { compare_formats("print_differences.txt", compare_printing); }
TEST(PrintOracle, ScansRandomFormatsAsThePlatform) { compare_formats("scan_differences.txt", compare_scanning); }

} // namespace
