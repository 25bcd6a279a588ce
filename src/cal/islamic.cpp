// The tabular Islamic calendar of thirty-year cycles, whose first day is a Thursday.
#include "cal/gregorian.h"
#include "cal/record.h"

#include <algorithm>

using namespace qbgl;

namespace {

constexpr std::array<int32_t, 30> cycle_year_length = {354, 355, 354, 354, 355, 354, 355, 354, 354, 355, 354, 354, 355, 354, 354,
                                                       355, 354, 355, 354, 354, 355, 354, 354, 355, 354, 355, 354, 354, 355, 354};
constexpr auto DAYS_BEFORE_CYCLE_YEAR = days_before(cycle_year_length);
constexpr int32_t CYCLE_YEARS = cycle_year_length.size(), CYCLE_DAYS = DAYS_BEFORE_CYCLE_YEAR.back();
constexpr int32_t LONGEST_YEAR = 355, LAST_MONTH = 11;

constexpr int32_t FIRST_YEAR = 1, LAST_YEAR = 9999;
constexpr CalendarDate FIRST_GREGORIAN = {622, 6, 18}, LAST_GREGORIAN = {10323, 9, 20};
constexpr int32_t FIRST_DAY = gregorian_day(FIRST_GREGORIAN), LAST_DAY = gregorian_day(LAST_GREGORIAN);

// Months have 30 and 29 days in turn; a leap year's additional day is the last one.
constexpr int32_t days_before_month(int32_t mon) { return (59 * mon + 1) / 2; }

int32_t days_before_year(int32_t year) {
    const int32_t past = year - FIRST_YEAR;
    return past / CYCLE_YEARS * CYCLE_DAYS + DAYS_BEFORE_CYCLE_YEAR[static_cast<size_t>(past % CYCLE_YEARS)];
}

int64_t islamic_day(const CalendarDate &date) {
    return int64_t{date.mday} + FIRST_DAY + days_before_year(date.year) + days_before_month(date.mon) - 1;
}

int32_t islamic_weekday(const CalendarDate &date) { return static_cast<int32_t>(islamic_day(date)) % DAYS_IN_WEEK; }

std::optional<ConvertedDate> to_islamic(const CalendarDate &date) {
    if (date < FIRST_GREGORIAN || LAST_GREGORIAN < date || !is_month(date.mon)) return std::nullopt;
    const int64_t day = gregorian_day(date);
    if (day < FIRST_DAY || day > LAST_DAY) return std::nullopt; // a day far beyond the month
    const int32_t past = static_cast<int32_t>(day) - FIRST_DAY, rest = past % CYCLE_DAYS;
    // The quotient is the year of the cycle or the one before.
    auto year_of_cycle = static_cast<size_t>(rest / LONGEST_YEAR);
    if (rest >= DAYS_BEFORE_CYCLE_YEAR[year_of_cycle + 1]) ++year_of_cycle;
    const int32_t yday = rest - DAYS_BEFORE_CYCLE_YEAR[year_of_cycle], mon = std::min(2 * yday / 59, LAST_MONTH);
    const CalendarDate found = {past / CYCLE_DAYS * CYCLE_YEARS + static_cast<int32_t>(year_of_cycle) + FIRST_YEAR, mon,
                                yday - days_before_month(mon) + 1};
    return ConvertedDate{found, mon, islamic_weekday(found), yday};
}

std::optional<ConvertedDate> from_islamic(const CalendarDate &date) {
    if (date.year < FIRST_YEAR || date.year > LAST_YEAR || !is_month(date.mon)) return std::nullopt;
    const int64_t day = islamic_day(date);
    if (day < FIRST_DAY || day > LAST_DAY) return std::nullopt;
    return gregorian_result(static_cast<int32_t>(day));
}

} // namespace

int gl_cal_gregorian_to_islamic(const gl_tm *in, gl_tm *out) { return write_date(to_islamic(date_of(*in)), *in, *out); }

int gl_cal_islamic_to_gregorian(const gl_tm *in, gl_tm *out) {
    if (has_no_month(*in)) {
        *out = without_date(*in);
        return -1;
    }
    CalendarDate date = date_of(*in);
    if (date.mon == NO_MONTH) date.mon = in->monname;
    return write_date(from_islamic(date), *in, *out);
}
