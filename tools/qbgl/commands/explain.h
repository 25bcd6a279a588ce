// qbgl explain: tells why one text sorts before another.
#pragma once

#include "frame/messages.h"

namespace qbgl {

struct ExplainRequest {
    std::string locale;
    std::string a = {}, b = {}; // UTF-8
};

ExitStatus run_explain(const ExplainRequest &request, const Messages &messages);

} // namespace qbgl
