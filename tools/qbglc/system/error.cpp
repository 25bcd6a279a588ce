#include "system/error.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <sstream>

namespace qbgl::compiler {

namespace {

constexpr size_t MOST_MESSAGES = 100;  // nobody reads on, and a broken file may have one a line
constexpr size_t LONGEST_EXCERPT = 60; // bytes

// The length of the UTF-8 character at the beginning, 0 when there is none that can be shown.
size_t printable_length(std::string_view text) {
    const auto lead = static_cast<uint8_t>(text[0]);
    if (lead < 0x80) return lead >= ' ' && lead != 0x7F ? 1 : 0;
    const size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return 0;
    for (size_t i = 1; i < length; ++i)
        if ((static_cast<uint8_t>(text[i]) & 0xC0) != 0x80) return 0;
    return length;
}

} // namespace

void ErrorList::add(const std::string &message) {
    const std::lock_guard lock(mutex_);
    std::istringstream lines(message);
    for (std::string line; std::getline(lines, line);) {
        if (std::find(messages_.begin(), messages_.end(), line) != messages_.end()) continue;
        if (messages_.size() < MOST_MESSAGES)
            messages_.push_back(line);
        else
            ++more_;
    }
}

std::string ErrorList::text() const {
    const std::lock_guard lock(mutex_);
    std::vector<std::string> sorted = messages_;
    // Version order: line 9 before line 12 of the same file.
    std::sort(sorted.begin(), sorted.end(),
              [](const std::string &a, const std::string &b) { return strverscmp(a.c_str(), b.c_str()) < 0; });
    if (more_ > 0) sorted.push_back(fmt::format("... and {} more errors", more_));
    return fmt::format("{}", fmt::join(sorted, "\n"));
}

void ErrorList::throw_if_any() const {
    if (const std::string all = text(); !all.empty()) throw DataError(all);
}

std::string printable(std::string_view input) {
    std::string result;
    for (size_t length; !input.empty(); input.remove_prefix(std::max<size_t>(length, 1))) {
        length = printable_length(input);
        if (length == 0)
            result += fmt::format("\\x{:02X}", static_cast<uint8_t>(input[0]));
        else
            result += input.substr(0, length);
    }
    return result;
}

std::string excerpt(std::string_view input) {
    size_t end = 0;
    for (size_t shown = 0; end < input.size() && shown < LONGEST_EXCERPT;) {
        const size_t length = printable_length(input.substr(end));
        shown += length == 0 ? 4 : length; // \xNN
        end += std::max<size_t>(length, 1);
    }
    return printable(input.substr(0, end)) + (end < input.size() ? "..." : "");
}

void refuse_byte_order_mark(std::string_view text, const std::string &file) {
    const char *form = text.starts_with("\xEF\xBB\xBF")                               ? "UTF-8"
                       : text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF") ? "UTF-16"
                                                                                      : nullptr;
    if (form != nullptr)
        throw DataError(fmt::format("{}:1:1: begins with a byte order mark of {}: save it as UTF-8 without one", file, form));
}

} // namespace qbgl::compiler
