// Random formats and values of printing and scanning, against the platform's snprintf and sscanf under the same definitions.
#include "platform_locale.h"
#include "tree_locales.h"

#include "qbgl.h"

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

struct Locales {
    gl_locale *ours;
    const PlatformLocale &platforms;
};

// Where the two differ, and why.
struct Class {
    const char *letters, *part, *other_part; // what the format has
    bool by_long_separator;                  // only where the separator has several bytes
    const char *reason;
};
constexpr Class KNOWN[] = {
    {"oxXp", "'", "", false, "the standard leaves it open; digits in these bases have no groups here"},
    {"p", "+", "", false, "the standard leaves it open; the platform puts a sign before a pointer"},
    {"p", " ", "", false, "the same"},
    {"diu", "'", ".", false, "the platform counts separators as digits of the precision"},
    {"fFgG", "'", "", true,
     "the platform counts a separator of several bytes as one in the width of reals, though not of integers"},
};

bool is_known_difference(gl_locale *locale, const Format &format) {
    const bool long_separator = std::strlen(gl_langinfo(locale, GL_THOUSEP)) > 1;
    return std::any_of(std::begin(KNOWN), std::end(KNOWN), [&](const Class &one) {
        return std::strchr(one.letters, format.letter) != nullptr && format.text.find(one.part) != std::string::npos &&
               format.text.find(one.other_part) != std::string::npos && (long_separator || !one.by_long_separator);
    });
}

void compare_printing(gl_locale *ours, Random &random, int count) {
    static char own[ROOM], platforms[ROOM];
    size_t different = 0;
    for (int i = 0; i < count && different < 10; ++i) {
        const Format format = random_format(random);
        const uint64_t integer = random.integer();
        const double real = random.real();
        const std::string text(random.below(30), 'x');
        const int expected = with_arguments(format, integer, real, text.c_str(), [&](auto... arguments) {
            return std::snprintf(platforms, ROOM, format.text.c_str(), arguments...);
        });
        if (expected < 0 || expected >= ROOM || is_known_difference(ours, format)) continue;
        const int result = with_arguments(format, integer, real, text.c_str(), [&](auto... arguments) {
            return gl_mbsprintf(ours, own, ROOM, format.text.c_str(), arguments...);
        });
        if (result == expected && std::memcmp(own, platforms, static_cast<size_t>(expected) + 1) == 0) continue;
        ++different;
        ADD_FAILURE() << format.text << " of " << integer << ", " << fmt::format("{}", real) << ": \"" << own << "\", not \""
                      << platforms << "\" (" << format.stars[0] << ", " << format.stars[1] << ")";
    }
}

TEST(PrintOracle, RandomFormatsAreThePlatforms) {
    setenv("QUORBANEDIR", QBGL_TREE, 1);
    const PlatformLocales platform{QBGL_PLATFORM_LOCALES};
    const std::vector<TreeLocale> tree = tree_locales();
    const char *const count = std::getenv("QBGL_FORMATS");
    unsigned seed = 0;
    for (const auto &[name, charmap] : LOCALES) {
        SCOPED_TRACE(std::string(name) + '.' + charmap);
        const auto found = std::find_if(tree.begin(), tree.end(),
                                        [&](const TreeLocale &one) { return one.name == name && one.charmap == charmap; });
        ASSERT_NE(found, tree.end());
        gl_locale *loaded = nullptr;
        ASSERT_EQ(gl_lc_load(&loaded, found->spec.c_str(), nullptr, nullptr), 0);
        const std::unique_ptr<gl_locale, void (*)(gl_locale *)> ours(loaded, gl_lc_unload);
        const PlatformLocale platforms(platform.compile(found->definition, found->charmap));
        Random random(++seed);
        compare_printing(ours.get(), random, count != nullptr ? std::atoi(count) : 20'000);
    }
}

} // namespace
