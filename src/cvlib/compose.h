// Conversions without an object of their own.
#pragma once

#include "qbgl.h"

namespace qbgl {

// Fills a fresh descriptor with the conversion between two forms of Unicode, or with one composed of the two halves through UTF-8,
// whose objects are searched, or taken from the directory given. Returns 0, or -1 with the descriptor's error number: GL_ENOFILE
// where a half is missing, or that of reading one. The caller still owns the descriptor.
int compose_cv(gl_cv *cd, uint16_t source, uint16_t target, const char *directory);

} // namespace qbgl
