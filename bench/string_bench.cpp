// Stepping through text and measuring it, against the platform's functions in its own locale of the same codeset, on the same text.
//
//   string_bench --benchmark_repetitions=9 --benchmark_enable_random_interleaving=true
#include "rows.h"
#include "texts.h"

#include "qbgl.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <clocale>
#include <cstdlib>
#include <cwchar>
#include <functional>
#include <locale.h>
#include <memory>

namespace {

constexpr size_t TEXT_SIZE = 1 << 20;
constexpr size_t PIECE_SIZE = 32 << 10; // measured with one call, so that the caches are measured and not the memory
constexpr size_t LINES = 500;

struct Codeset {
    const char *name, *spec, *platform, *charmap, *language;
};

const Codeset CODESETS[] = {
    {"8859-1", "de_de.8859-1", "de_DE.ISO-8859-1", "ISO-8859-1", "de"},
    {"sjis", "ja_jp.sjis", "ja_JP.SHIFT_JIS", "SHIFT_JIS", "ja"},
    {"ujis", "ja_jp.ujis", "ja_JP.EUC-JP", "EUC-JP", "ja"},
    {"big5", "zh_tw.big5", "zh_TW.BIG5", "BIG5", "zh_TW"},
    {"utf8", "ja_jp.utf8", "ja_JP.UTF-8", "UTF-8", "ja"},
};

// A piece of text as both sides have it.
struct Piece {
    std::string bytes;
    std::vector<gl_wchar> wide;
    std::wstring platform_wide;
    // What is looked for: the last characters.
    std::string needle;
    std::vector<gl_wchar> wide_needle;
    std::wstring platform_needle;
};

// Texts without controls, which have no width, in pieces and in lines.
struct Setup {
    const Codeset *codeset;
    gl_locale *locale;
    locale_t platform;
    std::vector<Piece> pieces, lines;

