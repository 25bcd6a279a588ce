// qbgl class: tells what a locale knows of each character of a text.
#pragma once

#include "frame/messages.h"

#include <vector>

namespace qbgl {

struct ClassRequest {
    std::string locale;
    std::vector<std::string> files = {}; // none: standard input
};

ExitStatus run_class(const ClassRequest &request, const Messages &messages);

} // namespace qbgl
