// The entry points that a handle chooses by the features of its collation rules. Every locale of this release orders by code
// values, which have no features: all of a kind lead to one comparison.
#include "coll/code_values.h"
#include "ext/error.h"

#include <string.h>

using namespace qbgl;

namespace {

int fail(gl_locale *locale, int error) {
    set_error(locale, error);
    return 0;
}

// The code values of a single-byte codeset are the bytes.
int compare_bytes(gl_locale *locale, const char *s1, int len1, const char *s2, int len2) {
    if (!lengths_agree(len1, len2)) return fail(locale, GL_EMIXEDLEN);
    if (s1 == nullptr || s2 == nullptr) return fail(locale, GL_ENULLPTR);
    if (len1 == -1) {
        len1 = static_cast<int>(strlen(s1));
        len2 = static_cast<int>(strlen(s2));
    }
    if (len1 < 0 || len2 < 0) return fail(locale, GL_EILSEQ);
    const int order = memcmp(s1, s2, static_cast<size_t>(std::min(len1, len2)));
    return order != 0 ? (order < 0 ? -1 : 1) : len1 - len2;
}

int compare_bytes(gl_locale *locale, const char *s1, const char *s2) { return compare_bytes(locale, s1, -1, s2, -1); }

} // namespace

int _gl_is_mbscoll_exp(gl_locale *locale, const char *s1, const char *s2) { return compare_bytes(locale, s1, s2); }
int _gl_is_mbscoll_elem(gl_locale *locale, const char *s1, const char *s2) { return compare_bytes(locale, s1, s2); }
int _gl_is_mbscoll_back(gl_locale *locale, const char *s1, const char *s2) { return compare_bytes(locale, s1, s2); }
int _gl_is_mbscoll_exp_elem(gl_locale *locale, const char *s1, const char *s2) { return compare_bytes(locale, s1, s2); }

int _qbx_gl_is_mbfscoll_exp(gl_locale *locale, const char *s1, int len1, const char *s2, int len2) {
    return compare_bytes(locale, s1, len1, s2, len2);
}
int _qbx_gl_is_mbfscoll_elem(gl_locale *locale, const char *s1, int len1, const char *s2, int len2) {
    return compare_bytes(locale, s1, len1, s2, len2);
}
int _qbx_gl_is_mbfscoll_back(gl_locale *locale, const char *s1, int len1, const char *s2, int len2) {
    return compare_bytes(locale, s1, len1, s2, len2);
}
int _qbx_gl_is_mbfscoll_exp_elem(gl_locale *locale, const char *s1, int len1, const char *s2, int len2) {
    return compare_bytes(locale, s1, len1, s2, len2);
}

int _gl_thaismocoll(gl_locale *locale, const char *s1, const char *s2) { return _gl_im_mbscoll(locale, s1, s2); }
int _qbx_gl_thaismoncoll(gl_locale *locale, const char *s1, int len1, const char *s2, int len2) {
    return _qbx_gl_im_mbfscoll(locale, s1, len1, s2, len2);
}
int _gl_thaismoxfrm(gl_locale *locale, char *out, const char *s, int capacity) { return gl_full_mbsxfrm(locale, out, s, capacity); }
