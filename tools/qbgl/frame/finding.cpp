#include "frame/finding.h"

#include "frame/files.h"
#include "text/hexadecimal.h"

#include <fmt/format.h>

namespace qbgl {

std::string Finding::sentence() const {
    std::string result = fmt::format("{}:{}:", shown_name(file), place.line);
    if (!whole_line) {
        result += fmt::format("{}: offset {}, byte{} {}:", place.column, place.offset, bytes.size() == 1 ? "" : "s",
                              hexadecimal(bytes, " "));
    }
    result += " " + reason;
    return remedy.empty() ? result : result + "; " + remedy;
}

JsonObject Finding::details() const {
    JsonObject result;
    result.text("finding", kind).text("file", file).number("line", place.line);
    if (!whole_line) result.number("column", place.column).number("offset", place.offset).text("bytes", hexadecimal(bytes));
    result.text("reason", reason);
    if (!remedy.empty()) result.text("remedy", remedy);
    return result.members_of(more);
}

Finding unreadable(std::string_view bytes, bool cut, const std::string &file, const Place &place, const std::string &codeset) {
    Finding result{cut ? "incomplete" : "invalid", file, place, std::string(bytes), {}};
    result.reason = fmt::format("{} {}", cut ? "the text ends inside a character of" : "no character of", codeset);
    result.remedy = cut ? "was it cut short?" : "is the text in another codeset than the locale (-l)?";
    result.more.text("codeset", codeset);
    return result;
}

} // namespace qbgl
