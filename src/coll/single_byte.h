// Comparison and sort keys of single-byte text, straight from its bytes.
#pragma once

#include "qbnxdl/served.h"

namespace qbgl {

// Whether the text is single-byte and the rules have their lookup arrays.
inline bool has_byte_arrays(const gl_locale *locale) { return locale->single_byte != 0 && locale->collate.maps != nullptr; }

// The same, and whether the order is that of the rules. The single-byte walkers do not ask: no locale of the extension's gets them.
inline bool walks_bytes(const gl_locale *locale) { return has_byte_arrays(locale) && !served_by_extension(locale, GL_CAT_COLLATE); }

// For rules of any features.
int compare_single_byte(gl_locale *locale, const char *s1, int len1, const char *s2, int len2);
int compare_single_byte(gl_locale *locale, const char *s1, const char *s2);

int key_of_single_byte(gl_locale *locale, char *out, const char *s, int capacity);
int key_of_single_byte(gl_locale *locale, char *out, const char *s, int len, int capacity);

} // namespace qbgl
