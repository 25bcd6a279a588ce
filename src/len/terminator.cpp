// The terminator of text.
#include "len/text_walk.h"

using namespace qbgl;

int gl_mbsterm(gl_locale *locale, char *dst) {
    const int length = locale->ctype.codeset_table->min_length;
    memset(dst, 0, static_cast<size_t>(length));
    return length;
}

int gl_ismbsterm(gl_locale *locale, const char *s) {
    const int length = locale->ctype.codeset_table->min_length;
    return is_terminator(as_bytes(s), length) ? length : 0;
}
