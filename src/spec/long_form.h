// Limits of the values that long forms hold.
#pragma once

#include "spec/category.h"
#include "spec/registry.h"

namespace qbgl {

inline constexpr int VALUE_MAX = 31;            // what a locale name's field in the handle holds
inline constexpr int EXPANDED_CODESET_MAX = 19; // a codeset name in a short form that is to become a long one

} // namespace qbgl
