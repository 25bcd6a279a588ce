#include "text/encoded.h"

#include "frame/files.h"
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

TextEncoder::TextEncoder(const std::string &codeset) : codeset_(codeset) {
    const Opened opened = Conversion::open("utf8", codeset, conversion_);
    if (opened == Opened::CONVERSION || opened == Opened::SAME_CODESET) return;
    throw Failure{ExitStatus::SYSTEM,
                  fmt::format("the installation has no sound conversion from utf8 to {}: `qbglc tree {}` makes all anew", codeset,
                              printable(tree_directory())),
                  JsonObject().text("codeset", codeset)};
}

std::string TextEncoder::encoded(const std::string &text) const {
    check_utf8(text);
    return encoded_bytes(text);
}

std::string TextEncoder::encoded_bytes(const std::string &text) const {
    if (conversion_ == nullptr) return text;
    check_utf8(text);
    Shift shift;
    OutputBuffer result;
    for (std::string_view rest = text; !rest.empty();) {
        const Step step = conversion_->step(shift, rest, result);
        const std::string_view character = rest.substr(0, utf8_length(rest));
        if (step.outcome != Outcome::DONE || step.substituted) {
            throw Failure{ExitStatus::CALL,
                          fmt::format("{} has no {}, which \"{}\" needs", codeset_, printable(character), printable(text)),
                          JsonObject().text("text", text).text("character", character).text("codeset", codeset_)};
        }
        rest.remove_prefix(character.size());
    }
    conversion_->close(shift, result);
    return std::string(result.text());
}

std::string encoded(const std::string &text, const std::string &codeset) { return TextEncoder(codeset).encoded(text); }

std::string encoded_bytes(const std::string &text, const std::string &codeset) { return TextEncoder(codeset).encoded_bytes(text); }

} // namespace qbgl
