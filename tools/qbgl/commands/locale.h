// qbgl locale: shows what a locale holds.
#pragma once

#include "frame/messages.h"

namespace qbgl {

// All sections, or the one of a category such as LC_TIME, or the line of an item such as d_fmt.
ExitStatus run_locale(const std::string &specification, const std::string &category, const Messages &messages);

} // namespace qbgl
