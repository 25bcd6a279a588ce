// Characters and text of a locale against the platform's functions in its own locale of the same codeset, all in one process on the
// same text; and what loading a locale costs, and a further handle by gl_copy_cat.
//
//   text_bench --benchmark_repetitions=9 --benchmark_enable_random_interleaving=true
#include "rows.h"
#include "texts.h"

#include "qbgl.h"

#include <benchmark/benchmark.h>
#include <cctype>
#include <clocale>
#include <cstdlib>
#include <cwchar>
#include <cwctype>
#include <functional>
#include <locale.h>
#include <memory>
#include <span>
#include <string_view>
#ifdef QBGL_BENCH_ICU
#include <unicode/utf8.h>
#endif

namespace {

constexpr size_t TEXT_SIZE = 4 << 20;
constexpr size_t PIECE_SIZE = 32 << 10; // converted with one call, so that the caches are measured and not the memory
constexpr size_t WORDS = 50000;

struct Codeset {
    const char *name, *spec, *platform, *charmap, *language;
    double mbstowcs, wcstombs; // goals over libc for long text
    bool ideographs;
};

const Codeset CODESETS[] = {
    {"8859-1", "de_de.8859-1", "de_DE.ISO-8859-1", "ISO-8859-1", "de", 1.0, 3.0, false},
    {"koi-8", "ru_ru.koi-8", "ru_RU.KOI8-R", "KOI8-R", "ru", 1.0, 3.0, false},
    {"sjis", "ja_jp.sjis", "ja_JP.SHIFT_JIS", "SHIFT_JIS", "ja", 2.0, 1.3, true},
    {"ujis", "ja_jp.ujis", "ja_JP.EUC-JP", "EUC-JP", "ja", 1.4, 6.0, true},
    {"big5", "zh_tw.big5", "zh_TW.BIG5", "BIG5", "zh_TW", 2.0, 1.3, true},
    {"utf8", "ja_jp.utf8", "ja_JP.UTF-8", "UTF-8", "ja", 1.4, 1.3, true},
};

// A piece of text as both sides have it, each form with its terminator.
struct Text {
    std::string_view bytes;
    const gl_wchar *wide;
    std::wstring_view platform_wide;
};

// Pieces that stand one behind the other, as those of a host's text do.
class Texts {
  public:
    void add(const std::string &bytes, const std::vector<gl_wchar> &wide, const std::wstring &platform_wide) {
        places_.push_back({bytes_.size(), wide_.size(), bytes.size(), platform_wide.size()});
        bytes_.append(bytes.c_str(), bytes.size() + 1);
        wide_.insert(wide_.end(), wide.begin(), wide.end());
        platform_wide_.append(platform_wide.c_str(), platform_wide.size() + 1);
    }
    size_t count() const { return places_.size(); }
    size_t size() const { return bytes_.size() - places_.size(); }
    Text operator[](size_t i) const {
        const Place &at = places_[i];
        return {{bytes_.data() + at.byte, at.bytes}, wide_.data() + at.wide, {platform_wide_.data() + at.wide, at.wides}};
    }

