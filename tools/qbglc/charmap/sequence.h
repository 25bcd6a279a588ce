// The bytes of one character.
#pragma once

#include <algorithm>
#include <array>
#include <compare>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace qbgl::compiler {

inline constexpr char32_t CODE_LIMIT = 0x110000;

constexpr bool is_scalar_value(char32_t code) { return code < 0xD800 || (code >= 0xE000 && code < CODE_LIMIT); }

struct Sequence {
    static constexpr size_t MAX = 4;

    uint8_t length = 0;
    std::array<uint8_t, MAX> bytes{}; // unused ones stay 0, so that comparing needs no length

    Sequence() = default;
    explicit Sequence(std::string_view text) : length(static_cast<uint8_t>(std::min(text.size(), MAX))) {
        std::memcpy(bytes.data(), text.data(), length);
    }
    // The low `count` bytes of a value, most significant first.
    static constexpr Sequence big_endian(uint32_t value, unsigned count) {
        Sequence result;
        result.length = static_cast<uint8_t>(count);
        for (unsigned i = count; i-- > 0; value >>= 8) result.bytes[i] = static_cast<uint8_t>(value);
        return result;
    }

    uint32_t value() const { // most significant byte first
        uint32_t result = 0;
        for (size_t i = 0; i < length; ++i) result = result << 8 | bytes[i];
        return result;
    }
    std::string text() const { return std::string(reinterpret_cast<const char *>(bytes.data()), length); }
    std::string hex() const {
        constexpr std::string_view DIGITS = "0123456789abcdef";
        std::string result;
        for (size_t i = 0; i < length; ++i) {
            result += DIGITS[bytes[i] >> 4];
            result += DIGITS[bytes[i] & 15];
        }
        return result;
    }
    Sequence reversed() const {
        Sequence result = *this;
        std::reverse(result.bytes.begin(), result.bytes.begin() + length);
        return result;
    }

    // Byte order; of two sequences one of which begins the other, the shorter first.
    friend constexpr std::strong_ordering operator<=>(const Sequence &a, const Sequence &b) {
        if (const auto order = a.bytes <=> b.bytes; std::is_neq(order)) return order;
        return a.length <=> b.length;
    }
    friend constexpr bool operator==(const Sequence &, const Sequence &) = default;
};

// The UTF-8 form of a scalar value.
constexpr Sequence utf8_of(char32_t code) {
    Sequence result;
    const auto put = [&](char32_t byte) { result.bytes[result.length++] = static_cast<uint8_t>(byte); };
    if (code < 0x80) {
        put(code);
        return result;
    }
    if (code < 0x800) {
        put(0xC0 | code >> 6);
    } else {
        if (code < 0x10000) {
            put(0xE0 | code >> 12);
        } else {
            put(0xF0 | code >> 18);
            put(0x80 | (code >> 12 & 0x3F));
        }
        put(0x80 | (code >> 6 & 0x3F));
    }
    put(0x80 | (code & 0x3F));
    return result;
}

} // namespace qbgl::compiler
