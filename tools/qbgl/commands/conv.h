// qbgl conv: converts files or standard input from one codeset to another.
#pragma once

#include "frame/messages.h"

#include <vector>

namespace qbgl {

struct ConvRequest {
    std::string from = "utf8", to = "utf8"; // codeset names or locale specifications
    std::string output = "-";
    std::vector<std::string> files = {}; // none: standard input
    bool leave_out = false;
    bool report = false;
};

ExitStatus run_conv(const ConvRequest &request, const Messages &messages);

} // namespace qbgl
