// qbgl conv: converts files or standard input from one codeset to another.
#pragma once

#include "frame/messages.h"
#include "text/newlines.h"

#include <optional>
#include <vector>

namespace qbgl {

enum class Bom { AS_IT_IS, ADD, REMOVE };

struct ConvRequest {
    std::string from = "utf8", to = "utf8"; // codeset names or locale specifications
    std::string output = "-";
    std::vector<std::string> files = {}; // none: standard input
    bool leave_out = false;
    bool strict = false;
    bool report = false;
    std::vector<std::string> substitutions = {}; // CHARACTER=TEXT
    std::optional<std::string> missing = {};     // "html", "escape", or a text
    Bom bom = Bom::AS_IT_IS;
    Newline newline = Newline::AS_IT_IS;
};

ExitStatus run_conv(const ConvRequest &request, const Messages &messages);

} // namespace qbgl
