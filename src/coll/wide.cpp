// Comparison and sort keys of wide text.
#include "coll/code_values.h"
#include "coll/multibyte_text.h"
#include "coll/wide_order.h"
#include "ext/error.h"
#include "qbnxdl/served.h"

using namespace qbgl;

namespace {

int key_as_multibyte(gl_locale *locale, char *out, WideSpan span, int capacity) {
    MultibyteText text;
    return text.convert(locale, span) ? gl_mbfsxfrm(locale, out, text.get(), text.length(), capacity) : -1;
}

bool ordered_by_extension(const gl_locale *locale) {
    return served_by_extension(locale, GL_CAT_COLLATE) && !is_half_served(locale);
}

} // namespace

int _qbx_gl_full_wcscoll(gl_locale *locale, const gl_wchar *s1, int len1, const gl_wchar *s2, int len2) {
    if (locale == nullptr) return 0;
    if (ordered_by_extension(locale)) return ask_to_compare(locale, s1, len1, s2, len2);
    if (s1 == nullptr || s2 == nullptr) return fail(locale, GL_ENULLPTR, 0);
    if (!lengths_agree(len1, len2)) return fail(locale, GL_EMIXEDLEN, 0);
    if (len1 == -1) {
        len1 = gl_wcslen(s1);
        len2 = gl_wcslen(s2);
    }
    if (len1 < 0 || len2 < 0) return fail(locale, GL_EILSEQ, 0);
    if (is_half_served(locale)) return compare_as_multibyte(locale, {s1, len1}, {s2, len2}, gl_mbfscoll);
    return compare_wide(locale, {s1, len1}, {s2, len2});
}

int gl_full_wcscoll(gl_locale *locale, const gl_wchar *s1, const gl_wchar *s2) {
    return _qbx_gl_full_wcscoll(locale, s1, -1, s2, -1);
}

int gl_wcsxfrm(gl_locale *locale, char *out, const gl_wchar *s, int capacity) {
    if (locale == nullptr) return -1;
    if (ordered_by_extension(locale)) return ask_for_key(locale, out, s, capacity);
    if (s == nullptr) return fail(locale, GL_ENULLPTR, -1);
    const WideSpan span = {s, gl_wcslen(s)};
    return is_half_served(locale) ? key_as_multibyte(locale, out, span, capacity) : key_of_wide(locale, out, span, capacity);
}

int gl_wcfsxfrm(gl_locale *locale, char *out, const gl_wchar *s, int len, int capacity) {
    if (len == -1 || locale == nullptr) return gl_wcsxfrm(locale, out, s, capacity);
    if (s == nullptr) return fail(locale, GL_ENULLPTR, -1);
    if (len < 0) return fail(locale, GL_EBADARG, -1);
    const WideSpan span = {s, len};
    return is_half_served(locale) ? key_as_multibyte(locale, out, span, capacity) : key_of_wide(locale, out, span, capacity);
}
