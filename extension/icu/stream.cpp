// Characters from streams.
#include "icu/text.h"

using namespace qbgl::icu;

namespace {

// A character, or the bytes read until it turned out that there is none.
struct Read {
    UChar32 value;
    int length;
    int error;
};

template <class Next> Read read_character(const Locale &locale, char *buffer, Next next_byte) {
    Characters characters(locale.codeset());
    for (int length = 0;;) {
        const int byte = next_byte();
        if (byte < 0) return {0, length, length == 0 ? GL_EEOF : GL_EINVAL};
        buffer[length++] = static_cast<char>(byte);
        const Decoded one = characters.decode(buffer, length);
        if (one) return {one.value, length, 0};
        if (one.length != CUT || length == locale.codeset().longest()) return {0, length, one.error()};
    }
}

} // namespace

int glu_getmb(void *locale, char *buffer, gl_byte_reader reader, void *stream, int *length, int16_t *error) {
    if (length != nullptr) *length = 0;
    if (locale == nullptr || buffer == nullptr || reader == nullptr || length == nullptr) return fail(error, GL_ENULLPTR, -1);
    const Read read = read_character(*as_locale(locale), buffer, [=] { return reader(stream); });
    *length = read.length;
    return read.error == 0 ? 0 : fail(error, read.error, -1);
}

gl_wchar glu_fgetuc32(void *locale, FILE *stream, int16_t *error) {
    constexpr auto NONE = static_cast<gl_wchar>(-1);
    if (locale == nullptr || stream == nullptr) return fail(error, GL_ENULLPTR, NONE);
    char buffer[Codeset::LONGEST];
    const Read read = read_character(*as_locale(locale), buffer, [=] { return host.fgetc(stream); });
    if (read.error == 0) return static_cast<gl_wchar>(read.value);
    return fail(error, (read.error == GL_EEOF || read.error == GL_EINVAL) && host.ferror(stream) != 0 ? GL_EIO : read.error, NONE);
}
