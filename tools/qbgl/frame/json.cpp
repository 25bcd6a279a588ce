#include "frame/json.h"

#include "text/utf8.h"

#include <fmt/format.h>

namespace qbgl {

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

std::string json_array(const std::vector<std::string> &values) { return fmt::format("[{}]", fmt::join(values, ",")); }

std::string json_strings(const std::vector<std::string> &texts) {
    std::vector<std::string> quoted;
    quoted.reserve(texts.size());
    for (const std::string &text : texts) quoted.push_back(json_string(text));
    return json_array(quoted);
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
