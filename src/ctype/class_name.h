// Classes that a locale defines itself.
#pragma once

#include "qbgl.h"

namespace qbgl {

inline constexpr char FULL_WIDTH_CLASS[] = "full_width"; // characters of two columns

// The mask of a locale's own class; 0 for an unknown one.
unsigned own_class(const gl_ctype_info &info, const char *name);

} // namespace qbgl
