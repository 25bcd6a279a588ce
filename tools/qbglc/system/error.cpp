#include "system/error.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <sstream>

namespace qbgl::compiler {

void ErrorList::add(const std::string &message) {
    const std::lock_guard lock(mutex_);
    std::istringstream lines(message);
    for (std::string line; std::getline(lines, line);)
        if (std::find(messages_.begin(), messages_.end(), line) == messages_.end()) messages_.push_back(line);
}

void ErrorList::throw_if_any() {
    const std::lock_guard lock(mutex_);
    // Version order: line 9 before line 12 of the same file.
    std::sort(messages_.begin(), messages_.end(),
              [](const std::string &a, const std::string &b) { return strverscmp(a.c_str(), b.c_str()) < 0; });
    if (!messages_.empty()) throw DataError(fmt::format("{}", fmt::join(messages_, "\n")));
}

} // namespace qbgl::compiler
