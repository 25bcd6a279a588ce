// qbgl date: writes dates as a locale does, and reads them.
#pragma once

#include "frame/messages.h"

#include <optional>
#include <vector>

namespace qbgl {

struct DateRequest {
    std::string locale;
    std::optional<std::string> from = {}; // the locale of the input, when it is another one
    std::optional<std::string> read = {}; // the format of the input; without it dates are ISO's
    std::optional<std::string> all = {};  // a language, empty for any: in all its locales
    std::string zone = "utc";
    std::vector<std::string> dates = {}; // a format behind "+", too; none: now, or to be read the lines of standard input
};

ExitStatus run_date(const DateRequest &request, const Messages &messages);

} // namespace qbgl
