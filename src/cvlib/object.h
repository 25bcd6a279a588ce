// Finding and reading conversion objects.
#pragma once

#include "qbgl.h"

namespace qbgl {

// Open an object by its file's name, searched, or by its codesets, searched or in the directory given. Null with the descriptor's
// error number: GL_ENOMEM, or GL_ENOFILE. `missing` tells whether it is not there, as opposed to being there and not to be opened.
FILE *search_cv_object(gl_cv *cd, const char *name, bool &missing);
FILE *open_cv_object(gl_cv *cd, uint16_t source, uint16_t target, const char *directory, bool &missing);

// Reads a conversion object into a fresh descriptor and closes the stream, on every path. Returns 0, or -1 with the descriptor's
// error number set; the caller still owns the descriptor. A null stream is a file that was not found.
int read_cv_file(FILE *file, gl_cv *cd);

// The two halves of that: reading parameters and tables, and what follows from them. The second one returns 0, or -1 with the error
// number of tables that are no conversion.
int read_cv_tables(FILE *file, gl_cv *cd);
int complete_cv(gl_cv *cd);

// Whether a conversion up to the terminator ends there: no table steps over it, and its record says so or has nothing to convert.
bool ends_at_terminator(const gl_cv &cd);

// Frees what a descriptor owns, not the descriptor.
void free_cv_tables(gl_cv *cd);

} // namespace qbgl