  private:
    struct Place {
        size_t byte, wide, bytes, wides;
    };
    std::string bytes_;
    std::vector<gl_wchar> wide_;
    std::wstring platform_wide_;
    std::vector<Place> places_;
};

struct Setup {
    const Codeset *codeset;
    gl_locale *locale;
    locale_t platform;
    Texts pieces, ascii_pieces, words;
};

std::wstring platform_wide(const std::string &bytes) {
    std::wstring wide(bytes.size() + 1, L'\0');
    const size_t count = mbstowcs(wide.data(), bytes.c_str(), wide.size());
    wide.resize(count == static_cast<size_t>(-1) ? 0 : count);
    return wide;
}

std::vector<gl_wchar> wide(gl_locale *locale, const std::string &bytes) {
    std::vector<gl_wchar> wide(bytes.size() + 1);
    const int count = gl_mbstowcs(locale, wide.data(), bytes.c_str(), static_cast<int>(wide.size()));
    wide.resize(static_cast<size_t>(std::max(count, 0)) + 1);
    wide.back() = 0;
    return wide;
}

// The lines that both sides read.
std::string common_text(const Setup &setup) {
    std::string text = bench::text_of(setup.codeset->language, TEXT_SIZE);
    if (setup.codeset->charmap != std::string("UTF-8")) text = bench::converted(text, "UTF-8", setup.codeset->charmap);
    std::string common;
    for (const std::string &line : bench::lines_of(text)) {
        const size_t count = platform_wide(line).size();
        if (count > 0 && wide(setup.locale, line).size() == count + 1) common += line;
    }
    return common;
}

void add(Texts &texts, const Setup &setup, const std::string &bytes) {
    texts.add(bytes, wide(setup.locale, bytes), platform_wide(bytes));
}

Texts pieces_of(const Setup &setup, const std::string &text) {
    Texts pieces;
    std::string piece;
    for (const std::string &line : bench::lines_of(text)) {
        piece += line;
        if (piece.size() < PIECE_SIZE) continue;
        add(pieces, setup, piece);
        piece.clear();
    }
    return pieces;
}

// Words of 7 to 12 characters, parts of longer ones among them.
Texts words_of(const Setup &setup, const std::string &whole) {
    const auto in_word = [&](wchar_t wc) { return setup.codeset->ideographs ? wc >= 0x80 : !iswspace(static_cast<wint_t>(wc)); };
    Texts words;
    const std::wstring text = platform_wide(whole);
    for (size_t at = 0; at < text.size() && words.count() < WORDS;) {
        size_t end = at;
        while (end < text.size() && end - at < 12 && in_word(text[end])) ++end;
        if (end - at >= 7) {
            std::string word(64, '\0');
            word.resize(wcstombs(word.data(), text.substr(at, end - at).c_str(), word.size()));
            add(words, setup, word);
        }
        at = std::max(end, at + 1);
    }
    return words;
}

std::unique_ptr<Setup> setup_of(const Codeset &codeset) {
    auto setup = std::make_unique<Setup>();
    setup->codeset = &codeset;
    setup->locale = bench::load(codeset.spec);
    setup->platform = bench::load_platform(codeset.platform);
    uselocale(setup->platform);
    const std::string text = common_text(*setup);
    setup->pieces = pieces_of(*setup, text);
    setup->ascii_pieces = pieces_of(*setup, bench::text_of("en", TEXT_SIZE));
    setup->words = words_of(*setup, text);
    uselocale(LC_GLOBAL_LOCALE);
    return setup;
}

// Work of one call of each function.
constexpr int ROOM = 4 * PIECE_SIZE; // more than any piece needs, in characters or bytes
gl_wchar wides[ROOM];
wchar_t platform_wides[ROOM];
char bytes[ROOM];

template <class Function> std::function<void()> for_each(const Texts &texts, Function function) {
    std::vector<Text> list;
    for (size_t i = 0; i < texts.count(); ++i) list.push_back(texts[i]);
    return [list, function] {
        for (const Text &text : list) function(text);
    };
}

bench::Row to_wide(const Setup &s, const char *name, const Texts &texts, double goal) {
    return {name,
            texts.size(),
            {{"libc", goal}},
            {{"qbgl", for_each(texts, [&s](const Text &text) { gl_mbstowcs(s.locale, wides, text.bytes.data(), ROOM); })},
             {"libc", for_each(texts, [](const Text &text) { mbstowcs(platform_wides, text.bytes.data(), ROOM); })}}};
}

bench::Row to_bytes(const Setup &s, const char *name, const Texts &texts, double goal) {
    const auto convert = s.locale->single_byte != 0 ? _gl_is_wcstombs : gl_full_wcstombs;
    return {name,
            texts.size(),
            {{"libc", goal}},
            {{"qbgl", for_each(texts, [&s, convert](const Text &text) { convert(s.locale, bytes, text.wide, ROOM); })},
             {"libc", for_each(texts, [](const Text &text) { wcstombs(bytes, text.platform_wide.data(), ROOM); })}}};
}

bench::Row characters_to_wide(const Setup &s) {
    const auto ours = [locale = s.locale](const Text &text) {
        gl_wchar wc;
        const char *at = text.bytes.data(), *const end = at + text.bytes.size();
        while (at < end) at += gl_mbtowc(locale, &wc, at, static_cast<int>(end - at));
        benchmark::DoNotOptimize(wc);
    };
    const auto libc = [](const Text &text) {
        wchar_t wc;
        mbstate_t state = {};
        const char *at = text.bytes.data(), *const end = at + text.bytes.size();
        while (at < end) at += mbrtowc(&wc, at, static_cast<size_t>(end - at), &state);
        benchmark::DoNotOptimize(wc);
    };
    return {"mbtowc", s.pieces.size(), {{"libc", 4.0}}, {{"qbgl", for_each(s.pieces, ours)}, {"libc", for_each(s.pieces, libc)}}};
}

// A function of one wide character over the whole text: libc's plain function and the one that takes a locale.
template <class Ours, class Libc, class LibcL>
bench::Row each_wide(const Setup &s, const char *name, double goal, Ours ours, Libc libc, LibcL libc_l) {
    const auto sum = [](const auto &text, auto function) {
        unsigned total = 0;
        for (const auto wc : text) total += static_cast<unsigned>(function(wc));
        benchmark::DoNotOptimize(total);
    };
    const auto with_locale = [=, &s](gl_wchar wc) { return ours(s.locale, wc); };
    const auto plain = [=](wchar_t wc) { return libc(static_cast<wint_t>(wc)); };
    const auto with_platform = [=, &s](wchar_t wc) { return libc_l(static_cast<wint_t>(wc), s.platform); };
    return {
        name,
        s.pieces.size(),
        {{"libc", goal}, {"libc_l", goal}},
        {{"qbgl", for_each(s.pieces, [=](const Text &text) { sum(std::span(text.wide, text.platform_wide.size()), with_locale); })},
         {"libc", for_each(s.pieces, [=](const Text &text) { sum(text.platform_wide, plain); })},
         {"libc_l", for_each(s.pieces, [=](const Text &text) { sum(text.platform_wide, with_platform); })}}};
}

bench::Row wide_to_upper(const Setup &s) {
    const auto libc = [](const Text &text) {
        wchar_t *out = platform_wides;
        for (const wchar_t wc : text.platform_wide) *out++ = static_cast<wchar_t>(towupper(static_cast<wint_t>(wc)));
    };
    const auto libc_l = [&s](const Text &text) {
        wchar_t *out = platform_wides;
        for (const wchar_t wc : text.platform_wide) *out++ = static_cast<wchar_t>(towupper_l(static_cast<wint_t>(wc), s.platform));
    };
    return {"towcsupper",
            s.pieces.size(),
            {{"libc", 1.5}, {"libc_l", 1.5}},
            {{"qbgl", for_each(s.pieces, [&s](const Text &text) { gl_towcsupper(s.locale, wides, text.wide); })},
             {"libc", for_each(s.pieces, libc)},
             {"libc_l", for_each(s.pieces, libc_l)}}};
}

// Against bytes one by one, which only a single-byte codeset allows.
bench::Row bytes_to_upper(const Setup &s) {
    const auto libc = [](const Text &text) {
        char *out = bytes;
        for (const char byte : text.bytes) *out++ = static_cast<char>(toupper(static_cast<unsigned char>(byte)));
    };
    return {"tombsupper",
            s.pieces.size(),
            {{"libc", s.locale->single_byte != 0 ? 3.0 : 0.0}},
            {{"qbgl", for_each(s.pieces, [&s](const Text &text) { gl_tombsupper(s.locale, bytes, text.bytes.data()); })},
             {"libc", for_each(s.pieces, libc)}}};
}

#ifdef QBGL_BENCH_ICU
void utf8_with_icu(const Text &text) {
    const auto *in = reinterpret_cast<const uint8_t *>(text.bytes.data());
    const auto size = static_cast<int32_t>(text.bytes.size());
    gl_wchar *out = wides;
    for (int32_t at = 0; at < size;) {
        UChar32 character;
        U8_NEXT(in, at, size, character);
        *out++ = static_cast<gl_wchar>(character);
    }
    benchmark::DoNotOptimize(out);
}
#endif

std::vector<bench::Row> rows_of(const Setup &s) {
    const bool single_byte = s.locale->single_byte != 0;
    // As a host writes the calls, not through pointers: the short forms are inline.
    const auto to_upper = [](gl_locale *locale, gl_wchar wc) { return gl_towupper(locale, wc); };
    const auto is_alpha = [](gl_locale *locale, gl_wchar wc) { return gl_iswalpha(locale, wc); };
    std::vector<bench::Row> rows = {
        to_wide(s, "mbstowcs", s.pieces, s.codeset->mbstowcs),
        to_wide(s, "mbstowcs_ascii", s.ascii_pieces, single_byte ? 1.0 : 3.0),
        to_wide(s, "mbstowcs_words", s.words, 2.5),
        characters_to_wide(s),
        to_bytes(s, "wcstombs", s.pieces, s.codeset->wcstombs),
        to_bytes(s, "wcstombs_words", s.words, 1.0),
        each_wide(s, "towupper", 1.0, to_upper, towupper, towupper_l),
        each_wide(s, "iswalpha", 1.2, is_alpha, iswalpha, iswalpha_l),
        wide_to_upper(s),
        bytes_to_upper(s),
    };
#ifdef QBGL_BENCH_ICU
    if (s.codeset->name == std::string("utf8")) {
        rows[0].sides["icu"] = for_each(s.pieces, utf8_with_icu);
        rows[0].goals["icu"] = 1.0;
    }
#endif
    return rows;
}

size_t in_use = 0, most = 0;
constexpr size_t HEADER = 16;

void *counting_malloc(uint32_t size) {
    auto *block = static_cast<char *>(malloc(size + HEADER));
    *reinterpret_cast<size_t *>(block) = size;
    most = std::max(most, in_use += size);
    return block + HEADER;
}

void counting_free(void *pointer) {
    char *block = static_cast<char *>(pointer) - HEADER;
    in_use -= *reinterpret_cast<size_t *>(block);
    free(block);
}

// What a locale has of the allocator's memory, and what loading it takes at most.
void count_memory(benchmark::State &state, const Codeset &codeset) {
    gl_setextfunc(nullptr, GL_EXT_MALLOC, reinterpret_cast<gl_extfunc>(counting_malloc));
    gl_setextfunc(nullptr, GL_EXT_FREE, reinterpret_cast<gl_extfunc>(counting_free));
    in_use = most = 0;
    gl_locale *locale = bench::load(codeset.spec);
    state.counters["kib"] = static_cast<double>(in_use) / 1024;
    state.counters["peak_kib"] = static_cast<double>(most) / 1024;
    gl_lc_unload(locale);
    gl_setextfunc(nullptr, GL_EXT_MALLOC, nullptr);
    gl_setextfunc(nullptr, GL_EXT_FREE, nullptr);
}

void add_loading(const Codeset &codeset) {
    const std::string name = std::string("load/") + codeset.name;
    const auto ours = [&codeset](benchmark::State &state) {
        count_memory(state, codeset);
        for (auto _ : state) gl_lc_unload(bench::load(codeset.spec));
    };
    const auto libc = [&codeset](benchmark::State &state) {
        for (auto _ : state) freelocale(bench::load_platform(codeset.platform));
    };
    const auto copies = [&codeset](benchmark::State &state) {
        gl_locale *const source = bench::load(codeset.spec);
        for (auto _ : state) {
            gl_locale *session = nullptr;
            gl_create_null_locale_4(&session);
            if (gl_copy_cat(session, source, GL_CAT_ALL) != 0) state.SkipWithError("no copy");
            gl_free_nonshared_loc(session);
        }
        gl_lc_unload(source);
    };
    benchmark::RegisterBenchmark((name + "/qbgl").c_str(), ours)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark((name + "/libc").c_str(), libc)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark((name + "/copy").c_str(), copies)->Unit(benchmark::kMicrosecond);
}

} // namespace

int main(int argc, char **argv) {
    bench::start(argc, argv);
    std::vector<bench::Goal> goals;
    std::vector<std::unique_ptr<Setup>> setups; // live as long as the benchmarks
    for (const Codeset &codeset : CODESETS) {
        setups.push_back(setup_of(codeset));
        for (const bench::Row &row : rows_of(*setups.back()))
            bench::add_row(std::string(codeset.name) + "/" + row.name, row, setups.back()->platform, goals);
        add_loading(codeset);
    }
    bench::RatioReporter reporter({"libc", "libc_l", "icu"}, goals);
    benchmark::RunSpecifiedBenchmarks(&reporter);
}
