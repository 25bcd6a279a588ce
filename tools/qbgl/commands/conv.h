// qbgl conv: converts files or standard input from one codeset to another.
#pragma once

#include "frame/messages.h"
#include "text/newlines.h"

#include <optional>
#include <vector>

namespace qbgl {

enum class Bom { BY_CODESETS, KEEP, ADD, REMOVE };

struct ConvRequest {
    // Codeset names or locale specifications. utf-16 and utf-32 read either byte order, as a signature says, and write one.
    std::string from = "utf8", to = "utf8";
    std::string output = "-";
    std::vector<std::string> files = {}; // none: standard input
    bool leave_out = false;
    bool strict = false;
    bool report = false;
    std::vector<std::string> substitutions = {}; // CHARACTER=TEXT
    std::optional<std::string> missing = {};     // "html", "escape", or a text
    Bom bom = Bom::BY_CODESETS;
    Newline newline = Newline::AS_IT_IS;
};

ExitStatus run_conv(const ConvRequest &request, const Messages &messages);

} // namespace qbgl
