// Order by code value: what its functions share.
#pragma once

#include "qbgl.h"

#include <algorithm>

namespace qbgl {

inline int sign(gl_wchar a, gl_wchar b) { return (a > b) - (a < b); }

// a - b, as far as an int reaches.
inline int difference(int a, int b) { return static_cast<int>(std::clamp<int64_t>(int64_t{a} - b, INT32_MIN, INT32_MAX)); }

// Two lengths of one comparison: both given, or both up to the terminator.
inline bool lengths_agree(int len1, int len2) { return (len1 == -1) == (len2 == -1); }

} // namespace qbgl
