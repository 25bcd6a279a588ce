// The digits of weights in sort keys: of base 254, so that no byte of a weight is the terminator or the separator of passes.
#pragma once

#include <stdint.h>

namespace qbgl {

inline constexpr uint32_t KEY_BASE = 254, FIRST_DIGIT = 2;
inline constexpr int MOST_DIGITS = 5; // of 32 bits

// The bytes of a value are as many as the largest one of its kind has, so that the order of the bytes is that of the values.
constexpr int key_digits(uint32_t largest) {
    int digits = 1;
    for (; largest >= KEY_BASE; largest /= KEY_BASE) ++digits;
    return digits;
}

// One or two digits of a weight as a number whose lower byte comes first.
constexpr uint16_t packed_digits(uint16_t weight, int digits) {
    const unsigned value = weight - FIRST_DIGIT;
    if (digits == 1) return static_cast<uint16_t>(value % KEY_BASE + FIRST_DIGIT);
    return static_cast<uint16_t>((value / KEY_BASE + FIRST_DIGIT) | (value % KEY_BASE + FIRST_DIGIT) << 8);
}

// The digits of a character, by the length of the codeset's longest one.
constexpr int character_key_digits(int longest) { return longest >= 4 ? 5 : longest == 3 ? 4 : longest == 2 ? 3 : 2; }

} // namespace qbgl
