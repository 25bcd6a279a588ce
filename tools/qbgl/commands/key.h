// qbgl key: shows the sort keys of lines.
#pragma once

#include "frame/messages.h"

#include <vector>

namespace qbgl {

struct KeyRequest {
    std::string locale;
    std::vector<std::string> files = {}; // none: standard input
    bool with_text = false;
    bool dense = false; // those of gl_order_key, which every line has
};

ExitStatus run_key(const KeyRequest &request, const Messages &messages);

} // namespace qbgl
