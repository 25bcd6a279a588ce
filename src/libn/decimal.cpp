#include "libn/decimal.h"

#include <errno.h>
#include <float.h>
#include <stdio.h>
#include <stdlib.h>

namespace qbgl {

namespace {

// The powers of ten that a double has exactly.
constexpr double POWERS[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                             1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
constexpr int MOST_EXACT = static_cast<int>(sizeof POWERS / sizeof *POWERS) - 1;
constexpr int64_t LARGEST_EXACT = int64_t{1} << DBL_MANT_DIG;

// One operation on two exact numbers is rounded once, as the standard demands of the whole. The sign goes first: there are
// directions of rounding that ask for it.
double scaled(double significand, int exponent) {
    return exponent < 0 ? significand / POWERS[-exponent] : significand * POWERS[exponent];
}

// Without a point there is nothing in the text that the host's locale could read differently.
double convert(Decimal &number, int exponent) {
    char tail[16];
    const int length = snprintf(tail, sizeof tail, "e%d", exponent);
    for (int i = 0; i < length; ++i) number.digits.append(tail[i]);
    if (number.negative) number.digits.prepend('-');
    return strtod(number.digits.terminated(), nullptr);
}

} // namespace

double value_of(Decimal &number) {
    errno = 0;
    const char *digits = number.digits.terminated();
    int count = number.digits.length();
    for (; count > 0 && *digits == '0'; --count) ++digits;
    const int exponent = number.exponent - number.fraction;
    constexpr int FEW = 9, MANY = 18; // fit 32 bits, 64 bits
    if (FLT_EVAL_METHOD == 0 && count <= MANY && -MOST_EXACT <= exponent && exponent <= MOST_EXACT) {
        int32_t high = 0;
        const int first = read_digits(digits, FEW, high);
        if (count == first) return scaled(number.negative ? -static_cast<double>(high) : high, exponent);
        int64_t significand = high;
        for (int i = first; i < count; ++i) significand = significand * 10 + (digits[i] - '0');
        if (significand <= LARGEST_EXACT)
            return scaled(static_cast<double>(number.negative ? -significand : significand), exponent);
    }
    return convert(number, exponent);
}

} // namespace qbgl