    size_t bytes() const {
        size_t sum = 0;
        for (const Piece &piece : pieces) sum += piece.bytes.size();
        return sum;
    }
};

// What both sides read; empty when one does not, or when one finds something without a width.
Piece piece_of(const Setup &setup, const std::string &bytes) {
    Piece piece = {bytes, std::vector<gl_wchar>(bytes.size() + 1), std::wstring(bytes.size() + 1, L'\0'), {}, {}, {}};
    const size_t count = mbstowcs(piece.platform_wide.data(), bytes.c_str(), bytes.size() + 1);
    const int own = gl_mbstowcs(setup.locale, piece.wide.data(), bytes.c_str(), static_cast<int>(bytes.size() + 1));
    if (count == static_cast<size_t>(-1) || own != static_cast<int>(count)) return {};
    piece.platform_wide.resize(count);
    piece.wide.resize(count + 1);
    const int needle = std::min(own, 6);
    piece.needle = gl_full_getmbsi(setup.locale, bytes.c_str(), own - needle);
    piece.wide_needle.assign(piece.wide.end() - needle - 1, piece.wide.end());
    piece.platform_needle = piece.platform_wide.substr(count - static_cast<size_t>(needle));
    const bool has_width =
        gl_wcswidth(setup.locale, piece.wide.data(), own) >= 0 && wcswidth(piece.platform_wide.c_str(), count) >= 0;
    return has_width ? piece : Piece{};
}

std::unique_ptr<Setup> setup_of(const Codeset &codeset) {
    auto setup = std::make_unique<Setup>();
    setup->codeset = &codeset;
    setup->locale = bench::load(codeset.spec);
    setup->platform = bench::load_platform(codeset.platform);
    uselocale(setup->platform);
    std::string text = bench::text_of(codeset.language, TEXT_SIZE), piece;
    if (codeset.charmap != std::string("UTF-8")) text = bench::converted(text, "UTF-8", codeset.charmap);
    for (std::string line : bench::lines_of(text)) {
        if (!line.empty() && line.back() == '\n') line.pop_back();
        const Piece own = piece_of(*setup, line);
        if (own.bytes.empty()) continue;
        if (setup->lines.size() < LINES) setup->lines.push_back(own);
        piece += line;
        if (piece.size() < PIECE_SIZE) continue;
        setup->pieces.push_back(piece_of(*setup, piece));
        piece.clear();
    }
    uselocale(LC_GLOBAL_LOCALE);
    return setup;
}

// Work of one call of each function, for a text.
using Side = std::function<void(const Piece &)>;
struct Row {
    const char *name;
    double goal;
    bool by_line;
    std::map<std::string, Side> sides;
};

wchar_t platform_wides[2 * PIECE_SIZE];

// `measure` computes a number of a piece.
template <class Measure> Side side(Measure measure) {
    return [measure](const Piece &piece) {
        auto result = measure(piece);
        benchmark::DoNotOptimize(result);
    };
}

template <class Next> Side steps(Next next) {
    return side([next](const Piece &piece) {
        const char *at = piece.bytes.data(), *const end = at + piece.bytes.size();
        while (at < end) at = next(at, end);
        return at;
    });
}

std::vector<Row> rows_of(const Setup &s) {
    gl_locale *const locale = s.locale;
    const auto count_of = [](const Piece &piece) { return static_cast<int>(piece.platform_wide.size()); };
    const Side by_mbrlen = side([](const Piece &piece) {
        mbstate_t state = {};
        const char *at = piece.bytes.data(), *const end = at + piece.bytes.size();
        while (at < end) at += mbrlen(at, static_cast<size_t>(end - at), &state);
        return at;
    });
    const Side platform_width =
        side([](const Piece &piece) { return wcswidth(piece.platform_wide.c_str(), piece.platform_wide.size()); });
    const Side converted_width = side([](const Piece &piece) {
        return wcswidth(platform_wides, mbstowcs(platform_wides, piece.bytes.c_str(), std::size(platform_wides)));
    });
    const Side by_conversion = side([](const Piece &piece) { return mbstowcs(nullptr, piece.bytes.c_str(), 0); });
    const Side width = side([=](const Piece &piece) { return gl_wcswidth(locale, piece.wide.data(), count_of(piece)); });
    return {
        {"wcswidth", 1.5, false, {{"qbgl", width}, {"libc", platform_width}}},
        {"wcswidth_lines", 1.5, true, {{"qbgl", width}, {"libc", platform_width}}},
        {"full_mbsnext",
         4,
         false,
         {{"qbgl", steps([=](const char *at, const char *) { return gl_full_mbsnext(locale, at); })}, {"libc", by_mbrlen}}},
        {"mbsnext",
         4,
         false,
         {{"qbgl", steps([=](const char *at, const char *) { return gl_mbsnext(locale, at); })}, {"libc", by_mbrlen}}},
        {"mbsstr",
         3,
         false,
         {{"qbgl", side([=](const Piece &piece) { return gl_mbsstr(locale, piece.bytes.c_str(), piece.needle.c_str()); })},
          {"libc", side([](const Piece &piece) {
               mbstowcs(platform_wides, piece.bytes.c_str(), std::size(platform_wides));
               return wcsstr(platform_wides, piece.platform_needle.c_str());
           })}}},
        {"wcsstr",
         1,
         false,
         {{"qbgl", side([=](const Piece &piece) { return gl_wcsstr(locale, piece.wide.data(), piece.wide_needle.data()); })},
          {"libc", side([](const Piece &piece) { return wcsstr(piece.platform_wide.c_str(), piece.platform_needle.c_str()); })}}},
        {"mbscspn",
         3,
         false,
         {{"qbgl", side([=](const Piece &piece) { return gl_mbscspn(locale, piece.bytes.c_str(), "\t~"); })},
          {"libc", side([](const Piece &piece) {
               mbstowcs(platform_wides, piece.bytes.c_str(), std::size(platform_wides));
               return wcscspn(platform_wides, L"\t~");
           })}}},
        {"bounded_mbsnext",
         0,
         false,
         {{"qbgl",
           steps([=](const char *at, const char *end) { return _qbx_gl_full_mbsnext(locale, at, static_cast<int>(end - at)); })},
          {"libc", by_mbrlen}}},
        {"mbswidth",
         0,
         false,
         {{"qbgl", side([=](const Piece &piece) { return gl_mbswidth(locale, piece.bytes.c_str(), count_of(piece)); })},
          {"libc", converted_width}}},
        {"mbsbytes_nt",
         0,
         false,
         {{"qbgl", side([=](const Piece &piece) { return gl_mbsbytes_nt(locale, piece.bytes.c_str()); })},
          {"libc", by_conversion}}},
        {"mbsntsbytes",
         0,
         false,
         {{"qbgl", side([=](const Piece &piece) { return gl_mbsntsbytes(locale, piece.bytes.c_str()); })},
          {"libc", by_conversion}}},
        {"mbsprev",
         0,
         false,
         {{"qbgl", side([=](const Piece &piece) {
               return gl_full_mbsprev(locale, piece.bytes.data(), piece.bytes.data() + piece.bytes.size());
           })},
          {"libc", by_conversion}}},
    };
}

bench::Row for_texts(const Setup &setup, const Row &row) {
    const std::vector<Piece> &texts = row.by_line ? setup.lines : setup.pieces;
    bench::Row result = {row.name, 0, {{"libc", row.goal}}, {}};
    for (const Piece &piece : texts) result.bytes += piece.bytes.size();
    for (const auto &[side, function] : row.sides)
        result.sides[side] = [&texts, function = function] {
            for (const Piece &piece : texts) function(piece);
        };
    return result;
}

} // namespace

int main(int argc, char **argv) {
    bench::start(argc, argv);
    std::vector<bench::Goal> goals;
    std::vector<std::unique_ptr<Setup>> setups; // live as long as the benchmarks
    for (const Codeset &codeset : CODESETS) {
        setups.push_back(setup_of(codeset));
        for (const Row &row : rows_of(*setups.back()))
            bench::add_row(std::string(codeset.name) + "/" + row.name, for_texts(*setups.back(), row), setups.back()->platform,
                           goals);
    }
    bench::RatioReporter reporter({"libc"}, goals);
    benchmark::RunSpecifiedBenchmarks(&reporter);
}
