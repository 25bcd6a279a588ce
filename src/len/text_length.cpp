// The length of text in characters.
#include "ext/error.h"
#include "multi/table.h"
#include "qbnxdl/served.h"

#include <algorithm>
#include <string.h>

using namespace qbgl;

namespace {

int length_at(gl_locale *locale, const char *s) { return gl_full_mblen(locale, s, MAX_KEY); }

// The same of text with a length: what is cut by its end is no character. The extension is told of as many bytes as any character
// has, however many are left: zero bytes behind the end, which continue none.
int length_at(gl_locale *locale, const char *s, int left) {
    if (served_by_extension(locale, GL_CAT_CTYPE)) {
        char end[MAX_KEY] = {};
        return length_at(locale, left < MAX_KEY ? static_cast<char *>(memcpy(end, s, static_cast<size_t>(left))) : s);
    }
    const int length = gl_full_mblen(locale, s, std::min(left, MAX_KEY));
    return length >= 0 ? length : fail(locale, GL_EILSEQ, -1);
}

} // namespace

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
        const int length = length_at(locale, s + at, len - at);
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
