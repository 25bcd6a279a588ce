// What the described sections of a locale object have no place for. Its header carries it, in lines that a reader which does not
// know them skips; together they are one text of items, each
//
//   KEYWORD COUNT VALUE ... VALUE
//
// with one space behind each word. Values are texts, as their bytes in hexadecimal ("." for none), or decimal numbers. An item with
// another keyword is somebody else's.
//
//   alt_mon, ab_alt_mon            the names of months that stand by themselves, 12 texts
//   gregorian_mon, gregorian_abmon the names of Gregorian months where the section has those of another calendar, 12 texts
//   date_fmt                       the format of date and time with the zone
//   week                           days, first day as a date, days that the first week needs: numbers
//   first_weekday, first_workday   from 1, the first day of `week`
//   int_money                      the six numbers of gl_money_layout, -1 for one that the locale does not say
#pragma once

#include "qbgl.h"

#include <string_view>

namespace qbgl {

// An era as dates are looked up in it. Its texts are those of the time category.
struct Era {
    int64_t start, end; // era_day of them; a long past era ends before it starts
    int32_t first_year, first_number, step;
    const char *name, *format;

    bool has(int64_t day) const { return (start <= day && day <= end) || (end <= day && day <= start); }
    int64_t number(int64_t year) const { return first_number + (year - first_year) * step; }
    int64_t year(int64_t number) const { return first_year + (number - first_number) * step; }
};

// Orders dates; the month is from 1.
constexpr int64_t era_day(int64_t year, int month, int day) { return (year * 16 + month) * 32 + day; }

} // namespace qbgl

struct gl_time_more {
    gl_text_list alt_mon, ab_alt_mon, gregorian_mon, gregorian_abmon; // empty where the locale has none; without wide forms
    char *date_fmt;                                                   // or null
    int32_t week[3], first_weekday, first_workday;                    // 0 where the locale does not say
    qbgl::Era *eras;                                                  // era_count of the time category
    void *months, *gregorian_months;                                  // caches of all forms of their names
    void *days;
};

namespace qbgl {

// Complete a category that has been read. False with the handle's error.
bool read_more_time(gl_locale *locale, std::string_view more);
bool read_more_money(gl_locale *locale, std::string_view more);

void free_more_time(gl_locale *locale);

} // namespace qbgl
