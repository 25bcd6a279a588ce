// The roads that locales take to the order of a wide text: by rules, by code values, or as Thai.
#pragma once

#include "coll/table_walk.h"

namespace qbgl {

int compare_wide(gl_locale *locale, WideSpan a, WideSpan b);
int key_of_wide(gl_locale *locale, char *out, WideSpan span, int capacity);

} // namespace qbgl
