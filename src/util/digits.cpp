// Counting the digits of a number.
#include "qbgl.h"

#include <stdlib.h>

int _gl_digits(int value, int base) {
    // Unlike the value itself, its first quotient always has a positive counterpart.
    const int quotient = abs(value / base);
    return quotient == 0 ? 1 : 1 + _gl_udigits(static_cast<unsigned>(quotient), static_cast<unsigned>(base));
}

int _gl_udigits(unsigned value, unsigned base) {
    int count = 1;
    while ((value /= base) != 0) ++count;
    return count;
}
