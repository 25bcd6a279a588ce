#include "json.h"

#include <fmt/format.h>

namespace qbgl {

namespace {

// The length of the UTF-8 character at the beginning of a non-empty text, 0 when there is none (Unicode, table 3-7).
size_t utf8_length(std::string_view text) {
    const auto byte = [&](size_t i) -> unsigned { return i < text.size() ? static_cast<uint8_t>(text[i]) : 0U; };
    const auto continues = [&](size_t i) { return (byte(i) & 0xC0) == 0x80; };
    const unsigned lead = byte(0), second = byte(1);
    if (lead < 0x80) return 1;
    if (lead >= 0xC2 && lead <= 0xDF) return continues(1) ? 2 : 0;
    if (lead >= 0xE0 && lead <= 0xEF) {
        const bool excluded = (lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F);
        return continues(1) && continues(2) && !excluded ? 3 : 0;
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        const bool excluded = (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F);
        return continues(1) && continues(2) && continues(3) && !excluded ? 4 : 0;
    }
    return 0;
}

} // namespace

std::string json_string(std::string_view text) {
    std::string result = "\"";
    while (!text.empty()) {
        const char c = text.front();
        const size_t length = utf8_length(text);
        if (length == 0)
            result += "\\ufffd";
        else if (c == '"' || c == '\\')
            result += {'\\', c};
        else if (static_cast<uint8_t>(c) < 0x20 || c == 0x7F)
            result += fmt::format("\\u{:04x}", static_cast<unsigned>(c));
        else
            result += text.substr(0, length);
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return result + '"';
}

JsonObject &JsonObject::raw(std::string_view key, std::string_view value) {
    members_ += fmt::format("{}{}:{}", members_.empty() ? "" : ",", json_string(key), value);
    return *this;
}

JsonObject &JsonObject::members_of(const JsonObject &other) {
    if (!members_.empty() && !other.members_.empty()) members_ += ',';
    members_ += other.members_;
    return *this;
}

} // namespace qbgl
