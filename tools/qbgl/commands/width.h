// qbgl width: measures the lines of texts in columns of a terminal.
#pragma once

#include "frame/messages.h"

#include <vector>

namespace qbgl {

struct WidthRequest {
    std::string locale;
    bool widest = false;                 // of each file the width of its widest line only
    unsigned tab_stops = 8;              // columns between them; 0: a tab has no width
    std::vector<std::string> files = {}; // none: standard input
};

ExitStatus run_width(const WidthRequest &request, const Messages &messages);

} // namespace qbgl
