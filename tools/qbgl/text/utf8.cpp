#include "text/utf8.h"

#include <cstdint>

namespace qbgl {

// The ranges of the second byte are those of the Unicode standard, table 3-7.
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

size_t first_bad_character(std::string_view text) {
    for (size_t place = 1; !text.empty(); ++place) {
        const size_t length = utf8_length(text);
        if (length == 0) return place;
        text.remove_prefix(length);
    }
    return 0;
}

char32_t utf8_code_point(std::string_view character) {
    constexpr uint8_t LEAD_BITS[] = {0, 0x7F, 0x1F, 0x0F, 0x07}; // by length
    char32_t result = static_cast<uint8_t>(character[0]) & LEAD_BITS[character.size()];
    for (const char byte : character.substr(1)) result = result << 6 | (static_cast<uint8_t>(byte) & 0x3F);
    return result;
}

std::string utf8_of(char32_t code_point) {
    if (code_point < 0x80) return std::string(1, static_cast<char>(code_point));
    const int continued = code_point < 0x800 ? 1 : code_point < 0x10000 ? 2 : 3;
    constexpr unsigned LEADS[] = {0, 0xC0, 0xE0, 0xF0}; // by bytes behind it
    std::string result(1, static_cast<char>(LEADS[continued] | code_point >> 6 * continued));
    for (int i = continued - 1; i >= 0; --i) result += static_cast<char>(0x80 | (code_point >> 6 * i & 0x3F));
    return result;
}

size_t utf8_columns(std::string_view text) {
    size_t columns = 0;
    while (!text.empty()) {
        const size_t length = utf8_length(text);
        const char32_t c = utf8_code_point(text.substr(0, length));
        // Hangul letters; Han, kana and what goes with them; wide forms; the ideographic planes and the pictures before them.
        const bool wide = (c >= 0x1100 && c <= 0x115F) || (c >= 0x2E80 && c <= 0xA4CF) || (c >= 0xAC00 && c <= 0xD7A3) ||
                          (c >= 0xF900 && c <= 0xFAFF) || (c >= 0xFE30 && c <= 0xFE6F) || (c >= 0xFF00 && c <= 0xFF60) ||
                          (c >= 0xFFE0 && c <= 0xFFE6) || (c >= 0x1F300 && c <= 0x3FFFD);
        columns += wide ? 2 : 1;
        text.remove_prefix(length);
    }
    return columns;
}

} // namespace qbgl
