// The order of wide text, however the locale tells it: by rules, by code values, as Thai, or by the extension.
#pragma once

#include "coll/table_walk.h"

namespace qbgl {

int compare_wide(gl_locale *locale, WideSpan a, WideSpan b);
// As gl_wcsxfrm, which says what the key is and what is returned.
int key_of_wide(gl_locale *locale, char *out, WideSpan span, int capacity);

// The same by the extension, which judges lengths and null pointers itself.
int ask_to_compare(gl_locale *locale, const gl_wchar *s1, int len1, const gl_wchar *s2, int len2);
int ask_for_key(gl_locale *locale, char *out, const gl_wchar *s, int capacity);

} // namespace qbgl
