// Numbers of multibyte text, by way of their wide forms.
#include "libn/number_text.h"

#include <stddef.h>
#include <string.h>

using namespace qbgl;

namespace {

// What is of the codeset at the beginning of a text that is not as a whole. The conversion does not tell how far it came, so that
// it is done over zeros.
[[gnu::cold]] void convert_beginning(gl_locale *locale, const char *s, gl_wchar *wide) {
    memset(wide, 0, MOST_MULTIBYTE * sizeof *wide);
    locale->mbstowcs(locale, wide, s, MOST_MULTIBYTE);
}

// The place behind so many characters, or null.
char *step(gl_locale *locale, const char *s, ptrdiff_t characters) {
    if (locale->single_byte != 0) return const_cast<char *>(s) + characters;
    for (; characters > 0 && s != nullptr; --characters) s = gl_mbsnext(locale, s);
    return const_cast<char *>(s);
}

template <class Value, class Read> Value read_multibyte(gl_locale *locale, const char *s, char **end, Value refused, Read read) {
    if (s == nullptr) {
        set_error(locale, GL_ENULLPTR);
        return refused;
    }
    gl_wchar wide[MOST_MULTIBYTE + 1];
    wide[MOST_MULTIBYTE] = 0;
    const int count = locale->mbstowcs(locale, wide, s, MOST_MULTIBYTE);
    if (count == 0) {
        set_error(locale, GL_ERANGE);
        return refused;
    }
    if (count < 0) convert_beginning(locale, s, wide);
    if (wide[0] == 0) return refused;
    const Reading<Value> reading = read(wide);
    if (reading.out_of_range) {
        set_error(locale, GL_ERANGE);
        return refused;
    }
    if (end == nullptr) return reading.value;
    char *place = nullptr; // of text that was refused
    if (reading.end != nullptr) {
        place = step(locale, s, reading.end - wide);
        if (place == nullptr) return static_cast<Value>(-1);
    }
    *end = place;
    return reading.value;
}

} // namespace

long gl_mbstol(gl_locale *locale, const char *s, char **end, int base, int grouping) {
    return read_multibyte(locale, s, end, 0x7fffffffL,
                          [&](const gl_wchar *wide) { return read_long(locale, wide, base, grouping != 0); });
}

unsigned long gl_mbstoul(gl_locale *locale, const char *s, char **end, int base, int grouping) {
    return read_multibyte(locale, s, end, 0xffffffffUL,
                          [&](const gl_wchar *wide) { return read_unsigned_long(locale, wide, base, grouping != 0); });
}

double gl_mbstod(gl_locale *locale, const char *s, char **end, int grouping) {
    return read_multibyte(locale, s, end, 2147483647.0,
                          [&](const gl_wchar *wide) { return read_real(locale, wide, grouping != 0, false); });
}
