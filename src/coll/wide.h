// The order of wide text, however the locale tells it: by rules, by code values, as Thai, or by the extension.
#pragma once

#include "coll/table_walk.h"

namespace qbgl {

int compare_wide(gl_locale *locale, WideSpan a, WideSpan b);
// As gl_wcsxfrm, which says what the key is and what is returned.
int key_of_wide(gl_locale *locale, char *out, WideSpan span, int capacity);

} // namespace qbgl
