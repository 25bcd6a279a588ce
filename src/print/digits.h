// The digits of numbers, as ASCII text without anything of a locale.
#pragma once

#include "print/format.h"

#include <stdint.h>
#include <string_view>

namespace qbgl {

// A number in its parts, in the order in which they are written. The views are of texts of the caller's.
struct Number {
    char prefix[4]; // the sign and "0x"
    int prefix_length = 0;
    int64_t zeros = 0;       // in front of the digits
    std::string_view digits; // before the point
    bool has_point = false;
    std::string_view fraction;
    int64_t more_zeros = 0;    // behind the fraction
    std::string_view exponent; // with its letter
    bool may_fill = true;      // with zeros up to a width

    void prepend(char c) { prefix[prefix_length++] = c; }
};

// Room for the digits of an integer in any base from 8 on.
using IntegerText = char[24];

// Writes digits before `end`, and returns where they begin.
char *hexadecimal(char *end, uint64_t value, bool upper);

// The parts of an integer; the conversion's letter is one of "diouxX", its precision is negative where there is none.
Number integer_number(const FormatConversion &conversion, uint64_t magnitude, bool negative, IntegerText &room);

// Exact digits of reals, rounded as the thread has set. The room suffices for the largest number with all the digits that any has.
inline constexpr int MOST_DOUBLE_DIGITS = 1100, MOST_LONG_DOUBLE_DIGITS = 16500;
using DoubleText = char[400 + MOST_DOUBLE_DIGITS];
using LongDoubleText = char[5000 + MOST_LONG_DOUBLE_DIGITS];

// The parts of a real number; the conversion's letter is one of "aAeEfFgG", its precision is negative where there is none.
Number real_number(const FormatConversion &conversion, double value, DoubleText &room);
Number real_number(const FormatConversion &conversion, long double value, LongDoubleText &room);

} // namespace qbgl
