#include "text/replacements.h"

#include "frame/messages.h"
#include "text/encoded.h"
#include "text/utf8.h"

#include <fmt/format.h>

namespace qbgl {

Replacements::Replacements(const std::string &source, bool stateful_source, const std::string &target,
                           const std::vector<std::string> &substitutions, const std::optional<std::string> &missing)
    : stateful_source_(stateful_source), target_(target), view_(source), missing_(missing) {
    for (const std::string &text : substitutions) {
        const size_t length = text.empty() ? 0 : utf8_length(text);
        if (length == 0 || length + 1 >= text.size() || text[length] != '=') {
            throw Failure{ExitStatus::CALL,
                          fmt::format("--substitute {}: it is CHARACTER=TEXT, as in €=EUR, in UTF-8", printable(text)),
                          JsonObject().text("substitute", text)};
        }
        substitutions_[text.substr(0, length)] = text.substr(length + 1);
    }
}

std::string Replacements::of(std::string_view character, bool has_approximation) {
    auto &known = known_[has_approximation ? 1 : 0];
    if (const auto found = known.find(character); found != known.end()) return found->second;
    constexpr char SHIFT_OUT = '\x0E'; // what stands before double-byte characters in the EBCDIC sets
    const bool shifted = stateful_source_ && character.size() > 1;
    const std::string text =
        wanted(view_.plain(shifted ? SHIFT_OUT + std::string(character) : std::string(character)), has_approximation);
    return known[std::string(character)] = text.empty() ? "" : encoded(text, target_);
}

std::string Replacements::wanted(const std::string &character, bool has_approximation) const {
    if (const auto found = substitutions_.find(character); found != substitutions_.end()) return found->second;
    if (has_approximation || !missing_) return "";
    const bool known = !character.empty() && utf8_length(character) == character.size();
    const auto code = static_cast<uint32_t>(known ? utf8_code_point(character) : U'\uFFFD');
    if (*missing_ == "html") return fmt::format("&#x{:X};", code);
    if (*missing_ == "escape") return code > 0xFFFF ? fmt::format("\\U{:08X}", code) : fmt::format("\\u{:04X}", code);
    return *missing_;
}

} // namespace qbgl
