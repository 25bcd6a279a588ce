// Dates of the calendar that a locale's LC_TIME names.
#include "qbgl.h"

#include <iterator>

namespace {

int copy_date(const gl_tm *in, gl_tm *out) {
    *out = *in;
    return 0;
}

struct LocalCalendar {
    int (*from_gregorian)(const gl_tm *, gl_tm *); // null where dates cannot be converted
    int (*to_gregorian)(const gl_tm *, gl_tm *);
    int century; // of years of two digits, 0 where the Gregorian rules hold
};

// By the calendar's number.
constexpr LocalCalendar CALENDARS[] = {
    {},
    {copy_date, copy_date, 0},
    {gl_cal_gregorian_to_hebrew, gl_cal_hebrew_to_gregorian, 57},
    {gl_cal_gregorian_to_islamic, gl_cal_islamic_to_gregorian, 14},
};

const LocalCalendar &calendar_of(const gl_locale *locale) {
    const auto number = static_cast<uint32_t>(locale->time.calendar);
    return CALENDARS[number < std::size(CALENDARS) ? number : 0];
}

} // namespace

int gl_cal_gregorian_to_local(gl_locale *locale, const gl_tm *in, gl_tm *out) {
    const auto convert = calendar_of(locale).from_gregorian;
    return convert != nullptr ? convert(in, out) : -1;
}

int gl_cal_local_to_gregorian(gl_locale *locale, const gl_tm *in, gl_tm *out) {
    const auto convert = calendar_of(locale).to_gregorian;
    return convert != nullptr ? convert(in, out) : -1;
}

int gl_alt_getcentury(gl_locale *locale) { return calendar_of(locale).century; }
