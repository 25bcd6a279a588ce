// One character from a stream, or from a host's own source.
#include "qbnxdl/entry_points.h"
#include "qbnxdl/served.h"
#include "stream/bytes.h"
#include "stream/read.h"

using namespace qbgl;

namespace {

int ask_for_bytes(gl_locale *locale, char *buffer, gl_byte_reader reader, void *stream, int *length) {
    return ask_extension(locale, GL_CAT_CTYPE, fn_glu_getmb, -1, locale->glu_handle[GL_CAT_CTYPE], buffer, reader, stream, length);
}

const MultiNode *root_of(const gl_locale *locale) { return locale->ctype.codeset_table->root; }

} // namespace

int gl_getmb(gl_locale *locale, char *buffer, gl_byte_reader reader, void *stream, int *length) {
    if (served_by_extension(locale, GL_CAT_CTYPE)) return ask_for_bytes(locale, buffer, reader, stream, length);
    const Read read = read_character(root_of(locale), [=] { return reader(stream); });
    append_bytes(buffer, read.value, read.length);
    *length = read.length;
    if (read.error == 0) return 0;
    set_error(locale, read.error);
    return -1;
}

int gl_full_fgetmb(gl_locale *locale, char *buffer, FILE *stream) {
    if (served_by_extension(locale, GL_CAT_CTYPE)) {
        int length = 0;
        if (ask_for_bytes(locale, buffer, local_fgetc, stream, &length) == 0) return length;
        const int error = refined_by_stream(stream, GL_EEOF, 0);
        if (error != 0) set_error(locale, error);
        return -1;
    }
    const Read read = read_character(root_of(locale), StreamSource(stream));
    append_bytes(buffer, read.value, read.length);
    if (read.error == 0) return read.length;
    set_error(locale, byte_error(stream, read));
    return -1;
}

gl_wchar gl_full_fgetwc(gl_locale *locale, FILE *stream) {
    constexpr gl_wchar NONE = static_cast<gl_wchar>(-1);
    if (served_by_extension(locale, GL_CAT_CTYPE))
        return ask_extension(locale, GL_CAT_CTYPE, fn_glu_fgetuc32, NONE, locale->glu_handle[GL_CAT_CTYPE], stream);
    const Read read = read_character(root_of(locale), StreamSource(stream));
    if (read.error == 0) return read.value;
    set_error(locale, wide_error(stream, read));
    return NONE;
}
