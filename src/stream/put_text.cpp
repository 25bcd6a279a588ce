// Multibyte text to a stream.
#include "ext/error.h"
#include "qbnxdl/served.h"

#include <string.h>

using namespace qbgl;

namespace {

// The bytes before the terminator, or -1.
int length_of(gl_locale *locale, const char *s) {
    if (locale->single_byte != 0) return static_cast<int>(strlen(s)); // whatever the bytes are
    if (!served_by_extension(locale, GL_CAT_CTYPE)) return gl_mbsbytes_nt(locale, s);
    const char *end = s;
    while (gl_ismbsterm(locale, end) == 0) {
        end = gl_full_mbsnext(locale, end);
        if (end == nullptr) return -1;
    }
    return static_cast<int>(end - s);
}

} // namespace

int gl_fputmbs(gl_locale *locale, const char *s, FILE *stream) {
    if (s == nullptr) return fail(locale, GL_ENULLPTR, -1);
    const int length = length_of(locale, s);
    if (length < 0) return -1;
    const auto bytes = static_cast<uint32_t>(length);
    return _gl_ext_fwrite(s, 1, bytes, stream) == bytes ? 0 : fail(locale, GL_EIO, -1);
}
