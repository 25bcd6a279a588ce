// LC_TIME of a locale object.
#pragma once

#include "definition/definition.h"
#include "locale/calendars.h"
#include "locale/encoder.h"

#include <string>

namespace qbgl::compiler {

// Month names of a calendar other than the gregorian one are those of `language` in `calendars`.
std::string time_section(const Definition &definition, const LocaleEncoder &encoder, const Calendars &calendars,
                         const std::string &calendar, const std::string &language, LocaleErrors &errors);

// The items of the object's further text that are about time.
std::string more_of_time(const Definition &definition, const LocaleEncoder &encoder, const std::string &calendar,
                         LocaleErrors &errors);

} // namespace qbgl::compiler
