#include "sort/number_keys.h"

#include <algorithm>
#include <cstdint>

namespace qbgl {

namespace {

bool is_digit(char c) { return c >= '0' && c <= '9'; }

bool take(std::string_view &text, std::string_view what) {
    if (what.empty() || !text.starts_with(what)) return false;
    text.remove_prefix(what.size());
    return true;
}

// How many digits there are, and the digits: more of them is a greater number.
void append_counted(std::string &key, std::string_view digits) {
    for (int shift = 24; shift >= 0; shift -= 8) key += static_cast<char>(digits.size() >> shift & 0xFF);
    key += digits;
}

std::string key_of(std::string_view text, std::string_view point, std::string_view separator, bool with_letter) {
    constexpr std::string_view LETTERS = "KMGTPEZYRQ";
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    const bool negative = take(text, "-");
    std::string whole, fraction;
    while (!text.empty() && (is_digit(text[0]) || (!whole.empty() && text.starts_with(separator) && !separator.empty()))) {
        if (take(text, separator)) continue;
        whole += text[0];
        text.remove_prefix(1);
    }
    if (take(text, point)) {
        for (; !text.empty() && is_digit(text[0]); text.remove_prefix(1)) fraction += text[0];
    }
    whole.erase(0, whole.find_first_not_of('0'));
    fraction.erase(fraction.find_last_not_of('0') + 1);
    if (whole.empty() && fraction.empty()) return "\1";
    std::string size;
    if (with_letter) {
        const size_t letter = text.empty() ? std::string_view::npos : LETTERS.find(text[0] == 'k' ? 'K' : text[0]);
        size += static_cast<char>(letter == std::string_view::npos ? 0 : letter + 1);
    }
    append_counted(size, whole);
    size += fraction;
    size += '\0'; // below any digit
    if (negative) {
        for (char &byte : size) byte = static_cast<char>(~byte);
    }
    return (negative ? '\0' : '\2') + size;
}

} // namespace

std::string number_key(std::string_view text, std::string_view point, std::string_view separator) {
    return key_of(text, point, separator, false);
}

std::string size_key(std::string_view text, std::string_view point, std::string_view separator) {
    return key_of(text, point, separator, true);
}

std::string version_key(std::string_view text) {
    constexpr char TILDE = 1, END = 2, NUMBER = 3, LETTER = 4, OTHER = 5;
    std::string key;
    while (!text.empty()) {
        const char c = text[0];
        if (is_digit(c)) {
            const auto end = std::find_if_not(text.begin(), text.end(), is_digit);
            std::string_view digits = text.substr(0, static_cast<size_t>(end - text.begin()));
            text.remove_prefix(digits.size());
            digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
            key += NUMBER;
            append_counted(key, digits);
            continue;
        }
        const bool letter = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || static_cast<uint8_t>(c) >= 0x80;
        key += c == '~' ? TILDE : letter ? LETTER : OTHER;
        key += c;
        text.remove_prefix(1);
    }
    return key + END;
}

} // namespace qbgl
