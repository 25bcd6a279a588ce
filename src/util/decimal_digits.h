// The decimal digits of numbers.
#pragma once

#include <stdint.h>
#include <string_view>

namespace qbgl {

// Write digits before `end`, and return where they begin.
char *decimal(char *end, uint32_t value);
char *decimal(char *end, uint64_t value);

struct FixedDigits {
    std::string_view whole, fraction; // at least one digit before the point
};

inline constexpr int MOST_WHOLE_DIGITS = 20;

// The nearest decimal of `fraction` digits behind the point, of two the even one. The room has MOST_WHOLE_DIGITS + `fraction`
// bytes; the digits stay in it. It knows the magnitudes that people write out: false for one below 1/256 that is not 0, for 2^64
// and more, and for what is negative or no number.
bool fixed_digits(double magnitude, int fraction, char *room, FixedDigits &digits);

} // namespace qbgl
