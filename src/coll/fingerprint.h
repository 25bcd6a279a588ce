// What tells the order of a handle from others.
#pragma once

#include "qbgl.h"

namespace qbgl {

using OrderDigits = char[sizeof gl_locale::order_fingerprint]; // 16 hexadecimal digits and a terminator, or empty

// Makes the digits from the rules of a handle, for an object that does not tell its own.
void fingerprint_of_rules(const gl_locale *locale, OrderDigits &digits);

} // namespace qbgl
