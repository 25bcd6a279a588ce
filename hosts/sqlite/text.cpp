#include "text.h"

#include <cstdint>

namespace qbgl_sqlite {

namespace {

constexpr size_t LONGEST_CHARACTER = 4, LONGEST_QUOTED = 48;

std::string digits_of(std::string_view bytes) {
    constexpr char DIGITS[] = "0123456789ABCDEF";
    std::string result;
    for (const char byte : bytes) {
        if (!result.empty()) result += ' ';
        result += {DIGITS[static_cast<uint8_t>(byte) >> 4], DIGITS[static_cast<uint8_t>(byte) & 15]};
    }
    return result;
}

} // namespace

size_t character_length(std::string_view text) {
    const auto at = [&](size_t i) { return static_cast<uint8_t>(text[i]); };
    const uint8_t first = at(0);
    const size_t length = first < 0xC2 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : first < 0xF5 ? 4 : 1;
    if (length == 1 || length > text.size()) return 1;
    // The second byte's range is narrower behind these: no overlong forms, no surrogates, nothing above U+10FFFF.
    const uint8_t least = first == 0xE0   ? 0xA0
                          : first == 0xF0 ? 0x90
                                          : 0x80,
                  most = first == 0xED   ? 0x9F
                         : first == 0xF4 ? 0x8F
                                         : 0xBF;
    if (at(1) < least || at(1) > most) return 1;
    for (size_t i = 2; i < length; ++i)
        if ((at(i) & 0xC0) != 0x80) return 1;
    return length;
}

size_t first_bad(std::string_view text) {
    size_t at = 0;
    while (at < text.size()) {
        const size_t length = character_length(text.substr(at));
        if (length == 1 && static_cast<uint8_t>(text[at]) >= 0x80) break;
        at += length;
    }
    return at;
}

std::string quoted(std::string_view text) {
    std::string shown = "\"";
    while (!text.empty() && shown.size() <= LONGEST_QUOTED) {
        const size_t length = character_length(text);
        const bool is_shown = length > 1 || (text[0] >= ' ' && text[0] <= '~');
        shown += is_shown ? text.substr(0, length) : "?";
        text.remove_prefix(length);
    }
    return shown + '"';
}

std::string place(std::string_view text, size_t offset) {
    return " at offset " + std::to_string(offset) + " (bytes " + digits_of(text.substr(offset, LONGEST_CHARACTER)) + ")";
}

} // namespace qbgl_sqlite
