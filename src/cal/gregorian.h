// The Gregorian calendar, extended over all years, and the count of days through which the calendars are converted.
#pragma once

#include <array>
#include <stddef.h>
#include <stdint.h>

namespace qbgl {

// A date in any of the calendars: the year in full, the month from 0 in the sequence of the year, the day from 1.
struct CalendarDate {
    int32_t year, mon, mday;

    constexpr bool operator<(const CalendarDate &other) const {
        if (year != other.year) return year < other.year;
        return mon != other.mon ? mon < other.mon : mday < other.mday;
    }
};

inline constexpr int32_t DAYS_IN_WEEK = 7;
inline constexpr int32_t DAYS_IN_COMMON_YEAR = 365;
inline constexpr int32_t DAYS_IN_4_YEARS = 4 * DAYS_IN_COMMON_YEAR + 1;
inline constexpr int32_t DAYS_IN_400_YEARS = 100 * DAYS_IN_4_YEARS - 3;

inline constexpr std::array<int32_t, 12> _gl_greg_month_length = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

// The days before each item of a row of lengths, and at the end their sum.
template <size_t COUNT> constexpr std::array<int32_t, COUNT + 1> days_before(const std::array<int32_t, COUNT> &lengths) {
    std::array<int32_t, COUNT + 1> result{};
    for (size_t i = 0; i < COUNT; ++i) result[i + 1] = result[i] + lengths[i];
    return result;
}
inline constexpr auto DAYS_BEFORE_MONTH = days_before(_gl_greg_month_length);
static_assert(DAYS_BEFORE_MONTH.back() == DAYS_IN_COMMON_YEAR);

constexpr bool is_month(int32_t mon) { return mon >= 0 && mon < 12; }

// Among the multiples of 25, those of 16 are the multiples of 400, and the others that 4 divides are those of 100.
constexpr bool is_leap_year(int32_t year) { return year % 25 == 0 ? year % 16 == 0 : year % 4 == 0; }

// The day of the year from 0 of the day before the month's first.
constexpr int32_t end_of_month_before(int32_t year, int32_t mon) {
    constexpr int32_t MARCH = 2;
    return DAYS_BEFORE_MONTH[static_cast<size_t>(mon)] - 1 + ((mon >= MARCH) & is_leap_year(year));
}

// Days are counted from 1 January of the year 1, which is day 1: a Monday, so that the rest by 7 is the day of the week. The year
// is positive and the month one of the twelve; a day beyond the month counts on from its first.
constexpr int64_t gregorian_day(const CalendarDate &date) {
    const int32_t past = date.year - 1;
    const int32_t before_year = past * DAYS_IN_COMMON_YEAR + past / 4 - past / 100 + past / 400;
    return int64_t{date.mday} + before_year + end_of_month_before(date.year, date.mon) + 1;
}

struct DateInYear {
    CalendarDate date;
    int32_t yday; // from 0
};

// The date of a day that is not negative, by way of years that begin with March: a leap day is then the last one, and the lengths
// of months come again after five, 31, 30, 31, 30 and 31 days.
constexpr DateInYear gregorian_date(int32_t day) {
    constexpr uint32_t DAYS_IN_5_MONTHS = 31 + 30 + 31 + 30 + 31;
    constexpr uint32_t MARCH_OF_YEAR_0 = DAYS_IN_COMMON_YEAR - DAYS_BEFORE_MONTH[2] - 1; // to day 0, the last one of that year
    uint32_t rest = static_cast<uint32_t>(day) + MARCH_OF_YEAR_0;
    const uint32_t centuries = (4 * rest + 3) / DAYS_IN_400_YEARS;
    rest -= DAYS_IN_400_YEARS * centuries / 4;
    const uint32_t years = (4 * rest + 3) / DAYS_IN_4_YEARS;
    rest -= DAYS_IN_4_YEARS * years / 4;
    const uint32_t months = (5 * rest + 2) / DAYS_IN_5_MONTHS;
    const uint32_t mday = rest - (DAYS_IN_5_MONTHS * months + 2) / 5 + 1;
    const uint32_t next_year = months >= 10 ? 1 : 0; // January and February
    constexpr uint32_t BEFORE_MARCH = DAYS_BEFORE_MONTH[2], FROM_MARCH = DAYS_IN_COMMON_YEAR - BEFORE_MARCH;
    const uint32_t leap_day = (years != 0 ? years : centuries) % 4 == 0 ? 1 : 0;
    const uint32_t yday = next_year != 0 ? rest - FROM_MARCH : rest + BEFORE_MARCH + leap_day;
    return {{static_cast<int32_t>(100 * centuries + years + next_year), static_cast<int32_t>(months + 2 - 12 * next_year),
             static_cast<int32_t>(mday)},
            static_cast<int32_t>(yday)};
}

} // namespace qbgl
