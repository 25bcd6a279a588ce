// The conversion engine: one function for each shape of conversion, all with the argument list of the C face.
#pragma once

#include "qbgl.h"

namespace qbgl {

int mb_miconv(gl_cv *cd, const char **in, int *inleft, char **out, int *outleft, int *subst);
int sb_miconv(gl_cv *cd, const char **in, int *inleft, char **out, int *outleft, int *subst);
int little_endian_unicode_source_miconv(gl_cv *cd, const char **in, int *inleft, char **out, int *outleft, int *subst);
int little_endian_unicode_target_miconv(gl_cv *cd, const char **in, int *inleft, char **out, int *outleft, int *subst);
// Where the source is read by algorithm, as cd->source_form says: to another form, or to a codeset by the records of its UTF-8.
int unicode_miconv(gl_cv *cd, const char **in, int *inleft, char **out, int *outleft, int *subst);
int unicode_source_miconv(gl_cv *cd, const char **in, int *inleft, char **out, int *outleft, int *subst);
int mb_smiconv(gl_cv *cd, gl_cv_state *state, const char **in, int *inleft, char **out, int *outleft, int *subst);

// Whether units of this shortest and longest length are little-endian Unicode.
constexpr bool is_unicode_unit(int32_t min_len, int32_t max_len) { return min_len == max_len && (min_len == 2 || min_len == 4); }

} // namespace qbgl
