// The order for indexes against ICU's collator of the same language: comparisons of UTF-8 as a sort makes them, keys of all passes
// (of ICU by way of UTF-16, as a host has to), and the first 8 bytes of a key. The sizes of keys follow.
//
//   order_bench --benchmark_repetitions=9 --benchmark_enable_random_interleaving=true
#include "rows.h"
#include "texts.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <numeric>
#include <random>
#include <set>
#include <stdexcept>
#ifdef QBGL_BENCH_ICU
#include <unicode/ucol.h>
#include <unicode/ustring.h>
#endif

namespace {

constexpr size_t TEXT_SIZE = 6 << 20, STRINGS = 20000, LINE = 50, ROOM = 1 << 14, ENTRY = 8;
constexpr double COMPARE = 1.3, KEY = 2.0;

struct Language {
    const char *text, *spec;
    bool spaces;
} const LANGUAGES[] = {{"de", "de_de.utf8", true}, {"fr", "fr_fr.utf8", true},  {"cs", "cs_cz.utf8", true},
                       {"ru", "ru_ru.utf8", true}, {"ja", "ja_jp.utf8", false}, {"zh_CN", "zh_cn.utf8", false},
                       {"ar", "ar_eg.utf8", true}, {"th", "th_th.utf8", false}};

using Strings = std::vector<std::string>;
unsigned char key[ROOM];

int length_of(const std::string &text) { return static_cast<int>(text.size()); }

Strings some_of(const std::set<std::string> &all) {
    Strings strings(all.begin(), all.end());
    std::shuffle(strings.begin(), strings.end(), std::mt19937(1));
    if (strings.size() > STRINGS) strings.resize(STRINGS);
    return strings;
}

// Pieces of at most `most` bytes of characters for which `inside` holds, each of at least three characters' worth of bytes.
template <class Inside> Strings pieces(const std::string &text, size_t most, Inside inside) {
    std::set<std::string> found;
    for (size_t at = 0, end; at < text.size(); at = std::max(end, at + 1)) {
        for (end = at; end < text.size() && end - at < most && inside(text, end);) ++end;
        while (end < text.size() && end > at && (text[end] & 0xC0) == 0x80) --end;
        if (end - at >= 3) found.insert(text.substr(at, end - at));
    }
    return some_of(found);
}

bool in_word(const std::string &text, size_t at) {
    const auto byte = static_cast<unsigned char>(text[at]);
    return byte >= 0x80 || ((byte | 0x20) >= 'a' && (byte | 0x20) <= 'z');
}

std::vector<std::pair<const std::string *, const std::string *>> pairs_of_sort(gl_locale *locale, const Strings &strings) {
    std::vector<std::pair<const std::string *, const std::string *>> pairs;
    std::vector<const std::string *> order;
    for (const std::string &string : strings) order.push_back(&string);
    std::sort(order.begin(), order.end(), [&](const std::string *a, const std::string *b) {
        pairs.emplace_back(a, b);
        return gl_order_compare(locale, a->data(), length_of(*a), b->data(), length_of(*b), -1) < 0;
    });
    return pairs;
}

size_t our_key(gl_locale *locale, const std::string &text) {
    return static_cast<size_t>(gl_order_key(locale, text.data(), length_of(text), -1, key, ROOM));
}

#ifdef QBGL_BENCH_ICU
size_t icu_key(UCollator *icu, const std::string &text) { // without its zero byte
    static UChar units[ROOM];
    UErrorCode status = U_ZERO_ERROR;
    int32_t count = 0;
    u_strFromUTF8(units, ROOM, &count, text.data(), length_of(text), &status);
    return static_cast<size_t>(ucol_getSortKey(icu, units, count, key, ROOM)) - 1;
}
#endif

void add_rows(const Language &language, const char *kind, const std::shared_ptr<Strings> &strings,
              std::vector<bench::Goal> &goals) {
    gl_locale *const locale = bench::load(language.spec);
    const auto pairs = pairs_of_sort(locale, *strings);
    size_t size = 0, compared = 0, own_keys = 0, icu_keys = 0;
    std::set<std::string> beginnings;
    for (const std::string &text : *strings) {
        size += text.size();
        own_keys += our_key(locale, text);
        beginnings.emplace(reinterpret_cast<char *>(key), std::min(our_key(locale, text), ENTRY));
    }
    for (const auto &[a, b] : pairs) compared += a->size() + b->size();
    const auto each_key = [strings](auto make) {
        return [strings, make] {
            for (const std::string &text : *strings) benchmark::DoNotOptimize(make(text));
        };
    };
    bench::Row compare{"compare", compared, {{"icu", COMPARE}}, {}, pairs.size()};
    bench::Row whole{"key", size, {{"icu", KEY}}, {}, strings->size()}, part{"key_part", size, {}, {}, strings->size()};
    compare.sides["qbgl"] = [locale, pairs] {
        for (const auto &[a, b] : pairs)
            benchmark::DoNotOptimize(gl_order_compare(locale, a->data(), length_of(*a), b->data(), length_of(*b), -1));
    };
    whole.sides["qbgl"] = each_key([locale](const std::string &text) { return our_key(locale, text); });
    part.sides["qbgl"] = each_key(
        [locale](const std::string &text) { return gl_order_key_part(locale, text.data(), length_of(text), -1, key, ENTRY); });
#ifdef QBGL_BENCH_ICU
    UErrorCode status = U_ZERO_ERROR;
    UCollator *const icu = ucol_open(language.text, &status);
    if (U_FAILURE(status)) throw std::runtime_error(u_errorName(status));
    compare.sides["icu"] = [icu, pairs] {
        UErrorCode error = U_ZERO_ERROR;
        for (const auto &[a, b] : pairs)
            benchmark::DoNotOptimize(ucol_strcollUTF8(icu, a->data(), length_of(*a), b->data(), length_of(*b), &error));
    };
    whole.sides["icu"] = each_key([icu](const std::string &text) { return icu_key(icu, text); });
    for (const std::string &text : *strings) icu_keys += icu_key(icu, text);
#endif
    const auto percent = [&](size_t part_of, size_t of) { return 100.0 * static_cast<double>(part_of) / static_cast<double>(of); };
    std::printf("%-5s %s: %zu, key bytes for 100 of text %.0f, of ICU %.0f; distinct first 8 bytes %.0f %%\n", language.text, kind,
                strings->size(), percent(own_keys, size), percent(icu_keys, size), percent(beginnings.size(), strings->size()));
    for (const bench::Row &row : {compare, whole, part})
        bench::add_row(std::string(language.text) + "/" + kind + "/" + row.name, row, LC_GLOBAL_LOCALE, goals);
}

} // namespace

int main(int argc, char **argv) {
    bench::start(argc, argv);
    std::vector<bench::Goal> goals;
    for (const Language &language : LANGUAGES) {
        const std::string text = bench::text_of(language.text, TEXT_SIZE);
        const size_t longest = language.spaces ? 60 : 12;
        const auto in_line = [](const std::string &of, size_t at) { return of[at] != '\n'; };
        add_rows(language, "words", std::make_shared<Strings>(pieces(text, longest, in_word)), goals);
        add_rows(language, "lines", std::make_shared<Strings>(pieces(text, LINE, in_line)), goals);
    }
    bench::RatioReporter reporter({"icu"}, goals);
    benchmark::RunSpecifiedBenchmarks(&reporter);
}
