// Order under a locale's rules against the platform's strcoll_l and strxfrm_l in its own locale of the same codeset, and ICU's
// collator of the same language over UTF-16, all in one process on the same words and lines.
//
//   collation_bench --benchmark_repetitions=9 --benchmark_enable_random_interleaving=true
#include "rows.h"
#include "texts.h"

#include "qbgl.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <locale.h>
#include <memory>
#include <numeric>
#include <random>
#include <stdexcept>
#include <unordered_set>
#ifdef QBGL_BENCH_ICU
#include <unicode/ucol.h>
#endif

namespace {

constexpr size_t TEXT_SIZE = 12 << 20;
constexpr size_t STRINGS = 50000;
constexpr size_t LINE = 50; // characters

struct Goals {
    double platform, icu;
    std::map<std::string, double> by_peer() const { return {{"platform", platform}, {"icu", icu}}; }
};

struct Language {
    const char *name, *spec, *platform, *charmap, *icu, *text;
    Goals sort;
    bool ideographs;
};

const Language LANGUAGES[] = {
    {"german", "de_de.8859-1", "de_DE.ISO-8859-1", "ISO-8859-1", "de", "de", {1.5, 1.5}, false},
    {"french", "fr_ca.8859-1", "fr_CA.ISO-8859-1", "ISO-8859-1", "fr_CA", "fr", {1.5, 1.5}, false}, // accents from the end
    {"czech", "cs_cz.8859-2", "cs_CZ.ISO-8859-2", "ISO-8859-2", "cs", "cs", {1.5, 1.5}, false},     // contractions
    {"japanese_sjis", "ja_jp.sjis", "ja_JP.SHIFT_JIS", "SHIFT_JIS", "ja", "ja", {2.0, 1.5}, true},
    {"japanese_ujis", "ja_jp.ujis", "ja_JP.EUC-JP", "EUC-JP", "ja", "ja", {2.0, 1.5}, true},
};

constexpr Goals PROBE = {2.0, 1.5}; // whether two strings are equal
constexpr Goals WORD_KEYS = {2.0, 2.0}, LINE_KEYS = {2.0, 1.5}, NO_GOAL = {0, 0};

// Terminated strings in both forms, each form one behind the other, as a host's are.
class Strings {
  public:
    Strings(const std::vector<std::string> &strings, const Language &language) {
        std::string joined;
        for (const std::string &string : strings) joined += string + '\n';
        joined = bench::converted(bench::converted(joined, language.charmap, "UTF-8"), "UTF-8", "UTF-16LE");
        utf16_.resize(joined.size() / 2);
        std::memcpy(utf16_.data(), joined.data(), joined.size());
        utf16_starts_.push_back(0);
        for (size_t i = 0; i < utf16_.size(); ++i) {
            if (utf16_[i] != u'\n') continue;
            utf16_[i] = 0;
            utf16_starts_.push_back(i + 1);
        }
        for (const std::string &string : strings) {
            starts_.push_back(bytes_.size());
            bytes_.append(string.c_str(), string.size() + 1);
        }
        if (utf16_starts_.size() != starts_.size() + 1) throw std::runtime_error("strings lost on the way to UTF-16");
    }

    size_t count() const { return starts_.size(); }
    size_t size() const { return bytes_.size() - count(); }
    const char *bytes(size_t i) const { return bytes_.data() + starts_[i]; }
    const char16_t *utf16(size_t i) const { return utf16_.data() + utf16_starts_[i]; }

