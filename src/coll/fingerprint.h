// What tells the order of a handle from others.
#pragma once

#include "qbgl.h"

namespace qbgl {

// The version of what the library makes of a locale's rules. To be raised whenever texts compare differently, or have other keys of
// either form, under the same object: a database then rebuilds its indexes.
inline constexpr uint32_t KEY_FORMAT = 1;

using OrderDigits = char[sizeof gl_locale::order_fingerprint]; // 16 hexadecimal digits and a terminator, or empty

// Makes the digits from the rules of a handle, for an object that does not tell its own.
void fingerprint_of_rules(const gl_locale *locale, OrderDigits &digits);

// Makes them from the words of the extension library for a handle that it orders; empty where it has no order for indexes. Returns
// 0, or the number of the error: GL_ENOMEM, or GL_ELOADCAT where it has such an order and does not tell the words.
int fingerprint_of_extension(const gl_locale *locale, OrderDigits &digits);

} // namespace qbgl
