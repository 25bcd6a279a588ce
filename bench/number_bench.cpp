// Numbers under German conventions, read and written, against the platform's functions under its own German locale and ICU's number
// format, all in one process on the same numbers.
//
//   number_bench --benchmark_repetitions=9 --benchmark_enable_random_interleaving=true
#include "rows.h"

#include "qbgl.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <functional>
#include <locale.h>
#include <memory>
#include <random>
#include <stdexcept>
#ifdef QBGL_BENCH_ICU
#include <unicode/unum.h>
#endif

// The platform's ways to read separators, which are in none of its headers.
extern "C" {
long __strtol_internal(const char *s, char **end, int base, int grouping);
double __strtod_internal(const char *s, char **end, int grouping);
}

namespace {

constexpr size_t NUMBERS = 10000;

// One number in the forms that the sides read.
struct Number {
    std::string bytes;
    std::vector<gl_wchar> wide;
    std::wstring platform_wide;
    std::u16string utf16;
};

struct Setup {
    gl_locale *locale;
    locale_t platform;
#ifdef QBGL_BENCH_ICU
    UNumberFormat *icu;
#endif
    std::vector<long> values;
    std::vector<Number> integers, grouped_integers, decimals, grouped_decimals;
};

std::string grouped(std::string digits) {
    for (size_t at = digits.size(); at > 3;) digits.insert(at -= 3, ".");
    return digits;
}

void add(std::vector<Number> &numbers, const std::string &text) {
    numbers.push_back({text, {text.begin(), text.end()}, {text.begin(), text.end()}, {text.begin(), text.end()}});
    numbers.back().wide.push_back(0);
}

// As many numbers of nine digits as of one.
Setup *setup() {
    auto *s = new Setup; // lives as long as the benchmarks
    s->locale = bench::load("de_de.8859-1");
    s->platform = bench::load_platform("de_DE.ISO-8859-1");
#ifdef QBGL_BENCH_ICU
    UErrorCode status = U_ZERO_ERROR;
    s->icu = unum_open(UNUM_DECIMAL, nullptr, 0, "de_DE", nullptr, &status);
    if (U_FAILURE(status)) throw std::runtime_error(std::string("ICU's number format: ") + u_errorName(status));
#endif
    std::mt19937 random(1);
    for (size_t i = 0; i < NUMBERS; ++i) {
        std::string digits(1, static_cast<char>('1' + random() % 9)), fraction = ",";
        for (size_t more = random() % 9; more > 0; --more) digits += static_cast<char>('0' + random() % 10);
        for (int places = 0; places < 2; ++places) fraction += static_cast<char>('0' + random() % 10);
        s->values.push_back(std::stol(digits));
        add(s->integers, digits);
        add(s->grouped_integers, grouped(digits));
        add(s->decimals, digits + fraction);
        add(s->grouped_decimals, grouped(digits) + fraction);
    }
    return s;
}

size_t size_of(const std::vector<Number> &numbers) {
    size_t size = 0;
    for (const Number &number : numbers) size += number.bytes.size();
    return size;
}

template <class Items, class Function> std::function<void()> for_each(const Items &items, Function function) {
    return [&items, function] {
        for (const auto &item : items) benchmark::DoNotOptimize(function(item));
    };
}

#ifdef QBGL_BENCH_ICU
std::function<void()> read_with_icu(const Setup &s, const std::vector<Number> &numbers) {
    return for_each(numbers, [icu = s.icu](const Number &number) {
        int32_t at = 0;
        UErrorCode status = U_ZERO_ERROR;
        return unum_parseDouble(icu, number.utf16.data(), static_cast<int32_t>(number.utf16.size()), &at, &status);
    });
}
#endif

// What both forms of one text do against the same peers.
void add_reading(std::vector<bench::Row> &rows, const Setup &s, const std::string &name, const std::vector<Number> &numbers,
                 auto read_wide, auto read_bytes, std::map<std::string, std::function<void()>> peers, double over_platform) {
    for (const bool wide : {true, false}) {
        std::map<std::string, double> goals = {{"libc", wide ? over_platform : 0}, {"libc_wide", wide ? over_platform : 0}};
        std::map<std::string, std::function<void()>> sides = peers;
#ifdef QBGL_BENCH_ICU
        sides["icu"] = read_with_icu(s, numbers);
        goals["icu"] = wide ? 10.0 : 0;
#endif
        if (wide)
            sides["qbgl"] =
                for_each(numbers, [&s, read_wide](const Number &number) { return read_wide(s.locale, number.wide.data()); });
        else
            sides["qbgl"] =
                for_each(numbers, [&s, read_bytes](const Number &number) { return read_bytes(s.locale, number.bytes.c_str()); });
        rows.push_back({name + (wide ? "/wide" : "/multibyte"), size_of(numbers), goals, sides, NUMBERS});
    }
}

std::vector<bench::Row> rows_of(const Setup &s) {
    static gl_wchar *wide_end;
    static wchar_t *platform_end;
    static char *end;
    std::vector<bench::Row> rows;
    add_reading(
        rows, s, "integers", s.integers, [](gl_locale *l, const gl_wchar *text) { return gl_wcstol(l, text, &wide_end, 10, 0); },
        [](gl_locale *l, const char *text) { return gl_mbstol(l, text, &end, 10, 0); },
        {{"libc", for_each(s.integers, [](const Number &number) { return strtol(number.bytes.c_str(), &end, 10); })},
         {"libc_wide",
          for_each(s.integers, [](const Number &number) { return wcstol(number.platform_wide.c_str(), &platform_end, 10); })}},
        1.0);
    add_reading(
        rows, s, "grouped_integers", s.grouped_integers,
        [](gl_locale *l, const gl_wchar *text) { return gl_wcstol(l, text, &wide_end, 10, 1); },
        [](gl_locale *l, const char *text) { return gl_mbstol(l, text, &end, 10, 1); },
        {{"libc",
          for_each(s.grouped_integers, [](const Number &number) { return __strtol_internal(number.bytes.c_str(), &end, 10, 1); })}},
        1.0);
    add_reading(
        rows, s, "decimals", s.decimals, [](gl_locale *l, const gl_wchar *text) { return gl_wcstod(l, text, &wide_end, 0); },
        [](gl_locale *l, const char *text) { return gl_mbstod(l, text, &end, 0); },
        {{"libc", for_each(s.decimals, [](const Number &number) { return strtod(number.bytes.c_str(), &end); })},
         {"libc_wide",
          for_each(s.decimals, [](const Number &number) { return wcstod(number.platform_wide.c_str(), &platform_end); })}},
        1.0);
    add_reading(
        rows, s, "grouped_decimals", s.grouped_decimals,
        [](gl_locale *l, const gl_wchar *text) { return gl_wcstod(l, text, &wide_end, 1); },
        [](gl_locale *l, const char *text) { return gl_mbstod(l, text, &end, 1); },
        {{"libc",
          for_each(s.grouped_decimals, [](const Number &number) { return __strtod_internal(number.bytes.c_str(), &end, 1); })}},
        1.0);
    static gl_wchar wide_out[64];
    static wchar_t platform_out[64];
    for (const int grouping : {0, 1}) {
        const auto ours = [&s, grouping](long value) {
            gl_ltowcs(s.locale, wide_out, 64, value, 10, grouping);
            return wide_out[0];
        };
        const auto libc = [format = grouping != 0 ? L"%'ld" : L"%ld"](long value) {
            return swprintf(platform_out, 64, format, value);
        };
        rows.push_back({grouping != 0 ? "write_grouped" : "write",
                        size_of(grouping != 0 ? s.grouped_integers : s.integers),
                        {{"libc_wide", 1.0}},
                        {{"qbgl", for_each(s.values, ours)}, {"libc_wide", for_each(s.values, libc)}},
                        NUMBERS});
    }
    static char printed[256];
    const auto printing = [&](const char *name, auto ours, auto libc, double goal) {
        rows.push_back({name,
                        size_of(s.integers),
                        {{"libc", goal}},
                        {{"qbgl", for_each(s.integers, ours)}, {"libc", for_each(s.integers, libc)}},
                        NUMBERS});
    };
    const auto value_of = [](const Number &number) { return static_cast<int>(number.bytes.size() * 1234567 + number.bytes[0]); };
    printing(
        "print_integers",
        [&s, value_of](const Number &number) {
            return gl_mbsprintf(s.locale, printed, sizeof printed, "%d|%8d|%'d|%08x", value_of(number), 42, value_of(number), 255U);
        },
        [value_of](const Number &number) {
            return snprintf(printed, sizeof printed, "%d|%8d|%'d|%08x", value_of(number), 42, value_of(number), 255U);
        },
        1.2);
    printing(
        "print_strings",
        [&s](const Number &number) {
            return gl_mbsprintf(s.locale, printed, sizeof printed, "%s: %-20s|%.3s", number.bytes.c_str(), "a name", "cut off");
        },
        [](const Number &number) {
            return snprintf(printed, sizeof printed, "%s: %-20s|%.3s", number.bytes.c_str(), "a name", "cut off");
        },
        1.2);
    printing(
        "print_reals",
        [&s](const Number &number) { return gl_mbsprintf(s.locale, printed, sizeof printed, "%.2f", number.bytes[0] / 7.0); },
        [](const Number &number) { return snprintf(printed, sizeof printed, "%.2f", number.bytes[0] / 7.0); }, 0);
    return rows;
}

} // namespace

int main(int argc, char **argv) {
    bench::start(argc, argv);
    const Setup *const s = setup();
    std::vector<bench::Goal> goals;
    for (const bench::Row &row : rows_of(*s)) bench::add_row(row.name, row, s->platform, goals);
    bench::RatioReporter reporter({"libc", "libc_wide", "icu"}, goals);
    benchmark::RunSpecifiedBenchmarks(&reporter);
}
