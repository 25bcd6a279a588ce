// Reading conversion objects.
#pragma once

#include "qbgl.h"

namespace qbgl {

// Reads a conversion object into a fresh descriptor and closes the stream, on every path. Returns 0, or -1 with the descriptor's
// error number set; the caller still owns the descriptor. A null stream is a file that was not found.
int read_cv_file(FILE *file, gl_cv *cd);

// Frees what a descriptor owns, not the descriptor.
void free_cv_tables(gl_cv *cd);

} // namespace qbgl
