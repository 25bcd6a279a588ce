// Sort keys: for each pass the digits of its weights, with separators between the passes and a terminator behind the last one.
#pragma once

#include "coll/key_digits.h"
#include "mbwc/ranges.h"

namespace qbgl {

inline constexpr uint8_t PASS_SEPARATOR = 1;

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

    void separate() { write_bytes(&PASS_SEPARATOR, 1); }

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

    // Of the whole key, as far as an int reaches.
    int length() const { return static_cast<int>(std::min<uint64_t>(static_cast<size_t>(at_ - begin_) + beyond_, INT32_MAX)); }

    // Puts the terminator where it fits, and returns the length.
    int finish() {
        if (at_ != end_) *at_ = 0;
        return length();
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
