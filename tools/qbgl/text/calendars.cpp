#include "text/calendars.h"

#include <fmt/format.h>

namespace qbgl {

namespace {

constexpr int LAST_YEAR = 9999; // ISO's years have four digits

using Convert = int (*)(const gl_tm *, gl_tm *);

std::optional<gl_tm> converted(Convert convert, const gl_tm &date) {
    gl_tm result;
    if (convert(&date, &result) != 0) return std::nullopt;
    return result;
}

// By way of another calendar that has all the days: weekday and day of the year are set, and a day beyond the month counts on.
std::optional<gl_tm> normal(const gl_tm &gregorian) {
    const std::optional<gl_tm> hebrew = converted(gl_cal_gregorian_to_hebrew, gregorian);
    return hebrew ? converted(gl_cal_hebrew_to_gregorian, *hebrew) : std::nullopt;
}

std::optional<gl_tm> to_gregorian(Calendar calendar, const gl_tm &date) {
    switch (calendar) {
    case Calendar::HEBREW: return converted(gl_cal_hebrew_to_gregorian, date);
    case Calendar::ISLAMIC: return converted(gl_cal_islamic_to_gregorian, date);
    default: return normal(date);
    }
}

} // namespace

const char *calendar_name(Calendar calendar) {
    static constexpr const char *NAMES[] = {"gregorian", "hebrew", "islamic"};
    return NAMES[static_cast<size_t>(calendar) - 1];
}

gl_tm record_of(int year, int mon, int mday) {
    gl_tm result{};
    result.year = year - 1900;
    result.mon = mon;
    result.mday = mday;
    return result;
}

int year_of(const gl_tm &date) { return date.year + 1900; }

std::optional<gl_tm> date_in(Calendar calendar, const gl_tm &gregorian) {
    switch (calendar) {
    case Calendar::HEBREW: return converted(gl_cal_gregorian_to_hebrew, gregorian);
    case Calendar::ISLAMIC: return converted(gl_cal_gregorian_to_islamic, gregorian);
    default: return normal(gregorian);
    }
}

std::optional<gl_tm> gregorian_of(Calendar calendar, const gl_tm &date) {
    const std::optional<gl_tm> gregorian = to_gregorian(calendar, date);
    if (!gregorian || year_of(*gregorian) > LAST_YEAR) return std::nullopt;
    const std::optional<gl_tm> back = date_in(calendar, *gregorian);
    const bool same = back && back->year == date.year && back->mon == date.mon && back->mday == date.mday;
    return same ? gregorian : std::nullopt;
}

std::optional<gl_tm> days_later(const gl_tm &gregorian, int days) {
    gl_tm later = gregorian;
    later.mday += days;
    const std::optional<gl_tm> result = normal(later);
    return result && year_of(*result) <= LAST_YEAR ? result : std::nullopt;
}

int days_in(Calendar calendar, int year, int mon) {
    constexpr int MOST_DAYS = 31;
    for (int day = MOST_DAYS; day > 0; --day)
        if (gregorian_of(calendar, record_of(year, mon, day))) return day;
    return 0;
}

int months_in(Calendar calendar, int year) {
    constexpr int MOST_MONTHS = 13;
    for (int mon = MOST_MONTHS - 1; mon >= 0; --mon)
        if (days_in(calendar, year, mon) > 0) return mon + 1;
    return 0;
}

std::optional<int> month_named(Calendar calendar, int year, int name) {
    if (calendar != Calendar::HEBREW) return name;
    gl_tm date = record_of(year, -1, 29); // which every month has, also the first and last ones that are not whole
    date.monname = name;
    const std::optional<gl_tm> gregorian = converted(gl_cal_hebrew_to_gregorian, date);
    const std::optional<gl_tm> back = gregorian ? date_in(calendar, *gregorian) : std::nullopt;
    if (!back) return std::nullopt;
    return back->mon;
}

std::string numbers_of(const gl_tm &date) { return fmt::format("{:04}-{:02}-{:02}", year_of(date), date.mon + 1, date.mday); }

std::array<gl_tm, 2> range_of(Calendar calendar) {
    const gl_tm first = calendar == Calendar::ISLAMIC ? record_of(622, 6, 18) : record_of(1, 0, 1);
    return {date_in(calendar, first).value(), date_in(calendar, record_of(LAST_YEAR, 11, 31)).value()};
}

} // namespace qbgl
