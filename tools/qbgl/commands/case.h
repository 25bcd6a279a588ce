// qbgl upper, qbgl lower: change the case of text in a locale's codeset.
#pragma once

#include "frame/messages.h"

#include <vector>

namespace qbgl {

enum class LetterCase { UPPER, LOWER };

struct CaseRequest {
    LetterCase letter_case;
    std::string locale;
    std::string output = "-";
    std::vector<std::string> files = {}; // none: standard input
    bool leave_out = false;
};

ExitStatus run_case(const CaseRequest &request, const Messages &messages);

} // namespace qbgl
