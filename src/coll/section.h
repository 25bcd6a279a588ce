// The section of LC_COLLATE in a locale object.
#pragma once

#include "qbgl.h"

namespace qbgl {

// Stands behind the category's marker line and fills the category's record in the handle. 0, or a failure with the number in the
// handle; what was read before one is released by free_collate.
int read_collate(FILE *file, gl_locale *locale);

// Safe on a partly read record, which it leaves empty.
void free_collate(gl_locale *locale);

} // namespace qbgl
