// The constant records that a failed open hands out.
#pragma once

#include "qbgl.h"

namespace qbgl {

// Whether `cd` is one of them: nobody may write to it or free it.
bool is_canned(const gl_cv *cd);

} // namespace qbgl
