// Upper and lower case.
#include "icu/text.h"
#include "icu/utf8.h"

#include <algorithm>
#include <unicode/uchar.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

using namespace qbgl::icu;

namespace {

enum class Case { UPPER, LOWER };

template <Case TO> int32_t map(UChar *dst, int32_t room, const UChar *src, int32_t length, const char *locale, UErrorCode &status) {
    return TO == Case::UPPER ? u_strToUpper(dst, room, src, length, locale, &status)
                             : u_strToLower(dst, room, src, length, locale, &status);
}

// The one character that a character becomes; itself where it would become several.
template <Case TO> UChar32 map_one(const Locale &locale, UChar32 value) {
    if (locale.has_own_case()) {
        UChar from[U16_MAX_LENGTH], to[U16_MAX_LENGTH];
        int32_t length = 0;
        U16_APPEND_UNSAFE(from, length, value);
        UErrorCode status = U_ZERO_ERROR;
        const int32_t mapped = map<TO>(to, U16_MAX_LENGTH, from, length, locale.name(), status);
        UChar32 result;
        int32_t at = 0;
        if (U_SUCCESS(status) && mapped > 0) {
            U16_NEXT(to, at, mapped, result);
            if (at == mapped) return result;
        }
    }
    return TO == Case::UPPER ? u_toupper(value) : u_tolower(value);
}

template <Case TO> int map_character(void *locale, char *dst, const char *src, int len, int16_t *error) {
    if (locale == nullptr || dst == nullptr || src == nullptr) return fail(error, GL_ENULLPTR, 0);
    if (len < 1) return fail(error, GL_EINVAL, 0);
    const Locale &own = *as_locale(locale);
    Characters characters(own.codeset());
    const Decoded one = characters.decode(src, len);
    if (!one) return fail(error, one.length == CUT ? GL_EINVAL : one.error(), 0);
    char bytes[Codeset::LONGEST]; // dst may be src
    const UChar32 mapped = map_one<TO>(own, one.value);
    int written = mapped != one.value ? characters.encode(bytes, mapped) : NO_CHARACTER;
    if (written == NO_MEMORY) return fail(error, GL_ENOMEM, 0);
    if (written == NO_CHARACTER) { // it has none, or the codeset lacks it
        written = one.length;
        memcpy(bytes, src, static_cast<size_t>(written));
    }
    memcpy(dst, bytes, static_cast<size_t>(written));
    return one.length << 8 | written;
}

template <Case TO> gl_wchar map_value(void *locale, gl_wchar wc, int16_t *error) {
    if (locale == nullptr) return fail(error, GL_ENULLPTR, wc);
    if (wc > UCHAR_MAX_VALUE || U_IS_SURROGATE(wc)) return wc;
    return static_cast<gl_wchar>(map_one<TO>(*as_locale(locale), static_cast<UChar32>(wc)));
}

template <Case TO> int map_values(void *locale, gl_wchar *dst, const gl_wchar *src, int16_t *error) {
    if (locale == nullptr || dst == nullptr || src == nullptr) return fail(error, GL_ENULLPTR, -1);
    do {
        if (*src > UCHAR_MAX_VALUE || U_IS_SURROGATE(*src)) return fail(error, GL_EILSEQ, -1);
        *dst++ = map_value<TO>(locale, *src, error);
    } while (*src++ != 0);
    return 0;
}

// What a text of so many bytes becomes at most; no text of more than an int is made.
int most_bytes(const Locale &locale, int bytes) {
    const int64_t most = int64_t{bytes} * locale.case_growth();
    return most < INT_MAX ? static_cast<int>(most) : INT_MAX;
}

template <Case TO> int map_utf8(const Locale &locale, char *dst, const char *src, int bytes, int16_t *error) {
    if (!is_utf8(src, bytes)) return fail(error, GL_EILSEQ, -1);
    UErrorCode status = U_ZERO_ERROR;
    const auto map_text = TO == Case::UPPER ? ucasemap_utf8ToUpper : ucasemap_utf8ToLower;
    const int32_t written = map_text(locale.case_map(), dst, most_bytes(locale, bytes), src, bytes, &status);
    return U_SUCCESS(status) ? written : fail(error, status == U_MEMORY_ALLOCATION_ERROR ? GL_ENOMEM : GL_ERANGE, -1);
}

// UTF-16 in the codeset; -1 when it lacks a character, or NO_MEMORY.
int encode(Characters &characters, char *dst, const UChar *units, int32_t length) {
    int written = 0;
    for (int32_t i = 0; i < length;) {
        UChar32 value;
        U16_NEXT(units, i, length, value);
        const int bytes = characters.encode(dst + written, value);
        if (bytes <= 0) return bytes == NO_MEMORY ? NO_MEMORY : -1;
        written += bytes;
    }
    return written;
}

// The units that a character becomes by itself; -1 with an error.
constexpr int MOST_UNITS = 8;
template <Case TO> int32_t map_alone(const Locale &locale, UChar (&to)[MOST_UNITS], UChar32 value) {
    UChar from[U16_MAX_LENGTH];
    int32_t length = 0;
    U16_APPEND_UNSAFE(from, length, value);
    UErrorCode status = U_ZERO_ERROR;
    const int32_t mapped = map<TO>(to, MOST_UNITS, from, length, locale.name(), status);
    return U_SUCCESS(status) ? mapped : -1;
}

// A text in UTF-16.
struct Units {
    const UChar *data;
    int32_t length;
};

// The same of a text whose characters are a byte and a unit each, and become one each.
int encode_one_by_one(Characters &characters, char *dst, const UChar *mapped, const char *src, Units source) {
    for (int32_t i = 0; i < source.length; ++i) {
        if (mapped[i] == source.data[i]) {
            dst[i] = src[i];
            continue;
        }
        const int made = characters.encode(dst + i, mapped[i]);
        if (made != 1) return made == NO_MEMORY ? NO_MEMORY : -1;
    }
    return source.length;
}

// The mapped text in the codeset; -1 when it lacks a character, or NO_MEMORY. A codeset may have a character twice: those that are
// the same in both texts keep the bytes of src.
template <Case TO>
int encode_mapped(const Locale &locale, Characters &characters, char *dst, Units mapped, const char *src, int bytes, Units source) {
    if (source.length == bytes && mapped.length == bytes && locale.codeset().kind() == Codeset::Kind::SINGLE_BYTE)
        return encode_one_by_one(characters, dst, mapped.data, src, source);
    int written = 0;
    int32_t from = 0, to = 0;
    for (int at = 0; at < bytes && from < source.length && to < mapped.length;) {
        const Decoded one = characters.decode(src + at, bytes - at);
        UChar32 value, other;
        U16_NEXT(source.data, from, source.length, value);
        if (!one || one.value != value) return one.length == NO_MEMORY ? NO_MEMORY : -1;
        int32_t next = to;
        U16_NEXT(mapped.data, next, mapped.length, other);
        if (other == value) {
            for (int i = 0; i < one.length; ++i) dst[written++] = src[at + i];
        } else {
            UChar alone[MOST_UNITS];
            if (mapped.length != source.length) next = to + std::max(next - to, map_alone<TO>(locale, alone, value));
            next = std::min(next, mapped.length);
            const int made = encode(characters, dst + written, mapped.data + to, next - to);
            if (made < 0) return made;
            written += made;
        }
        at += one.length;
        to = next;
    }
    const int rest = encode(characters, dst + written, mapped.data + to, mapped.length - to);
    return rest < 0 ? rest : written + rest;
}

// Character by character, each as it is where the codeset lacks what it becomes.
template <Case TO> int map_what_can_be(const Locale &locale, Characters &characters, char *dst, const char *src, int bytes) {
    int written = 0;
    for (int at = 0; at < bytes;) {
        const Decoded one = characters.decode(src + at, bytes - at);
        UChar to[MOST_UNITS];
        const int32_t mapped = map_alone<TO>(locale, to, one.value);
        UChar32 first = -1;
        int32_t units = 0;
        if (mapped == U16_LENGTH(one.value)) U16_NEXT(to, units, mapped, first);
        char text[MOST_UNITS * Codeset::LONGEST];
        const int made = mapped >= 0 && first != one.value ? encode(characters, text, to, mapped) : -1;
        memcpy(dst + written, made >= 0 ? text : src + at, static_cast<size_t>(made >= 0 ? made : one.length));
        written += made >= 0 ? made : one.length;
        at += one.length;
    }
    return written;
}

template <Case TO> int map_text(void *handle, char *dst, const char *src, int16_t *error) {
    if (handle == nullptr || dst == nullptr || src == nullptr) return fail(error, GL_ENULLPTR, -1);
    const Locale &locale = *as_locale(handle);
    const int bytes = bytes_of(src, TERMINATED);
    int written;
    if (locale.codeset().kind() == Codeset::Kind::UTF8) {
        written = map_utf8<TO>(locale, dst, src, bytes, error);
        if (written < 0) return written;
    } else {
        Characters characters(locale.codeset());
        Utf16 units, mapped;
        int16_t number = GL_ENOMEM;
        const int length = characters.to_utf16(src, bytes, units, number);
        if (length < 0) return fail(error, number, -1);
        constexpr size_t MOST_OF_ONE = 3;
        if (!mapped.reserve(MOST_OF_ONE * static_cast<size_t>(length) + 1)) return fail(error, GL_ENOMEM, -1);
        UErrorCode status = U_ZERO_ERROR;
        const int32_t made =
            map<TO>(mapped.data(), static_cast<int32_t>(mapped.capacity()), units.data(), length, locale.name(), status);
        if (U_FAILURE(status)) return fail(error, status == U_MEMORY_ALLOCATION_ERROR ? GL_ENOMEM : GL_ERANGE, -1);
        written = encode_mapped<TO>(locale, characters, dst, {mapped.data(), made}, src, bytes, {units.data(), length});
        if (written == NO_MEMORY) return fail(error, GL_ENOMEM, -1);
        if (written < 0) written = map_what_can_be<TO>(locale, characters, dst, src, bytes);
    }
    dst[written] = '\0';
    return written;
}

} // namespace

