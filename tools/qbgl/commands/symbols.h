// qbgl symbols: text as the symbolic names of its characters, and back.
#pragma once

#include "frame/messages.h"

#include <vector>

namespace qbgl {

struct SymbolsRequest {
    std::string locale, codeset; // the codeset of the locale where none is named
    bool to_text = false;        // symbols to text
    bool all = false;            // all names of each character
    std::string output = "-";
    std::vector<std::string> files = {}; // none: standard input
};

ExitStatus run_symbols(const SymbolsRequest &request, const Messages &messages);

} // namespace qbgl
