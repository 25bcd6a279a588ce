// Comparison and sort keys of wide text by the tables of the rules.
#pragma once

#include "coll/table_walk.h"

namespace qbgl {

// Negative, 0 or positive; 0 with GL_ENOMEM when memory is out.
int compare_by_tables(gl_locale *locale, WideSpan a, WideSpan b);

// The length of the whole key, or -1 with GL_ENOMEM.
int key_by_tables(gl_locale *locale, char *out, WideSpan span, int capacity);

} // namespace qbgl
