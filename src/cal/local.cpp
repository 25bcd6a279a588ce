// Dates of the calendar that a locale's LC_TIME names.
#include "qbgl.h"

namespace {

enum Calendar : int32_t { GREGORIAN = 1, HEBREW = 2, ISLAMIC = 3 };

int copy_date(const gl_tm *in, gl_tm *out) {
    *out = *in;
    return 0;
}

} // namespace

int gl_cal_gregorian_to_local(gl_locale *locale, const gl_tm *in, gl_tm *out) {
    switch (locale->time.calendar) {
    case GREGORIAN: return copy_date(in, out);
    case HEBREW: return gl_cal_gregorian_to_hebrew(in, out);
    case ISLAMIC: return gl_cal_gregorian_to_islamic(in, out);
    default: return -1;
    }
}

int gl_cal_local_to_gregorian(gl_locale *locale, const gl_tm *in, gl_tm *out) {
    switch (locale->time.calendar) {
    case GREGORIAN: return copy_date(in, out);
    case HEBREW: return gl_cal_hebrew_to_gregorian(in, out);
    case ISLAMIC: return gl_cal_islamic_to_gregorian(in, out);
    default: return -1;
    }
}

int gl_alt_getcentury(gl_locale *locale) {
    constexpr int HEBREW_CENTURY = 57, ISLAMIC_CENTURY = 14;
    switch (locale->time.calendar) {
    case HEBREW: return HEBREW_CENTURY;
    case ISLAMIC: return ISLAMIC_CENTURY;
    default: return 0;
    }
}
