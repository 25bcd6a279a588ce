// The length of text in bytes, with its terminator and without.
#include "ext/error.h"
#include "len/text_walk.h"
#include "qbnxdl/served.h"

using namespace qbgl;

int gl_mbsbytes(gl_locale *locale, const char *s) {
    if (s == nullptr) return 0;
    const int32_t shortest = locale->ctype.codeset_table->min_length;
    if (locale->single_byte != 0) return static_cast<int>(strlen(s)) + shortest;
    int bytes = 0, length;
    while ((length = gl_full_mblen(locale, s + bytes, MAX_KEY)) > 0) bytes += length;
    return length < 0 ? 0 : bytes + shortest;
}

int gl_mbsbytes_nt(gl_locale *locale, const char *s) {
    if (s == nullptr) {
        set_error(locale, GL_ENULLPTR);
        return -1;
    }
    if (served_by_extension(locale, GL_CAT_CTYPE)) return gl_mbsbytes(locale, s) - 1;
    const CodesetMaps *maps = maps_of(locale);
    if (maps != nullptr && maps->all_single) return static_cast<int>(strlen(s));
    return with_text_walk(locale, [=](const auto &text) {
        const uint8_t *at = as_bytes(s);
        const auto goes_on = [&text](const uint8_t *place) { return !text.ends_at(place); };
        if (text.walk(at, nullptr, goes_on, [](gl_wchar, const uint8_t *) { return true; }) > 0)
            return static_cast<int>(at - as_bytes(s));
        set_error(locale, GL_EILSEQ);
        return -1;
    });
}
