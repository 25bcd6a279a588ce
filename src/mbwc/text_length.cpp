// Lengths of texts in bytes and in characters.
#include "ext/error.h"
#include "mbwc/ranges.h"
#include "multi/walk.h"

#include <algorithm>
#include <string.h>

using namespace qbgl;

namespace {

// As many bytes as any character has, however long the text is.
int length_at(gl_locale *locale, const char *s) { return gl_full_mblen(locale, s, MAX_KEY); }

} // namespace

int gl_wcslen(const gl_wchar *ws) { return static_cast<int>(find_zero(ws, INT32_MAX) - ws); }

int gl_wcsbytes(const gl_wchar *ws) { return static_cast<int>(sizeof(gl_wchar)) * (gl_wcslen(ws) + 1); }

int gl_mbsbytes(gl_locale *locale, const char *s) {
    if (s == nullptr) return 0;
    const int32_t shortest = locale->ctype.codeset_table->min_length;
    if (locale->single_byte != 0) return static_cast<int>(strlen(s)) + shortest;
    int bytes = 0, length;
    while ((length = length_at(locale, s + bytes)) > 0) bytes += length;
    return length < 0 ? 0 : bytes + shortest;
}

int _gl_im_mbslen(gl_locale *locale, const char *s) {
    int count = 0, length;
    for (; (length = length_at(locale, s)) > 0; s += length) ++count;
    return length < 0 ? -1 : count;
}

int _qbx_gl_im_mbfslen(gl_locale *locale, const char *s, int len) {
    const int32_t shortest = locale->ctype.codeset_table->min_length;
    if (len == -1) len = gl_mbsbytes(locale, s) - shortest;
    if (locale->single_byte != 0 && len >= 0) return len;
    int count = 0, at = 0;
    while (at < len) {
        const int length = length_at(locale, s + at);
        if (length < 0) return -1;
        at += length > 0 ? length : std::max(shortest, 1);
        ++count;
    }
    if (at > len) {
        set_error(locale, GL_EILSEQ);
        return -1;
    }
    return count;
}
