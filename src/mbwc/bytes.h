// Copies between bytes and wide characters of the same values. The last ones go together with some that were copied before, so that
// no count takes a loop over single characters.
#pragma once

#include "qbgl.h"

#include <stddef.h>

namespace qbgl {

void widen(gl_wchar *out, const uint8_t *in, size_t count);

// Takes the low byte of each value. False when one is above 255.
bool narrow(uint8_t *out, const gl_wchar *in, size_t count);

} // namespace qbgl
