// The calendars that a locale can name.
#pragma once

#include "qbgl.h"

namespace qbgl {

struct CannedCalendar {
    const char *name; // with the line's end, as the time category's first line has it
    int32_t number;
};

extern const CannedCalendar vrn_canned_calendars[4];

} // namespace qbgl
