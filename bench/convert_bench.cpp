// Codeset conversion against the platform's iconv() and ICU's ucnv_convertEx, all in one process on the same 4 MiB of text.
//
//   convert_bench --benchmark_repetitions=9 --benchmark_enable_random_interleaving=true
#include "ratio_reporter.h"
#include "texts.h"

#include "qbgl.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <iconv.h>
#include <stdexcept>
#ifdef QBGL_BENCH_ICU
#include <unicode/ucnv.h>
#endif

namespace {

constexpr size_t TEXT_SIZE = 4 << 20;

struct Codeset {
    const char *qbgl, *iconv, *icu;
};

const Codeset UTF8 = {"utf8", "UTF-8", "UTF-8"};
const Codeset SJIS = {"sjis", "SHIFT_JIS", "Shift_JIS"};
const Codeset UJIS = {"ujis", "EUC-JP", "EUC-JP"};
const Codeset BIG5 = {"big5", "BIG5", "Big5"};
const Codeset LATIN1 = {"8859-1", "ISO-8859-1", "ISO-8859-1"};
const Codeset CP1252 = {"cp1252", "CP1252", "windows-1252"};
const Codeset KOI8 = {"koi-8", "KOI8-R", "KOI8-R"};
const Codeset UTF16 = {"utf-16le", "UTF-16LE", "UTF-16LE"};
const Codeset UTF32 = {"ucs4", "UTF-32LE", "UTF-32LE"};
const Codeset CP1251 = {"pc-slavic", "CP1251", "windows-1251"};

struct Work {
    const char *name;
    Codeset source, target;
    const char *language;
    bool by_line;
    double over_iconv, over_icu;
};

const Work WORKS[] = {
    {"sjis_utf8", SJIS, UTF8, "ja", false, 2.2, 2.2},
    {"big5_utf8", BIG5, UTF8, "zh_TW", false, 2.2, 2.2},
    {"ujis_sjis", UJIS, SJIS, "ja", false, 2.0, 3.0},
    {"utf8_sjis", UTF8, SJIS, "ja", false, 2.0, 1.05},
    {"8859-1_utf8", LATIN1, UTF8, "de", false, 3.0, 1.5},
    {"cp1252_8859-1", CP1252, LATIN1, "de", false, 3.0, 1.2},
    {"koi-8_cp1251", KOI8, CP1251, "ru", false, 3.0, 1.2},
    {"sjis_utf8_ascii_text", SJIS, UTF8, "en", false, 3.0, 3.0},
    {"ujis_sjis_ascii_text", UJIS, SJIS, "en", false, 3.0, 3.0},
    {"utf8_sjis_ascii_text", UTF8, SJIS, "en", false, 3.0, 3.0},
    {"big5_utf8_ascii_text", BIG5, UTF8, "en", false, 3.0, 3.0},
    {"utf8_utf16_de", UTF8, UTF16, "de", false, 2.0, 2.0},
    {"utf8_utf16_ru", UTF8, UTF16, "ru", false, 2.0, 2.0},
    {"utf8_utf16_ja", UTF8, UTF16, "ja", false, 2.0, 2.0},
    {"utf8_utf16_ascii_text", UTF8, UTF16, "en", false, 2.0, 2.0},
    {"utf16_utf8_de", UTF16, UTF8, "de", false, 2.0, 2.0},
    {"utf16_utf8_ru", UTF16, UTF8, "ru", false, 2.0, 2.0},
    {"utf16_utf8_ja", UTF16, UTF8, "ja", false, 2.0, 2.0},
    {"utf16_utf8_ascii_text", UTF16, UTF8, "en", false, 2.0, 2.0},
    {"utf8_utf32_ja", UTF8, UTF32, "ja", false, 2.0, 2.0},
    {"utf8_utf32_ascii_text", UTF8, UTF32, "en", false, 2.0, 2.0},
    {"utf32_utf8_ja", UTF32, UTF8, "ja", false, 2.0, 2.0},
    {"utf32_utf8_ascii_text", UTF32, UTF8, "en", false, 2.0, 2.0},
    {"utf16_sjis", UTF16, SJIS, "ja", false, 2.0, 2.0},
    {"sjis_utf16", SJIS, UTF16, "ja", false, 2.0, 1.0},
    {"sjis_utf8_by_line", SJIS, UTF8, "ja", true, 2.0, 2.0},
};

// The pieces that are converted with one call each.
struct Input {
    std::vector<std::string> pieces;
    size_t size = 0;
};

Input input_of(const Work &work) {
    const std::string utf8 = bench::text_of(work.language, TEXT_SIZE * 3 / 2);
    // Only characters that both codesets have, so that every peer converts all of it.
    const std::string in_target = bench::converted(utf8, "UTF-8", work.target.iconv);
    const std::string text = bench::converted(bench::converted(in_target, work.target.iconv, "UTF-8"), "UTF-8", work.source.iconv);
    Input input;
    input.pieces = work.by_line ? bench::lines_of(text) : std::vector<std::string>{text};
    for (const std::string &piece : input.pieces) input.size += piece.size();
    return input;
}

void convert_with_qbgl(benchmark::State &state, const Work &work, const Input &input) {
    gl_cv *cd;
    if (gl_cv_load(&cd, work.target.qbgl, work.source.qbgl, nullptr, nullptr) != 1) {
        state.SkipWithError("the conversion does not load");
        return;
    }
    std::vector<char> buffer(input.size * 4);
    for (auto _ : state) {
        for (const std::string &piece : input.pieces) {
            const char *in = piece.data();
            char *out = buffer.data();
            int inleft = static_cast<int>(piece.size()), outleft = static_cast<int>(buffer.size()), subst;
            if (gl_miconv(cd, &in, &inleft, &out, &outleft, &subst) != 0) state.SkipWithError("the text does not convert");
        }
        benchmark::DoNotOptimize(buffer.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(input.size));
    gl_cv_unload(cd);
}

void convert_with_iconv(benchmark::State &state, const Work &work, const Input &input) {
    const iconv_t cd = iconv_open(work.target.iconv, work.source.iconv);
    std::vector<char> buffer(input.size * 4);
    for (auto _ : state) {
        for (const std::string &piece : input.pieces) {
            char *in = const_cast<char *>(piece.data());
            char *out = buffer.data();
            size_t inleft = piece.size(), outleft = buffer.size();
            iconv(cd, nullptr, nullptr, nullptr, nullptr);
            if (iconv(cd, &in, &inleft, &out, &outleft) == static_cast<size_t>(-1))
                state.SkipWithError("the text does not convert");
        }
        benchmark::DoNotOptimize(buffer.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(input.size));
    iconv_close(cd);
}

#ifdef QBGL_BENCH_ICU
void convert_with_icu(benchmark::State &state, const Work &work, const Input &input) {
    UErrorCode status = U_ZERO_ERROR;
    UConverter *source = ucnv_open(work.source.icu, &status);
    UConverter *target = ucnv_open(work.target.icu, &status);
    std::vector<char> buffer(input.size * 4);
    for (auto _ : state) {
        for (const std::string &piece : input.pieces) {
            const char *in = piece.data();
            char *out = buffer.data();
            UChar pivot[1024];
            UChar *pivot_source = pivot, *pivot_target = pivot;
            status = U_ZERO_ERROR;
            ucnv_convertEx(target, source, &out, buffer.data() + buffer.size(), &in, piece.data() + piece.size(), pivot,
                           &pivot_source, &pivot_target, pivot + 1024, true, true, &status);
            if (U_FAILURE(status)) state.SkipWithError(u_errorName(status));
        }
        benchmark::DoNotOptimize(buffer.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(input.size));
    ucnv_close(source);
    ucnv_close(target);
}
#endif

size_t allocated = 0;

void *counting_malloc(uint32_t size) {
    allocated += size;
    return malloc(size);
}

// What an open conversion asks of the allocator.
size_t memory_of(const char *target, const char *source) {
    allocated = 0;
    gl_setextfunc(nullptr, GL_EXT_MALLOC, reinterpret_cast<gl_extfunc>(counting_malloc));
    gl_cv *cd;
    gl_cv_load(&cd, target, source, nullptr, nullptr);
    gl_cv_unload(cd);
    gl_setextfunc(nullptr, GL_EXT_MALLOC, nullptr);
    return allocated;
}

// Opening from a warm file cache.
void open_conversion(benchmark::State &state, const char *target, const char *source) {
    state.counters["kib"] = static_cast<double>(memory_of(target, source)) / 1024;
    for (auto _ : state) {
        gl_cv *cd;
        if (gl_cv_load(&cd, target, source, nullptr, nullptr) != 1) state.SkipWithError("the conversion does not load");
        gl_cv_unload(cd);
    }
}

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    setenv("QUORBANEDIR", QBGL_TREE, 0);
    gl_cache_registry(nullptr, nullptr);
    std::vector<bench::Goal> goals;
    std::vector<Input> inputs(std::size(WORKS)); // live as long as the benchmarks
    for (size_t i = 0; i < std::size(WORKS); ++i) {
        const Work &work = WORKS[i];
        Input &input = inputs[i] = input_of(work);
        const std::string name = work.name;
        goals.push_back({name, {{"iconv", work.over_iconv}, {"icu", work.over_icu}}});
        benchmark::RegisterBenchmark((name + "/qbgl").c_str(), [&](benchmark::State &s) { convert_with_qbgl(s, work, input); });
        benchmark::RegisterBenchmark((name + "/iconv").c_str(), [&](benchmark::State &s) { convert_with_iconv(s, work, input); });
#ifdef QBGL_BENCH_ICU
        benchmark::RegisterBenchmark((name + "/icu").c_str(), [&](benchmark::State &s) { convert_with_icu(s, work, input); });
#endif
    }
    for (const auto &[target, source] : {std::pair{"8859-1", "cp1252"},
                                         {"utf8", "8859-1"},
                                         {"8859-1", "utf8"},
                                         {"utf8", "sjis"},
                                         {"sjis", "utf8"},
                                         {"sjis", "ujis"}, // composed, as are those between two of the following
                                         {"cp1251", "koi-8"},
                                         {"gb18030", "big5"},
                                         {"utf-16le", "sjis"},
                                         {"sjis", "utf-16le"},
                                         {"utf8", "korhstmxexsbcs"},
                                         {"korhstmxexsbcs", "utf8"},
                                         {"unicode", "utf8"},
                                         {"utf8", "unicode"},
                                         {"ucs4", "utf8"},
                                         {"utf8", "ucs4"},
                                         {"utf8", "gb18030"},
                                         {"gb18030", "utf8"},
                                         {"ucs4", "gb18030"}})
        benchmark::RegisterBenchmark((std::string("open/") + source + "_" + target).c_str(), [target = target, source = source](
                                                                                                 benchmark::State &s) {
            open_conversion(s, target, source);
        })->Unit(benchmark::kMillisecond);
    bench::RatioReporter reporter({"iconv", "icu"}, goals);
    benchmark::RunSpecifiedBenchmarks(&reporter);
}
