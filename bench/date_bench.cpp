// Dates and amounts of money, written and read, against the platform's functions in its own locale of the same codeset, on the same
// days and amounts.
//
//   date_bench --benchmark_repetitions=9 --benchmark_enable_random_interleaving=true
#include "rows.h"

#include "qbgl.h"

#include <array>
#include <benchmark/benchmark.h>
#include <ctime>
#include <functional>
#include <locale.h>
#include <memory>
#include <monetary.h>
#include <random>
#include <stdexcept>

namespace {

constexpr size_t DAYS = 1000;
constexpr double GOAL = 2;

// One locale and the formats that are measured in it, of dates and of amounts.
struct Country {
    const char *name, *spec, *platform;
    std::vector<const char *> dates, amounts;
};

const std::vector<const char *> USUAL = {"%c", "%x %X", "%A %e. %B %Y", "%Y-%m-%d %H:%M:%S"};
const std::vector<const char *> AMOUNTS = {"%n", "%i", "%=*^#9.3n|%(20n"};

const Country COUNTRIES[] = {
    {"de.utf8", "de_de.utf8", "de_DE.UTF-8", {}, AMOUNTS},
    {"de.8859-1", "de_de.8859-1", "de_DE.ISO-8859-1", {}, AMOUNTS},
    {"cs.utf8", "cs_cz.utf8", "cs_CZ.UTF-8", USUAL, {}},
    {"cs.8859-2", "cs_cz.8859-2", "cs_CZ.ISO-8859-2", USUAL, {}},
    {"ja.utf8", "ja_jp.utf8", "ja_JP.UTF-8", {"%c", "%x %X", "%A %e. %B %Y", "%Y-%m-%d %H:%M:%S", "%EY %Ex"}, AMOUNTS},
    {"fa.utf8", "fa_ir.utf8", "fa_IR.UTF-8", {"%c", "%x %X", "%A %e. %B %Y", "%Y-%m-%d %H:%M:%S", "%C %Oy.%Om.%Od"}, {}},
    {"hi.utf8", "hi_in.utf8", "hi_IN.UTF-8", {}, AMOUNTS},
};

struct Day {
    std::tm platforms;
    gl_tm ours;
};

struct Amount {
    std::string decimal;
    double value;
};

// Days of the eras of today, which both sides read back.
std::vector<Day> days() {
    std::mt19937 random(1);
    std::uniform_int_distribution<time_t> any(700'000'000, 2'100'000'000);
    std::vector<Day> result;
    for (size_t i = 0; i < DAYS; ++i) {
        const time_t seconds = any(random);
        Day day{};
        gmtime_r(&seconds, &day.platforms);
        const std::tm &tm = day.platforms;
        day.ours = {tm.tm_sec,  tm.tm_min,  tm.tm_hour, 0, tm.tm_mday, tm.tm_mon, tm.tm_mon,
                    tm.tm_year, tm.tm_wday, tm.tm_yday, 0, 0,          0};
        result.push_back(day);
    }
    return result;
}

std::vector<Amount> amounts() {
    std::mt19937 random(1);
    std::vector<Amount> result;
    for (size_t i = 0; i < DAYS; ++i) {
        std::string text = random() % 4 == 0 ? "-" : "";
        text += std::to_string(random() % std::array{100U, 100'000U, 100'000'000U}[random() % 3]);
        text += "." + std::to_string(10 + random() % 90);
        result.push_back({text, std::stod(text)});
    }
    return result;
}

struct Setup {
    gl_locale *locale;
    locale_t platform;
};

constexpr size_t ROOM = 256;
char out[ROOM], platform_out[ROOM];

template <class Items, class Function> std::function<void()> for_each(const Items &items, Function function) {
    return [&items, function] {
        for (const auto &item : items) benchmark::DoNotOptimize(function(item));
    };
}

// The texts that `write` makes into `out`, which both sides have to agree on.
template <class Items, class Ours, class Platforms>
std::vector<std::string> texts_of(const std::string &work, const Items &items, Ours ours, Platforms platforms) {
    std::vector<std::string> texts;
    for (const auto &item : items) {
        const bool written = ours(item) > 0;
        const bool same = platforms(item) > 0 && std::string(out) == platform_out;
        if (!written || !same) throw std::runtime_error(work + ": " + out + " and " + platform_out);
        texts.emplace_back(out);
    }
    return texts;
}

size_t size_of(const std::vector<std::string> &texts) {
    size_t size = 0;
    for (const std::string &text : texts) size += text.size();
    return size;
}

class Rows {
  public:
    explicit Rows(std::vector<bench::Goal> &goals) : goals_(goals) {}

    void dates(const Country &country, const Setup &s, const char *format, const std::vector<Day> &days) {
        const std::string work = country.name + std::string("/") + format;
        const auto write = [=](const Day &day) { return gl_mbsftime(s.locale, out, ROOM, format, &day.ours); };
        const auto platform_write = [=](const Day &day) {
            return strftime_l(platform_out, ROOM, format, &day.platforms, s.platform);
        };
        texts_.push_back(std::make_unique<std::vector<std::string>>(texts_of(work, days, write, platform_write)));
        const std::vector<std::string> &texts = *texts_.back();
        const auto read = [=](const std::string &text) {
            gl_tm tm{};
            return gl_mbsptime(s.locale, text.c_str(), format, &tm);
        };
        const auto platform_read = [=](const std::string &text) {
            std::tm tm{};
            return strptime_l(text.c_str(), format, &tm, s.platform);
        };
        add(work + "/write", s, texts, GOAL, for_each(days, write), for_each(days, platform_write));
        for (const std::string &text : texts) {
            if (const char *end = read(text); end == nullptr || *end != '\0') throw std::runtime_error(work + " reads " + text);
            // The platform does not read all that it writes.
            if (const char *end = platform_read(text); end == nullptr || *end != '\0') return;
        }
        add(work + "/read", s, texts, GOAL, for_each(texts, read), for_each(texts, platform_read));
    }

    void money(const Country &country, const Setup &s, const char *format, const std::vector<Amount> &amounts) {
        const std::string work = country.name + std::string("/") + format;
        const auto write = [=](const Amount &amount) { return gl_mbsfmon(s.locale, out, ROOM, format, amount.value); };
        const auto write_text = [=](const Amount &amount) {
            return gl_mbsfmon_text(s.locale, out, ROOM, format, amount.decimal.c_str());
        };
        const auto platform_write = [=](const Amount &amount) {
            return strfmon_l(platform_out, ROOM, s.platform, format, amount.value, amount.value);
        };
        texts_.push_back(std::make_unique<std::vector<std::string>>(texts_of(work, amounts, write, platform_write)));
        const std::vector<std::string> &texts = *texts_.back();
        add(work + "/write", s, texts, GOAL, for_each(amounts, write), for_each(amounts, platform_write));
        add(work + "/write_text", s, texts, GOAL, for_each(amounts, write_text), for_each(amounts, platform_write));
    }

  private:
    void add(const std::string &work, const Setup &s, const std::vector<std::string> &texts, double goal,
             std::function<void()> ours, std::function<void()> platforms) {
        const bench::Row row = {
            work, size_of(texts), {{"libc", goal}}, {{"qbgl", std::move(ours)}, {"libc", std::move(platforms)}}, texts.size()};
        bench::add_row(work, row, s.platform, goals_);
    }

    std::vector<bench::Goal> &goals_;
    std::vector<std::unique_ptr<std::vector<std::string>>> texts_; // live as long as the benchmarks
};

} // namespace

int main(int argc, char **argv) {
    bench::start(argc, argv);
    std::vector<bench::Goal> goals;
    Rows rows(goals);
    const std::vector<Day> all_days = days();
    const std::vector<Amount> all_amounts = amounts();
    for (const Country &country : COUNTRIES) {
        const Setup setup = {bench::load(country.spec), bench::load_platform(country.platform)};
        for (const char *format : country.dates) rows.dates(country, setup, format, all_days);
        for (const char *format : country.amounts) rows.money(country, setup, format, all_amounts);
    }
    bench::RatioReporter reporter({"libc"}, goals);
    benchmark::RunSpecifiedBenchmarks(&reporter);
}
