// One character at a time: decoding, encoding, lengths.
#include "ext/error.h"
#include "mbwc/decode_plain.h"
#include "qbnxdl/entry_points.h"
#include "qbnxdl/served.h"

#include <string.h>

using namespace qbgl;

namespace {

bool served(const gl_locale *locale) { return served_by_extension(locale, GL_CAT_CTYPE); }

const MultiNode *root_of(const gl_locale *locale) { return locale->ctype.codeset_table->root; }

const uint8_t *bytes_of(const char *s) { return reinterpret_cast<const uint8_t *>(s); }

// The length of the character at s, at most n bytes, or -1. Bytes are left to the caller to sum up.
int walk_length(gl_locale *locale, const char *s, int n, Decoded &character) {
    if (n < 1) return fail(locale, GL_EINVAL, -1);
    character = decode(root_of(locale), bytes_of(s), n);
    if (character.length > 0) return character.length;
    return fail(locale, character.length == CUT ? GL_EINVAL : GL_EILSEQ, -1);
}

int decode_served(gl_locale *locale, gl_wchar *pwc, const char *s, int n) {
    return ask_extension(locale, GL_CAT_CTYPE, fn_glu_mbtouc32, -1, locale->glu_handle[GL_CAT_CTYPE], pwc, s, n);
}

// The bytes before the terminator, or -1.
int length_of_text(gl_locale *locale, const char *s) {
    if (locale->single_byte != 0) return static_cast<int>(strlen(s));
    int bytes = 0;
    for (Decoded character;; bytes += character.length) {
        if (walk_length(locale, s + bytes, MAX_KEY, character) < 0) return -1;
        if (character.value == 0) return bytes;
    }
}

int ask_for_length(gl_locale *locale, const char *s, int n) {
    return ask_extension(locale, GL_CAT_CTYPE, fn_glu_mblen, -1, locale->glu_handle[GL_CAT_CTYPE], s, n);
}

} // namespace

// Not static: its arguments are then passed as those of the public functions are, in 32-bit code on the stack, and the fast ways
// before it need not have them all in registers.
namespace qbgl {

[[gnu::noinline]] int decode_by_walk(gl_locale *locale, gl_wchar *pwc, const char *s, int n) {
    if (served(locale)) return decode_served(locale, pwc, s, n);
    Decoded character;
    if (walk_length(locale, s, n, character) < 0) return -1;
    *pwc = character.value;
    return character.value != 0 ? character.length : 0;
}

} // namespace qbgl

namespace {

int decode_continued(gl_locale *locale, gl_wchar *pwc, const char *s, int n) {
    int taken;
    const auto take = [&](gl_wchar value, int length) {
        *pwc = value;
        taken = length;
    };
    return take_plain<TextShape::CONTINUATION>(maps_of(locale)->plain, bytes_of(s), n, take) ? taken
                                                                                             : decode_by_walk(locale, pwc, s, n);
}

} // namespace

int gl_full_mbtowc(gl_locale *locale, gl_wchar *pwc, const char *s, int n) {
    if (s == nullptr) return 0;
    if (n < 1) return fail(locale, GL_EINVAL, -1);
    const CodesetMaps *maps = maps_of(locale);
    if (maps == nullptr || served(locale)) return decode_by_walk(locale, pwc, s, n);
    const unsigned first = bytes_of(s)[0];
    if (maps->single[first] != 0) {
        *pwc = first;
        if (first != 0) return 1;
        asm(""); // keeps this a branch: a result computed from the byte would make the caller's next character wait for it
        return 0;
    }
    if (maps->shape == TextShape::CONTINUATION) return decode_continued(locale, pwc, s, n);
    if (maps->shape != TextShape::ONE_OR_TWO || n < 2) return decode_by_walk(locale, pwc, s, n);
    const unsigned value = first << 8 | bytes_of(s)[1];
    if (maps->plain[value] == 0) return decode_by_walk(locale, pwc, s, n);
    *pwc = value;
    return 2;
}

int _qbx_gl_full_mbtowc(gl_locale *locale, gl_wchar *pwc, const char *s, int n) {
    if (s == nullptr) return 0;
    if (served(locale)) return decode_served(locale, pwc, s, n);
    if (n == -1) {
        n = length_of_text(locale, s);
        if (n == -1) return -1;
    }
    return gl_full_mbtowc(locale, pwc, s, n);
}

int gl_full_wctomb(gl_locale *locale, char *s, gl_wchar wc) {
    if (served(locale)) return ask_extension(locale, GL_CAT_CTYPE, fn_glu_uc32tomb, -1, locale->glu_handle[GL_CAT_CTYPE], s, wc);
    const int length = encode(*locale->ctype.codeset_table, reinterpret_cast<uint8_t *>(s), wc);
    return length != 0 ? length : fail(locale, GL_EILSEQ, -1);
}

int _gl_sl_wctomb(gl_locale *locale, char *buffer, gl_wchar wc) {
    const int length = encode(*locale->collate.character_table, reinterpret_cast<uint8_t *>(buffer), wc);
    return length != 0 ? length : fail(locale, GL_EILSEQ, -1);
}

int gl_full_mblen(gl_locale *locale, const char *s, int n) {
    if (s == nullptr) return 0;
    if (served(locale)) return ask_for_length(locale, s, n);
    Decoded character;
    const int length = walk_length(locale, s, n, character);
    return length > 0 && character.value == 0 ? 0 : length;
}

int _qbx_gl_full_mblen(gl_locale *locale, const char *s, int n) {
    if (s == nullptr) return 0;
    if (served(locale)) {
        const int length = ask_for_length(locale, s, n);
        return length != 0 ? length : locale->ctype.codeset_table->min_length; // NUL, which has a length here
    }
    Decoded character;
    return walk_length(locale, s, n, character);
}

int gl_wclen(gl_locale *locale, gl_wchar wc) {
    if (locale->single_byte != 0) return 1;
    char scratch[MAX_KEY];
    return gl_full_wctomb(locale, scratch, wc);
}
