// Small powers.
#include "qbgl.h"

unsigned _gl_ipow(unsigned base, int exponent) {
    unsigned power = 1;
    for (; exponent > 0; --exponent) power *= base;
    return power;
}

double _gl_fpow(double base, int exponent) {
    double power = 1.0;
    for (; exponent > 0; --exponent) power *= base;
    for (; exponent < 0; ++exponent) power /= base;
    return power;
}
