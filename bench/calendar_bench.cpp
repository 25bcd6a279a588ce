// Dates between the Gregorian calendar and the Hebrew and Islamic ones against ICU's calendars, in one process on the same days.
//
//   calendar_bench --benchmark_repetitions=9 --benchmark_enable_random_interleaving=true
#include "ratio_reporter.h"

#include "qbgl.h"

#include <benchmark/benchmark.h>
#include <functional>
#include <random>
#include <stdexcept>
#ifdef QBGL_BENCH_ICU
#include <unicode/ucal.h>
#endif

namespace {

constexpr size_t DATES = 4096; // of the years that people write about
constexpr int FIRST_YEAR = 1600, LAST_YEAR = 2199;
constexpr double GOAL = 20;

using Convert = int (*)(const gl_tm *, gl_tm *);

struct Calendar {
    const char *name, *icu;
    Convert to, from;
};

const Calendar CALENDARS[] = {
    {"hebrew", "@calendar=hebrew", gl_cal_gregorian_to_hebrew, gl_cal_hebrew_to_gregorian},
    {"islamic", "@calendar=islamic-tbla", gl_cal_gregorian_to_islamic, gl_cal_islamic_to_gregorian},
};

std::vector<gl_tm> random_dates() {
    std::mt19937 random(1);
    std::uniform_int_distribution<int> day(1, 28), month(0, 11), year(FIRST_YEAR, LAST_YEAR);
    std::vector<gl_tm> dates(DATES);
    for (gl_tm &date : dates) date.mday = day(random), date.mon = month(random), date.year = year(random) - 1900;
    return dates;
}

std::vector<gl_tm> converted(const std::vector<gl_tm> &dates, Convert convert) {
    std::vector<gl_tm> result(dates.size());
    for (size_t i = 0; i < dates.size(); ++i)
        if (convert(&dates[i], &result[i]) != 0) throw std::runtime_error("a date cannot be converted");
    return result;
}

void add(const std::string &work, const char *side, const std::function<void()> &convert_all) {
    benchmark::RegisterBenchmark((work + "/" + side).c_str(), [convert_all](benchmark::State &state) {
        for (auto _ : state) convert_all();
        state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(DATES * sizeof(gl_tm)));
    });
}

void add_ours(const std::string &work, const std::vector<gl_tm> &dates, Convert convert) {
    add(work, "qbgl", [dates, convert] {
        gl_tm result;
        for (const gl_tm &date : dates) {
            convert(&date, &result);
            benchmark::DoNotOptimize(result);
        }
    });
}

#ifdef QBGL_BENCH_ICU

void check(UErrorCode status) {
    if (U_FAILURE(status)) throw std::runtime_error(std::string("ICU's calendar: ") + u_errorName(status));
}

UCalendar *open(const char *locale) {
    UErrorCode status = U_ZERO_ERROR;
    UCalendar *calendar = ucal_open(u"UTC", -1, locale, UCAL_DEFAULT, &status); // lives as long as the benchmarks
    check(status);
    return calendar;
}

struct IcuDate {
    int32_t year, month, day;
};

UDate time_of(UCalendar *calendar, const IcuDate &date) {
    UErrorCode status = U_ZERO_ERROR;
    ucal_setDate(calendar, date.year, date.month, date.day, &status);
    return ucal_getMillis(calendar, &status);
}

IcuDate date_of(UCalendar *calendar, UDate time) {
    UErrorCode status = U_ZERO_ERROR;
    ucal_setMillis(calendar, time, &status);
    const auto field = [&](UCalendarDateFields which) { return ucal_get(calendar, which, &status); };
    return {field(UCAL_YEAR), field(UCAL_MONTH), field(UCAL_DATE)};
}

template <class In, class Use> std::function<void()> for_each_of(const std::vector<In> &values, Use use) {
    return [values, use] {
        for (const In &value : values) {
            const auto result = use(value);
            benchmark::DoNotOptimize(result);
        }
    };
}

// Whole conversions, and the halves of them that have to do with the calendar: from and to a number of milliseconds.
void add_icu(const std::string &name, const char *locale, const std::vector<gl_tm> &dates) {
    UCalendar *const gregorian = open("@calendar=gregorian"), *const other = open(locale);
    std::vector<IcuDate> gregorian_dates, other_dates;
    std::vector<UDate> times;
    for (const gl_tm &date : dates) {
        gregorian_dates.push_back({date.year + 1900, date.mon, date.mday});
        times.push_back(time_of(gregorian, gregorian_dates.back()));
        other_dates.push_back(date_of(other, times.back()));
    }
    add(name + "/to", "icu",
        for_each_of(gregorian_dates, [=](const IcuDate &date) { return date_of(other, time_of(gregorian, date)); }));
    add(name + "/from", "icu",
        for_each_of(other_dates, [=](const IcuDate &date) { return date_of(gregorian, time_of(other, date)); }));
    add(name + "/to", "icu-half", for_each_of(times, [=](UDate time) { return date_of(other, time); }));
    add(name + "/from", "icu-half", for_each_of(other_dates, [=](const IcuDate &date) { return time_of(other, date); }));
}

#endif

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    const std::vector<gl_tm> dates = random_dates();
    std::vector<bench::Goal> goals;
    for (const Calendar &calendar : CALENDARS) {
        const std::string name = calendar.name;
        add_ours(name + "/to", dates, calendar.to);
        add_ours(name + "/from", converted(dates, calendar.to), calendar.from);
#ifdef QBGL_BENCH_ICU
        add_icu(name, calendar.icu, dates);
#endif
        for (const char *way : {"/to", "/from"}) goals.push_back({name + way, {{"icu", GOAL}, {"icu-half", 0}}});
    }
    bench::RatioReporter reporter({"icu", "icu-half"}, goals);
    benchmark::RunSpecifiedBenchmarks(&reporter);
}
