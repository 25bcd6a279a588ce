// Dates of the command line.
#pragma once

#include "frame/messages.h"
#include "text/date_names.h"

namespace qbgl {

// A stretch of days, by the Gregorian calendar.
struct DateSpan {
    gl_tm first, last;
    enum class Sort { DAY, RANGE, MONTH, YEAR } sort;
};

// Reads YEAR-MONTH-DAY or "DAY MONTH YEAR", YEAR-MONTH or "MONTH YEAR", YEAR, and FIRST..LAST. A month is a number or a name.
// Throws Failure with what is wrong with it.
DateSpan read_dates(const std::string &text, Calendar calendar, const DateNames &names);

} // namespace qbgl
