// The names of time zones that a host has given to a handle.
#pragma once

#include "qbgl.h"

namespace qbgl {

// Null for a number without a name.
const char *zone_name_of(const gl_locale *locale, int32_t zone);

} // namespace qbgl
