// qbgl sort: puts the lines of texts into the order of a locale.
#pragma once

#include "frame/messages.h"
#include "sort/fields.h"

#include <optional>
#include <vector>

namespace qbgl {

struct SortRequest {
    std::string locale;
    std::vector<std::string> files = {};       // none: standard input
    std::string output = "-";                  // may be an input
    std::vector<std::string> parts = {};       // none: the whole line
    std::optional<std::string> separator = {}; // UTF-8; without one, blanks
    std::string memory = {};                   // empty: the default
    std::string temporary_directory = {};
    bool stable = false, reverse = false, unique = false, skip_blanks = false, zero_terminated = false;
    bool fold = false;                 // text in any case is alike
    PartOrder order = PartOrder::TEXT; // of parts that say none
    bool merge = false, check = false, check_quietly = false;
    bool keep_bad = false;       // lines that are no text go behind the others
    std::string files_from = {}; // a file with the names of the inputs
};

ExitStatus run_sort(const SortRequest &request, const Messages &messages);

} // namespace qbgl
