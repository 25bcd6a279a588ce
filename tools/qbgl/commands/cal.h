// qbgl cal: tells dates in the Gregorian, the Hebrew and the Islamic calendar.
#pragma once

#include "frame/messages.h"

#include <vector>

namespace qbgl {

struct CalRequest {
    std::string locale;
    std::string from = "gregorian";      // the calendar of the dates
    bool local = false;                  // the locale's calendar only
    std::vector<std::string> dates = {}; // none: today
};

ExitStatus run_cal(const CalRequest &request, const Messages &messages);

} // namespace qbgl
