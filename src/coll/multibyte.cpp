// Comparison and sort keys of multibyte text, by way of its wide characters.
#include "coll/code_values.h"
#include "coll/wide_text.h"
#include "ext/error.h"

using namespace qbgl;

namespace {

// The key of an order by code values is the text itself. Returns its whole length, however much of it there was room for.
int code_value_key(gl_locale *locale, char *out, const gl_wchar *text, int capacity) {
    int length = 0;
    for (const gl_wchar *wc = text; *wc != 0; ++wc) {
        const int bytes = gl_wclen(locale, *wc);
        if (bytes < 0) return -1;
        length += bytes;
    }
    return gl_full_wcstombs(locale, out, text, capacity) < 0 ? -1 : length;
}

} // namespace

int _qbx_gl_im_mbfscoll(gl_locale *locale, const char *s1, int len1, const char *s2, int len2) {
    if (!lengths_agree(len1, len2)) {
        set_error(locale, GL_EMIXEDLEN);
        return 0;
    }
    WideText text1, text2;
    if (!text1.convert(locale, s1, len1) || !text2.convert(locale, s2, len2)) return 0;
    return _qbx_gl_wcfscmp(locale, text1.get(), text1.length(), text2.get(), text2.length());
}

int _gl_im_mbscoll(gl_locale *locale, const char *s1, const char *s2) { return _qbx_gl_im_mbfscoll(locale, s1, -1, s2, -1); }

int gl_full_mbsxfrm(gl_locale *locale, char *out, const char *s, int capacity) {
    WideText text;
    return text.convert(locale, s, -1) ? code_value_key(locale, out, text.get(), capacity) : -1;
}
