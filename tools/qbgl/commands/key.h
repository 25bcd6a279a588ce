// qbgl key: shows the sort keys of lines.
#pragma once

#include "frame/messages.h"

#include <vector>

namespace qbgl {

struct KeyRequest {
    std::string locale;
    std::vector<std::string> files = {}; // none: standard input
    bool with_text = false;
};

ExitStatus run_key(const KeyRequest &request, const Messages &messages);

} // namespace qbgl