int glu_mbtoupper(void *locale, char *dst, const char *src, int len, int16_t *error) {
    return map_character<Case::UPPER>(locale, dst, src, len, error);
}
int glu_mbtolower(void *locale, char *dst, const char *src, int len, int16_t *error) {
    return map_character<Case::LOWER>(locale, dst, src, len, error);
}
gl_wchar glu_uc32toupper(void *locale, gl_wchar wc, int16_t *error) { return map_value<Case::UPPER>(locale, wc, error); }
gl_wchar glu_uc32tolower(void *locale, gl_wchar wc, int16_t *error) { return map_value<Case::LOWER>(locale, wc, error); }
int glu_ucs32toupper(void *locale, gl_wchar *dst, const gl_wchar *src, int16_t *error) {
    return map_values<Case::UPPER>(locale, dst, src, error);
}
int glu_ucs32tolower(void *locale, gl_wchar *dst, const gl_wchar *src, int16_t *error) {
    return map_values<Case::LOWER>(locale, dst, src, error);
}
int glu_mbstoupper(void *locale, char *dst, const char *src, int16_t *error) {
    return map_text<Case::UPPER>(locale, dst, src, error);
}
int glu_mbstolower(void *locale, char *dst, const char *src, int16_t *error) {
    return map_text<Case::LOWER>(locale, dst, src, error);
}

int glu_case_conv_outbuflen(void *locale, int n) {
    if (locale == nullptr) return -1;
    return n > 0 ? most_bytes(*as_locale(locale), n) : 0;
}
