// Sort keys: weights in base 254, so that no byte of a weight is the terminator or the separator of passes.
#pragma once

#include "mbwc/ranges.h"

namespace qbgl {

inline constexpr uint32_t KEY_BASE = 254, FIRST_DIGIT = 2;
inline constexpr uint8_t SEPARATOR = 1;
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

// Puts a value's digits at `out`, and returns where they end.
inline uint8_t *put_digits(uint8_t *out, uint32_t value, int digits) {
    value -= FIRST_DIGIT;
    if (digits == 1 && value < KEY_BASE) {
        *out = static_cast<uint8_t>(value + FIRST_DIGIT);
        return out + 1;
    }
    if (digits == 3 && value <= 0xFFFF) { // a character of two bytes
        const uint32_t upper = value / KEY_BASE, carry = upper >= KEY_BASE ? 1 : 0;
        out[0] = static_cast<uint8_t>(carry + FIRST_DIGIT);
        out[1] = static_cast<uint8_t>(upper - carry * KEY_BASE + FIRST_DIGIT);
        out[2] = static_cast<uint8_t>(value % KEY_BASE + FIRST_DIGIT);
        return out + 3;
    }
    for (uint8_t *at = out + digits; at != out; value /= KEY_BASE) *--at = static_cast<uint8_t>(value % KEY_BASE + FIRST_DIGIT);
    return out + digits;
}

class KeyWriter {
  public:
    // Bytes beyond the capacity are counted and not written.
    KeyWriter(char *out, int capacity)
        : begin_(reinterpret_cast<uint8_t *>(out)), at_(begin_), end_(end_of(begin_, std::max(capacity, 0))) {}

    void separate() { write_bytes(&SEPARATOR, 1); }

    void write(uint32_t value, int digits) {
        uint8_t bytes[MOST_DIGITS];
        if (end_ - at_ >= digits) {
            at_ = put_digits(at_, value, digits);
        } else {
            put_digits(bytes, value, digits);
            write_bytes(bytes, digits);
        }
    }

    // For those who write themselves: from position() on, room() bytes and one more, and then up to where they say.
    uint8_t *position() const { return at_; }
    size_t room() const { return at_ != end_ ? static_cast<size_t>(end_ - at_) - 1 : 0; }
    void advance(uint8_t *to) { at_ = to; }

    // Puts the terminator where it fits. The length of the whole key, as far as an int reaches.
    int finish() {
        if (at_ != end_) *at_ = 0;
        return static_cast<int>(std::min<uint64_t>(static_cast<size_t>(at_ - begin_) + beyond_, INT32_MAX));
    }

  private:
    void write_bytes(const uint8_t *bytes, ptrdiff_t count) {
        const ptrdiff_t fitting = std::min(count, end_ - at_);
        at_ = std::copy_n(bytes, fitting, at_);
        beyond_ += static_cast<uint64_t>(count - fitting);
    }

    uint8_t *begin_, *at_, *end_;
    uint64_t beyond_ = 0;
};

} // namespace qbgl
