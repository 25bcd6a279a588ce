// Dates of the three calendars that the library converts, as records of the public header.
#pragma once

#include "qbgl.h"

#include <array>
#include <optional>
#include <string>

namespace qbgl {

// As the library numbers them.
enum class Calendar { GREGORIAN = 1, HEBREW = 2, ISLAMIC = 3 };

inline constexpr std::array CALENDARS = {Calendar::GREGORIAN, Calendar::HEBREW, Calendar::ISLAMIC};

const char *calendar_name(Calendar calendar);

gl_tm record_of(int year, int mon, int mday);
int year_of(const gl_tm &date);

// The Gregorian date of a day that a calendar has, with weekday and day of the year; nothing when it has no such day, or when the
// Gregorian year is not one of 1 to 9999.
std::optional<gl_tm> gregorian_of(Calendar calendar, const gl_tm &date);

// The date of a Gregorian day in a calendar; nothing before its beginning.
std::optional<gl_tm> date_in(Calendar calendar, const gl_tm &gregorian);

// The Gregorian date so many days later.
std::optional<gl_tm> days_later(const gl_tm &gregorian, int days);

// How many of them there are, 0 when the year, or the month, is out of range.
int months_in(Calendar calendar, int year);
int days_in(Calendar calendar, int year, int mon);

// The month of a name, nothing when the year does not have it. Of a Hebrew leap year, Adar is the first one.
std::optional<int> month_named(Calendar calendar, int year, int name);

// YEAR-MONTH-DAY in numbers.
std::string numbers_of(const gl_tm &date);

// The first and the last date that are converted.
std::array<gl_tm, 2> range_of(Calendar calendar);

} // namespace qbgl
