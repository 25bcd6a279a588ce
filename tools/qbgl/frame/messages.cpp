#include "frame/messages.h"

#include "frame/finding.h"

#include <cstdio>
#include <fmt/format.h>

namespace qbgl {

void Messages::say(std::string_view kind, std::string_view sentence, const JsonObject &details) const {
    if (as_json_)
        fmt::print(stderr, "{}\n", JsonObject().text("kind", kind).text("message", sentence).members_of(details).str());
    else
        fmt::print(stderr, "qbgl: {}\n", sentence);
}

void Messages::say(std::string_view kind, const Finding &finding) const { say(kind, finding.sentence(), finding.details()); }

ExitStatus Messages::fail(ExitStatus status, std::string_view sentence, JsonObject details) const {
    say("error", sentence, details.number("status", static_cast<unsigned>(status)));
    return status;
}

std::string printable(std::string_view name) {
    std::string result;
    for (const char c : name) {
        const auto byte = static_cast<uint8_t>(c);
        if (byte < 0x20 || byte == 0x7F)
            result += fmt::format("\\x{:02x}", byte);
        else
            result += c;
    }
    return result;
}

} // namespace qbgl
