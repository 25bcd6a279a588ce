#include "rows.h"

#include <cstdlib>
#include <stdexcept>

namespace bench {

void start(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    setenv("QUORBANEDIR", QBGL_TREE, 0);
    setenv("LOCPATH", PLATFORM_LOCALES, 1);
    gl_cache_registry(nullptr, nullptr);
}

gl_locale *load(const char *spec) {
    gl_locale *locale;
    if (gl_lc_load(&locale, spec, nullptr, nullptr) != 0) throw std::runtime_error(std::string("no locale ") + spec);
    return locale;
}

locale_t load_platform(const char *name) {
    const locale_t locale = newlocale(LC_ALL_MASK, name, nullptr);
    if (locale == nullptr) throw std::runtime_error(std::string("no platform locale ") + name);
    return locale;
}

void add_row(const std::string &work, const Row &row, locale_t platform, std::vector<Goal> &goals) {
    goals.push_back({work, row.goals});
    for (const auto &[side, function] : row.sides) {
        const auto run = [platform, function = function, size = row.bytes, operations = row.operations](benchmark::State &state) {
            uselocale(platform);
            for (auto _ : state) {
                function();
                benchmark::ClobberMemory();
            }
            uselocale(LC_GLOBAL_LOCALE);
            state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(size));
            if (operations == 0) return;
            state.counters["each"] = benchmark::Counter(
                static_cast<double>(operations), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
        };
        benchmark::RegisterBenchmark((work + "/" + side).c_str(), run);
    }
}

} // namespace bench
