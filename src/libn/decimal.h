// A decimal number between its text and its value.
#pragma once

#include "libn/number_text.h"

namespace qbgl {

struct Decimal {
    NumberText digits;
    int fraction = 0; // how many of the digits stand behind the point
    int exponent = 0;
    bool negative = false;
};

// The nearest double, in the direction that the thread has set. Out of range, errno becomes ERANGE, otherwise 0.
double value_of(Decimal &number);

} // namespace qbgl
