// Days, weeks and seconds of the Gregorian calendar, over all years that a gl_tm can have.
#pragma once

#include "cal/gregorian.h"
#include "qbgl.h"

namespace qbgl {

constexpr int64_t floor_div(int64_t value, int64_t by) { return value / by - (value % by < 0); }
constexpr int64_t floor_mod(int64_t value, int64_t by) { return value - floor_div(value, by) * by; }

// Whole cycles of 400 years bring the last ones into 32 bits, whose division is quick.
constexpr bool is_leap(int64_t year) { return is_leap_year(static_cast<int32_t>(year > INT32_MAX ? year - 2000 : year)); }
constexpr int32_t days_of_month(int64_t year, int32_t mon) {
    return _gl_greg_month_length[static_cast<size_t>(mon)] + (mon == 1 && is_leap(year));
}
constexpr int32_t day_of_year(int64_t year, int32_t mon, int32_t mday) {
    return DAYS_BEFORE_MONTH[static_cast<size_t>(mon)] + (mon > 1 && is_leap(year)) + mday - 1;
}

// From 1 January 1970.
constexpr int64_t days_before_year(int64_t year) {
    constexpr int64_t TO_1970 = 719162;
    const int64_t past = year - 1;
    return past * 365 + floor_div(past, 4) - floor_div(past, 100) + floor_div(past, 400) - TO_1970;
}
constexpr int64_t epoch_day(int64_t year, int32_t mon, int32_t mday) {
    return days_before_year(year) + day_of_year(year, mon, mday);
}
constexpr int32_t weekday_of(int64_t epoch_day) {
    constexpr int THURSDAY = 4;
    return static_cast<int32_t>(floor_mod(epoch_day + THURSDAY, 7));
}

constexpr int32_t weekday_of(int64_t year, int32_t mon, int32_t mday) {
    if (year > 0 && year < 10'000)
        return static_cast<int32_t>(gregorian_day({static_cast<int32_t>(year), mon, mday})) % DAYS_IN_WEEK;
    return weekday_of(epoch_day(year, mon, mday));
}

struct YearAndDay {
    int64_t year;
    int32_t yday;
};
constexpr YearAndDay year_of_day(int64_t day) {
    int64_t year = 1970 + floor_div(day * 400, DAYS_IN_400_YEARS);
    while (days_before_year(year) > day) --year;
    while (days_before_year(year + 1) <= day) ++year;
    return {year, static_cast<int32_t>(day - days_before_year(year))};
}

// The month, and the day in it, of a day of the year.
constexpr int32_t month_of_yday(int64_t year, int32_t &yday) {
    int32_t mon = 0;
    for (; mon < 11 && yday >= days_of_month(year, mon); ++mon) yday -= days_of_month(year, mon);
    return mon;
}

// The weeks of ISO 8601 begin with Monday; the first has the year's first Thursday.
struct IsoWeek {
    int64_t year;
    int32_t week; // from 1
};
constexpr int64_t iso_year_start(int64_t year) { // the Monday of its first week
    const int64_t fourth = days_before_year(year) + 3;
    return fourth - (weekday_of(fourth) + 6) % 7;
}
constexpr IsoWeek iso_week(int64_t year, int32_t yday, int32_t wday) {
    const int32_t monday = yday - (wday + 6) % 7; // as a day of the year
    int32_t week = (monday + 10) / 7;             // of the Thursday three days later
    if (monday + 3 < 0) {
        const int32_t before = 365 + is_leap(year - 1);
        return {year - 1, (monday + before + 10) / 7};
    }
    if (monday + 3 >= 365 + is_leap(year)) return {year + 1, 1};
    return {year, week};
}

} // namespace qbgl
