// Locales that the extension library orders.
#include "qbnxdl/entry_points.h"
#include "qbnxdl/served.h"

using namespace qbgl;

int _glu_mbfscoll(gl_locale *locale, const char *s1, int len1, const char *s2, int len2) {
    return ask_extension(locale, GL_CAT_COLLATE, fn_glu_mbscoll, 0, locale->glu_handle[GL_CAT_COLLATE], s1, len1, s2, len2);
}

int _glu_mbscoll(gl_locale *locale, const char *s1, const char *s2) { return _glu_mbfscoll(locale, s1, -1, s2, -1); }

int _glu_mbsxfrm(gl_locale *locale, char *out, const char *s, int capacity) {
    return ask_extension(locale, GL_CAT_COLLATE, fn_glu_mbsxfrm, -1, locale->glu_handle[GL_CAT_COLLATE], out, s, capacity);
}
