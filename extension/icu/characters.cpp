// One character at a time.
#include "icu/text.h"
#include "icu/utf8.h"

#include <unicode/utf16.h>

using namespace qbgl::icu;

namespace {

// Of s at most n bytes are read, or what a terminated text has. The bytes of the character, 0 for NUL, -1 with an error.
template <class Take> int decode_one(void *locale, const char *s, int n, int16_t *error, Take take) {
    if (locale == nullptr) return fail(error, GL_ENULLPTR, -1);
    if (s == nullptr) return 0;
    if (n == TERMINATED ? *s == '\0' : n < 1) return fail(error, GL_EINVAL, -1);
    const Decoded one = Characters(as_locale(locale)->codeset()).decode(s, readable(n));
    if (!one) return fail(error, one.length == CUT && n != TERMINATED ? GL_EINVAL : one.error(), -1);
    take(one.value);
    return one.value != 0 ? one.length : 0;
}

int encode_one(void *locale, char *s, UChar32 value, int16_t *error) {
    const int length = Characters(as_locale(locale)->codeset()).encode(s, value);
    return length > 0 ? length : fail(error, length == NO_MEMORY ? GL_ENOMEM : GL_EILSEQ, -1);
}

} // namespace

int glu_mbtouc32(void *locale, gl_wchar *wc, const char *s, int n, int16_t *error) {
    return decode_one(locale, s, n, error, [&](UChar32 value) {
        if (wc != nullptr) *wc = static_cast<gl_wchar>(value);
    });
}

int glu_mbtouc(void *locale, uint16_t *units, const char *s, int n, int16_t *error) {
    return decode_one(locale, s, n, error, [&](UChar32 value) {
        int32_t count = 0;
        if (units != nullptr) U16_APPEND_UNSAFE(units, count, value);
    });
}

int glu_uc32tomb(void *locale, char *s, gl_wchar wc, int16_t *error) {
    if (locale == nullptr || s == nullptr) return fail(error, GL_ENULLPTR, -1);
    return encode_one(locale, s, static_cast<UChar32>(wc), error);
}

int glu_uctomb(void *locale, char *s, const uint16_t *units, int16_t *error) {
    if (locale == nullptr || s == nullptr || units == nullptr) return fail(error, GL_ENULLPTR, -1);
    UChar32 value = units[0];
    if (U16_IS_LEAD(value) && U16_IS_TRAIL(units[1])) value = U16_GET_SUPPLEMENTARY(value, units[1]);
    return encode_one(locale, s, value, error);
}

int glu_mblen(void *locale, const char *s, int n, int16_t *error) {
    if (n == TERMINATED && s != nullptr && locale != nullptr) return fail(error, GL_EINVAL, -1);
    return decode_one(locale, s, n, error, [](UChar32) {});
}

char *glu_mbsnext(void *locale, const char *s, int n, int16_t *error) {
    if (locale == nullptr || s == nullptr) return fail<int16_t, char *>(error, GL_ENULLPTR, nullptr);
    if (n < 1 && n != TERMINATED) return fail<int16_t, char *>(error, GL_EINVAL, nullptr);
    const Decoded one = Characters(as_locale(locale)->codeset()).decode(s, readable(n));
    if (!one) return fail<int16_t, char *>(error, one.length == CUT && n != TERMINATED ? GL_EINVAL : one.error(), nullptr);
    return const_cast<char *>(s) + one.length;
}

char *glu_mbsprev(void *locale, const char *start, const char *pos, int16_t *error) {
    if (locale == nullptr || start == nullptr || pos == nullptr) return fail<int16_t, char *>(error, GL_ENULLPTR, nullptr);
    if (pos <= start) return fail<int16_t, char *>(error, GL_EENDBEFORE, nullptr);
    const Locale &own = *as_locale(locale);
    if (own.codeset().kind() == Codeset::Kind::UTF8) { // characters show where they begin
        const int32_t back = pos - start < Codeset::LONGEST ? static_cast<int32_t>(pos - start) : Codeset::LONGEST;
        const char *const begin = pos - back;
        int32_t i = back;
        UChar32 value;
        U8_PREV(reinterpret_cast<const uint8_t *>(begin), 0, i, value);
        if (value >= 0 && is_utf8(start, static_cast<int>(begin + i - start))) return const_cast<char *>(begin) + i;
    }
    Characters characters(own.codeset());
    for (const char *at = start;;) {
        const Decoded one = characters.decode(at, static_cast<int>(pos - at));
        if (!one) return fail<int16_t, char *>(error, one.length == CUT ? GL_EINVAL : one.error(), nullptr);
        if (at + one.length == pos) return const_cast<char *>(at);
        at += one.length;
    }
}

char *glu_getmbsi(void *locale, const char *s, int i, int16_t *error) {
    if (locale == nullptr || s == nullptr) return fail<int16_t, char *>(error, GL_ENULLPTR, nullptr);
    if (i < 0) return fail<int16_t, char *>(error, GL_ENEGCOUNT, nullptr);
    Characters characters(as_locale(locale)->codeset());
    for (; i > 0; --i) {
        const Decoded one = characters.decode(s, Codeset::LONGEST);
        if (!one) return fail<int16_t, char *>(error, one.error(), nullptr);
        s += one.length;
    }
    return const_cast<char *>(s);
}

char *glu_putmbsi(void *locale, char *s, int i, const char *new_char, int16_t *error) {
    if (new_char == nullptr) return fail<int16_t, char *>(error, GL_ENULLPTR, nullptr);
    char *const place = glu_getmbsi(locale, s, i, error);
    if (place == nullptr) return nullptr;
    Characters characters(as_locale(locale)->codeset());
    const Decoded older = characters.decode(place, Codeset::LONGEST), newer = characters.decode(new_char, Codeset::LONGEST);
    if (!older || !newer) return fail<int16_t, char *>(error, (older ? newer : older).error(), nullptr);
    char bytes[Codeset::LONGEST]; // the new character may stand in the text
    memcpy(bytes, new_char, static_cast<size_t>(newer.length));
    const char *const rest = place + older.length;
    const int size = glu_mbsbytes(locale, rest, error);
    if (size == 0) return nullptr;
    memmove(place + newer.length, rest, static_cast<size_t>(size));
    memcpy(place, bytes, static_cast<size_t>(newer.length));
    return place;
}
