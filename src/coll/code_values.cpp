// Comparing plain code values.
#include "coll/code_values.h"

#include "ext/error.h"

#include <string.h>

using namespace qbgl;

namespace {

constexpr int LONGEST_CHARACTER = 4;

int measure(gl_locale *locale, const char *s, int limit) {
    return locale->single_byte != 0 ? 1 : _qbx_gl_full_mblen(locale, s, std::min(limit, LONGEST_CHARACTER));
}

bool is_nul(const char *character, int length) {
    return std::all_of(character, character + length, [](char byte) { return byte == 0; });
}

// Compares character by character until a text is used up. In one codeset the order of the bytes, longer characters last, is the
// order of the wide values.
int compare(gl_locale *locale, const char *s1, int len1, const char *s2, int len2, bool terminated) {
    while (len1 > 0 && len2 > 0) {
        const int length = measure(locale, s1, len1), other = measure(locale, s2, len2);
        if (length < 0 || other < 0) {
            set_error(locale, GL_EILSEQ); // also for a character that its text's length cuts
            return 0;
        }
        if (length != other) return length < other ? -1 : 1;
        const int order = memcmp(s1, s2, static_cast<size_t>(length));
        if (order != 0) return order < 0 ? -1 : 1;
        if (terminated && is_nul(s1, length)) return 0;
        s1 += length;
        s2 += length;
        len1 -= length;
        len2 -= length;
    }
    return difference(len1, len2);
}

} // namespace

int gl_wcscmp(gl_locale *, const gl_wchar *s1, const gl_wchar *s2) {
    for (; *s1 == *s2 && *s1 != 0; ++s1) ++s2;
    return sign(*s1, *s2);
}

int gl_wcsncmp(gl_locale *, const gl_wchar *s1, const gl_wchar *s2, int n) {
    for (; n > 0; --n, ++s1, ++s2) {
        if (*s1 != *s2 || *s1 == 0) return sign(*s1, *s2);
    }
    return 0;
}

int _qbx_gl_wcfscmp(gl_locale *, const gl_wchar *s1, int len1, const gl_wchar *s2, int len2) {
    for (; len1 > 0 && len2 > 0; --len1, --len2) {
        const int order = sign(*s1++, *s2++);
        if (order != 0) return order;
    }
    return difference(len1, len2);
}

int gl_full_mbscmp(gl_locale *locale, const char *s1, const char *s2) {
    return compare(locale, s1, INT32_MAX, s2, INT32_MAX, true);
}

int gl_full_mbsncmp(gl_locale *locale, const char *s1, const char *s2, int n) { return compare(locale, s1, n, s2, n, true); }

int _qbx_gl_mbscmp(gl_locale *locale, const char *s1, int len1, const char *s2, int len2) {
    if (!lengths_agree(len1, len2)) {
        set_error(locale, GL_EMIXEDLEN);
        return 0;
    }
    return len1 == -1 ? gl_full_mbscmp(locale, s1, s2) : compare(locale, s1, len1, s2, len2, false);
}
