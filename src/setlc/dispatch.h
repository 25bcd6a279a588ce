// Choosing the functions of a handle from its codeset and its collation rules.
#pragma once

#include "qbgl.h"

namespace qbgl {

// Gives a handle that is not complete yet the functions of one without data, which fail where they need a category: whatever comes
// of loading, calls go somewhere.
void ensure_functions(gl_locale *locale);
// Lets comparison follow the rules that the handle has now, also where the rest of a selection fails.
void take_rules(gl_locale *locale);
// Recomputes the flags and calls set_function_pointers. 0, or -1 with GL_ENOMEM.
int set_flags(gl_locale *locale);
// Recomputes the single-byte flag, builds the 256-entry tables of a single-byte codeset and chooses the functions. 0, or -1 with
// GL_ENOMEM and everything as it was.
int set_function_pointers(gl_locale *locale);
// Chooses the functions of comparison and transformation alone.
void set_collation_fp(gl_locale *locale);

} // namespace qbgl