  private:
    std::string bytes_;
    std::u16string utf16_;
    std::vector<size_t> starts_, utf16_starts_;
};

struct Setup {
    const Language *language;
    gl_locale *locale;
    locale_t platform;
#ifdef QBGL_BENCH_ICU
    UCollator *icu;
#endif
    std::unique_ptr<Strings> words, lines, copies, lower, upper;
};

// What all sides order: the locale has a key for it.
bool is_ordered(gl_locale *locale, const std::string &string) {
    locale->error = 0;
    return !string.empty() && gl_mbsxfrm(locale, nullptr, string.c_str(), 0) > 0 && locale->error == 0;
}

std::u16string utf16_text(const Language &language) {
    const std::string text = bench::converted(bench::text_of(language.text, TEXT_SIZE), "UTF-8", language.charmap);
    const std::string units = bench::converted(bench::converted(text, language.charmap, "UTF-8"), "UTF-8", "UTF-16LE");
    std::u16string result(units.size() / 2, u'\0');
    std::memcpy(result.data(), units.data(), units.size());
    return result;
}

// In the language's codeset, each once, in an order that is no order.
std::vector<std::string> shuffled(const std::vector<std::u16string> &pieces, const Language &language, gl_locale *locale) {
    std::string units;
    for (const std::u16string &piece : pieces)
        for (const char16_t unit : piece + u'\n') units += {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
    std::vector<std::string> strings;
    for (std::string &line :
         bench::lines_of(bench::converted(bench::converted(units, "UTF-16LE", "UTF-8"), "UTF-8", language.charmap))) {
        line.pop_back();
        if (is_ordered(locale, line)) strings.push_back(std::move(line));
    }
    std::shuffle(strings.begin(), strings.end(), std::mt19937(1));
    return strings;
}

bool is_hiragana(char16_t c) { return c >= 0x3040 && c < 0x30A0; }

// Words as a host's columns have them: the distinct ones of the text, in the order of their first use. Where no spaces divide them,
// one begins behind the last hiragana of another.
std::vector<std::u16string> words_of(const std::u16string &text, bool ideographs) {
    const auto in_word = [&](char16_t c) {
        if (ideographs) return c >= 0x3005 && c != u'・' && c < 0xFF00;
        return c > 0xA0 || (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || c == u'-' || c == u'\'';
    };
    constexpr size_t LONGEST = 30;
    const size_t shortest = ideographs ? 2 : 3;
    std::unordered_set<std::u16string> seen;
    std::vector<std::u16string> words;
    for (size_t at = 0; at < text.size() && words.size() < STRINGS;) {
        size_t end = at;
        while (end < text.size() && end - at < LONGEST && in_word(text[end])) {
            if (ideographs && end > at && is_hiragana(text[end - 1]) && !is_hiragana(text[end])) break;
            ++end;
        }
        if (end - at >= shortest && seen.insert(text.substr(at, end - at)).second) words.push_back(text.substr(at, end - at));
        at = std::max(end, at + 1);
    }
    return words;
}

// Running text in pieces of one length.
std::vector<std::u16string> lines_of(const std::u16string &text) {
    std::u16string running;
    for (const char16_t c : text) {
        const bool space = c <= u' ' || c == u'\u3000';
        if (!space || (!running.empty() && running.back() != u' ')) running += space ? u' ' : c;
    }
    std::unordered_set<std::u16string> seen;
    std::vector<std::u16string> lines;
    for (size_t at = 0; at + LINE <= running.size() && lines.size() < STRINGS; at += LINE)
        if (seen.insert(running.substr(at, LINE)).second) lines.push_back(running.substr(at, LINE));
    return lines;
}

// Words that have two cases, in both.
void set_cases(Setup &setup, const std::vector<std::string> &words) {
    std::vector<std::string> lower, upper;
    for (const std::string &word : words) {
        std::string small(word.size() * 2 + 1, '\0'), large = small;
        gl_tombslower(setup.locale, small.data(), word.c_str());
        gl_tombsupper(setup.locale, large.data(), word.c_str());
        if (small == large) continue;
        lower.emplace_back(small.c_str());
        upper.emplace_back(large.c_str());
    }
    setup.lower = std::make_unique<Strings>(lower, *setup.language);
    setup.upper = std::make_unique<Strings>(upper, *setup.language);
}

std::unique_ptr<Setup> setup_of(const Language &language) {
    auto setup = std::make_unique<Setup>();
    setup->language = &language;
    setup->locale = bench::load(language.spec);
    setup->platform = bench::load_platform(language.platform);
#ifdef QBGL_BENCH_ICU
    UErrorCode status = U_ZERO_ERROR;
    setup->icu = ucol_open(language.icu, &status);
    if (U_FAILURE(status)) throw std::runtime_error(std::string("ICU's collator of ") + language.icu + ": " + u_errorName(status));
#endif
    const std::u16string text = utf16_text(language);
    const std::vector<std::string> words = shuffled(words_of(text, language.ideographs), language, setup->locale);
    setup->words = std::make_unique<Strings>(words, language);
    setup->copies = std::make_unique<Strings>(words, language);
    setup->lines = std::make_unique<Strings>(shuffled(lines_of(text), language, setup->locale), language);
    if (!language.ideographs) set_cases(*setup, words);
    std::printf("%-14s %zu words of %.1f bytes, %zu lines of %.1f bytes\n", language.name, words.size(),
                static_cast<double>(setup->words->size()) / static_cast<double>(words.size()), setup->lines->count(),
                static_cast<double>(setup->lines->size()) / static_cast<double>(setup->lines->count()));
    return setup;
}

// Work of one call of each side, `operations` comparisons or keys over `bytes` bytes.
using Pairs = std::vector<std::pair<uint32_t, uint32_t>>;

// Every fourth run of the comparisons that std::sort makes: neighbours in time stay together, and so does what the caches hold.
Pairs pairs_of_sort(const Setup &setup) {
    constexpr size_t RUN = 1024, EVERY = 4;
    std::vector<uint32_t> order(setup.words->count());
    std::iota(order.begin(), order.end(), 0);
    Pairs pairs;
    size_t made = 0;
    std::sort(order.begin(), order.end(), [&](uint32_t a, uint32_t b) {
        if (made++ / RUN % EVERY == 0) pairs.emplace_back(a, b);
        return strcoll_l(setup.words->bytes(a), setup.words->bytes(b), setup.platform) < 0;
    });
    return pairs;
}

Pairs pairs_of_same_place(const Strings &strings) {
    Pairs pairs;
    for (uint32_t i = 0; i < strings.count(); ++i) pairs.emplace_back(i, i);
    return pairs;
}

template <class Text, class Compare>
std::function<void()> for_each_pair(std::vector<std::pair<Text, Text>> texts, Compare compare) {
    return [texts = std::move(texts), compare] {
        for (const auto &[a, b] : texts) benchmark::DoNotOptimize(compare(a, b));
    };
}

bench::Row comparisons(const Setup &setup, const char *name, Goals goals, const Strings &left, const Strings &right,
                       const Pairs &pairs) {
    std::vector<std::pair<const char *, const char *>> texts;
    std::vector<std::pair<const char16_t *, const char16_t *>> utf16_texts;
    size_t size = 0;
    for (const auto &[i, j] : pairs) {
        texts.emplace_back(left.bytes(i), right.bytes(j));
        utf16_texts.emplace_back(left.utf16(i), right.utf16(j));
        size += strlen(left.bytes(i)) + strlen(right.bytes(j));
    }
    bench::Row row{name, size, goals.by_peer(), {}, pairs.size()};
    const auto ours = [locale = setup.locale](const char *a, const char *b) { return gl_mbscoll(locale, a, b); };
    const auto platform = [locale = setup.platform](const char *a, const char *b) { return strcoll_l(a, b, locale); };
    row.sides["qbgl"] = for_each_pair(texts, ours);
    row.sides["platform"] = for_each_pair(texts, platform);
#ifdef QBGL_BENCH_ICU
    const auto icu = [collator = setup.icu](const char16_t *a, const char16_t *b) { return ucol_strcoll(collator, a, -1, b, -1); };
    row.sides["icu"] = for_each_pair(utf16_texts, icu);
#endif
    return row;
}

constexpr size_t ROOM = 4096; // more than any key here needs
char key[ROOM];

size_t our_key(const Setup &setup, const Strings &strings, size_t i) {
    return static_cast<size_t>(gl_mbsxfrm(setup.locale, key, strings.bytes(i), ROOM));
}

size_t platform_key(const Setup &setup, const Strings &strings, size_t i) {
    return strxfrm_l(key, strings.bytes(i), ROOM, setup.platform);
}

#ifdef QBGL_BENCH_ICU
size_t icu_key(const Setup &setup, const Strings &strings, size_t i) { // its length counts the zero byte
    return static_cast<size_t>(ucol_getSortKey(setup.icu, strings.utf16(i), -1, reinterpret_cast<uint8_t *>(key), ROOM)) - 1;
}
#endif

using MakeKey = size_t (*)(const Setup &, const Strings &, size_t);

const std::map<std::string, MakeKey> KEY_MAKERS = {{"qbgl", our_key},
                                                   {"platform", platform_key},
#ifdef QBGL_BENCH_ICU
                                                   {"icu", icu_key}
#endif
};

bench::Row keys(const Setup &setup, const char *name, Goals goals, const Strings &strings) {
    bench::Row row{name, strings.size(), goals.by_peer(), {}, strings.count()};
    for (const auto &[side, make_key] : KEY_MAKERS)
        row.sides[side] = [&setup, &strings, make_key = make_key] {
            for (size_t i = 0; i < strings.count(); ++i) benchmark::DoNotOptimize(make_key(setup, strings, i));
        };
    return row;
}

std::vector<bench::Row> rows_of(const Setup &setup) {
    const bool single_byte = setup.locale->single_byte != 0;
    const bool keys_of_lines_matter = single_byte || setup.language->charmap == std::string("SHIFT_JIS");
    std::vector<bench::Row> rows = {
        comparisons(setup, "sort", setup.language->sort, *setup.words, *setup.words, pairs_of_sort(setup)),
        comparisons(setup, "equal", PROBE, *setup.words, *setup.copies, pairs_of_same_place(*setup.words)),
        keys(setup, "keys_words", single_byte ? WORD_KEYS : NO_GOAL, *setup.words),
        keys(setup, "keys_lines", keys_of_lines_matter ? LINE_KEYS : NO_GOAL, *setup.lines),
    };
    if (setup.lower != nullptr)
        rows.push_back(comparisons(setup, "case", PROBE, *setup.lower, *setup.upper, pairs_of_same_place(*setup.lower)));
    return rows;
}

void print_key_sizes(const Setup &setup) {
    for (const auto &[name, strings] : {std::pair{"words", setup.words.get()}, {"lines", setup.lines.get()}}) {
        std::printf("%-14s %s", setup.language->name, name);
        for (const auto &[side, make_key] : KEY_MAKERS) {
            size_t size = 0;
            for (size_t i = 0; i < strings->count(); ++i) size += make_key(setup, *strings, i);
            std::printf("  %s %.2f", side.c_str(), static_cast<double>(size) / static_cast<double>(strings->size()));
        }
        std::printf("\n");
    }
}

} // namespace

int main(int argc, char **argv) {
    bench::start(argc, argv);
    std::vector<bench::Goal> goals;
    std::vector<std::unique_ptr<Setup>> setups; // live as long as the benchmarks
    for (const Language &language : LANGUAGES) {
        setups.push_back(setup_of(language));
        for (const bench::Row &row : rows_of(*setups.back()))
            bench::add_row(std::string(language.name) + "/" + row.name, row, LC_GLOBAL_LOCALE, goals);
    }
    bench::RatioReporter reporter({"platform", "icu"}, goals);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    std::printf("\nBytes of key for a byte of text in the locale's codeset\n");
    for (const auto &setup : setups) print_key_sizes(*setup);
}
