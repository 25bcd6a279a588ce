// The lengths of a codeset's characters.
#include "qbnxdl/entry_points.h"
#include "qbnxdl/served.h"

using namespace qbgl;

namespace {

int ask_for_length(gl_locale *locale, int (*entry_point)(void *)) {
    return can_ask(locale, GL_CAT_CTYPE, entry_point) ? entry_point(locale->glu_handle[GL_CAT_CTYPE]) : -1;
}

} // namespace

int gl_mb_loc_max(gl_locale *locale) {
    if (served_by_extension(locale, GL_CAT_CTYPE)) return ask_for_length(locale, fn_glu_mb_loc_max);
    return _gl_multi_max_length(locale->ctype.codeset_table);
}

int gl_mb_loc_min(gl_locale *locale) {
    if (served_by_extension(locale, GL_CAT_CTYPE)) return ask_for_length(locale, fn_glu_mb_loc_min);
    return _gl_multi_min_length(locale->ctype.codeset_table);
}
