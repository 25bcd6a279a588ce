// Multibyte text to wide characters.
#include "ext/error.h"
#include "mbwc/bytes.h"
#include "mbwc/decode_blocks.h"
#include "mbwc/decode_plain.h"
#include "mbwc/ranges.h"
#include "qbnxdl/entry_points.h"
#include "qbnxdl/served.h"

using namespace qbgl;

namespace {

// Characters that the arrays do not have, and what is none. Apart from the loops, which it would cost registers.
[[gnu::noinline]] Decoded decode_by_walk(gl_locale *locale, const uint8_t *in, ptrdiff_t limit) {
    const Decoded character = decode(locale->ctype.codeset_table->root, in, limit);
    if (character.length <= 0) set_error(locale, GL_EILSEQ);
    return character;
}

enum class Stop { PAUSE, END_OF_TEXT, END_OF_ROOM, INVALID };

struct Bounds {
    const uint8_t *pause;  // at least one character is decoded, and then as many as begin before this
    const uint8_t *in_end; // null: a NUL character ends the text
    const gl_wchar *out_end;
};

// Decodes character by character.
template <TextShape SHAPE, bool TERMINATED>
[[gnu::noinline]] Stop decode_singly(gl_locale *locale, TextPosition &position, const Bounds &bounds) {
    const uint8_t *const plain = SHAPE != TextShape::OTHER ? maps_of(locale)->plain : nullptr;
    const uint8_t *const pause = bounds.pause, *const in_end = bounds.in_end;
    const gl_wchar *const out_end = bounds.out_end;
    const uint8_t *in = position.in;
    gl_wchar *out = position.out;
    gl_wchar last;
    const auto take = [&](gl_wchar value, int length) {
        *out++ = last = value;
        in += length;
    };
    Stop stop = Stop::PAUSE;
    do {
        const ptrdiff_t limit = TERMINATED ? MAX_KEY : in_end - in;
        if (SHAPE == TextShape::OTHER || !take_plain<SHAPE>(plain, in, limit, take)) {
            const Decoded character = decode_by_walk(locale, in, limit);
            if (character.length <= 0) return Stop::INVALID;
            take(character.value, character.length);
        }
        if (TERMINATED ? last == 0 : in >= in_end) {
            stop = Stop::END_OF_TEXT;
            break;
        }
        if (out == out_end) {
            stop = Stop::END_OF_ROOM;
            break;
        }
    } while (in < pause);
    position = {in, out};
    return stop;
}

// Where terminated text ends, as far as it is looked at ahead; `room` characters of it may be all that is there.
const uint8_t *find_end(const uint8_t *in, ptrdiff_t room) {
    if (room >= SCAN) return find_zero(in, SCAN);
    return find_zero(in, std::min(room * MAX_KEY, page_end(in + room - 1) - in));
}

// Text up to this long goes character by character, before blocks are prepared for.
constexpr int SHORT = 48;

// Decodes text with a length, or with a terminator when `in_end` is null: at least one character, and with room for one. The
// position is behind the last one then.
template <TextShape SHAPE> Stop decode_text(gl_locale *locale, TextPosition &at, const uint8_t *in_end, const gl_wchar *out_end) {
    const bool terminated = in_end == nullptr;
    Bounds bounds = {at.in + SHORT, in_end, out_end};
    if (SHAPE == TextShape::OTHER) bounds.pause = reinterpret_cast<const uint8_t *>(UINTPTR_MAX);
    for (;;) {
        const Stop stop =
            terminated ? decode_singly<SHAPE, true>(locale, at, bounds) : decode_singly<SHAPE, false>(locale, at, bounds);
        if (stop != Stop::PAUSE) return stop;
        if constexpr (SHAPE != TextShape::OTHER) {
            const uint8_t *const bound = terminated ? find_end(at.in, out_end - at.out) : in_end;
            at = decode_blocks<SHAPE>(*maps_of(locale), at, bound, out_end);
            // Where blocks do not serve, a block's length of characters goes singly before they are tried again; then all the rest,
            // the terminator included.
            bounds.pause = bound - at.in >= BYTES_FOR_BLOCKS + BLOCK ? at.in + BLOCK : bound + 1;
        }
    }
}

Stop decode_text(gl_locale *locale, TextPosition &at, const uint8_t *in_end, const gl_wchar *out_end) {
    const CodesetMaps *maps = maps_of(locale);
    const TextShape shape = maps != nullptr ? maps->shape : TextShape::OTHER;
    if (shape == TextShape::ONE_OR_TWO) return decode_text<TextShape::ONE_OR_TWO>(locale, at, in_end, out_end);
    if (shape == TextShape::CONTINUATION) return decode_text<TextShape::CONTINUATION>(locale, at, in_end, out_end);
    return decode_text<TextShape::OTHER>(locale, at, in_end, out_end);
}

} // namespace

int _qbx_gl_im_mbfstowcfs(gl_locale *locale, gl_wchar *dst, const char *src, int len, int n) {
    if (served_by_extension(locale, GL_CAT_CTYPE))
        return ask_extension(locale, GL_CAT_CTYPE, fn_glu_mbstoucs32, -1, locale->glu_handle[GL_CAT_CTYPE], dst, n, src, len);
    const bool terminated = len == -1;
    if (n < 1) return terminated ? 0 : 1;
    const auto *in = reinterpret_cast<const uint8_t *>(src);
    TextPosition at = {in, dst};
    const Stop stop = decode_text(locale, at, terminated ? nullptr : end_of(in, std::max(len, 0)), end_of(dst, n));
    if (stop == Stop::INVALID) return -1;
    const auto stored = static_cast<int>(at.out - dst);
    if (terminated) return stop == Stop::END_OF_TEXT ? stored - 1 : stored;
    return stop == Stop::END_OF_TEXT ? stored : stored + 1;
}

int _gl_im_mbstowcs(gl_locale *locale, gl_wchar *dst, const char *src, int n) {
    return _qbx_gl_im_mbfstowcfs(locale, dst, src, -1, n);
}

int _qbx_gl_is_mbfstowcfs(gl_locale *locale, gl_wchar *dst, const char *src, int len, int n) {
    if (len == -1) return _gl_is_mbstowcs(locale, dst, src, n);
    const auto count = std::min(static_cast<unsigned>(len), static_cast<unsigned>(std::max(n, 0)));
    widen(dst, reinterpret_cast<const uint8_t *>(src), count);
    return static_cast<int>(count);
}

int _gl_is_mbstowcs(gl_locale *, gl_wchar *dst, const char *src, int n) {
    const auto *in = reinterpret_cast<const uint8_t *>(src);
    int stored = 0;
    while (stored < n) {
        const int most = std::min(n - stored, static_cast<int>(SCAN));
        const uint8_t *const stop = find_zero(in, most);
        const auto count = static_cast<int>(stop - in);
        widen(dst + stored, in, static_cast<size_t>(count));
        stored += count;
        in = stop;
        if (count < most) {
            dst[stored] = 0;
            break;
        }
    }
    return stored;
}
