#include "text/encoded.h"

#include "frame/files.h"
#include "text/conversion.h"
#include "text/utf8.h"
#include "tree/directories.h"

#include <fmt/format.h>

namespace qbgl {

namespace {

void check_utf8(const std::string &text) {
    std::string_view rest = text;
    while (!rest.empty()) {
        const size_t length = utf8_length(rest);
        if (length == 0) {
            throw Failure{ExitStatus::CALL, fmt::format("\"{}\" on the command line is no UTF-8", printable(text)),
                          JsonObject().text("text", text)};
        }
        rest.remove_prefix(length);
    }
}

} // namespace

std::string encoded(const std::string &text, const std::string &codeset) {
    check_utf8(text);
    return encoded_bytes(text, codeset);
}

std::string encoded_bytes(const std::string &text, const std::string &codeset) {
    std::unique_ptr<Conversion> conversion;
    const Opened opened = Conversion::open("utf8", codeset, conversion);
    if (opened == Opened::SAME_CODESET) return text;
    check_utf8(text);
    if (opened != Opened::CONVERSION) {
        throw Failure{ExitStatus::SYSTEM,
                      fmt::format("the installation has no sound conversion from utf8 to {}: `qbglc tree {}` makes all anew",
                                  codeset, printable(tree_directory())),
                      JsonObject().text("codeset", codeset)};
    }
    Shift shift;
    OutputBuffer result;
    for (std::string_view rest = text; !rest.empty();) {
        const Step step = conversion->step(shift, rest, result);
        const std::string_view character = rest.substr(0, utf8_length(rest));
        if (step.outcome != Outcome::DONE || step.substituted) {
            throw Failure{ExitStatus::CALL,
                          fmt::format("{} has no {}, which \"{}\" needs", codeset, printable(character), printable(text)),
                          JsonObject().text("text", text).text("character", character).text("codeset", codeset)};
        }
        rest.remove_prefix(character.size());
    }
    conversion->close(shift, result);
    return std::string(result.text());
}

} // namespace qbgl
