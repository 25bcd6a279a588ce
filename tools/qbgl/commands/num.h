// qbgl num: reads numbers as a locale writes them, and writes them as it does or plainly.
#pragma once

#include "frame/messages.h"

#include <optional>
#include <vector>

namespace qbgl {

struct NumRequest {
    std::string locale;
    std::optional<std::string> from = {};       // the locale of the input, when it is another one
    std::optional<int> base = {}, to_base = {}; // with either, numbers are integers
    bool grouping = false, monetary = false;
    std::string currency = {};             // local or international: the symbol of amounts
    std::vector<std::string> numbers = {}; // none: the lines of standard input
};

ExitStatus run_num(const NumRequest &request, const Messages &messages);

} // namespace qbgl
