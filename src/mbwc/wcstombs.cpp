// Wide characters to multibyte text.
#include "ext/error.h"
#include "mbwc/bytes.h"
#include "mbwc/encode_blocks.h"
#include "mbwc/ranges.h"
#include "multi/walk.h"
#include "qbnxdl/entry_points.h"
#include "qbnxdl/served.h"

#include <string.h>

using namespace qbgl;

namespace {

bool served(const gl_locale *locale) { return served_by_extension(locale, GL_CAT_CTYPE); }

int encode_served(gl_locale *locale, char *dst, const gl_wchar *src, int len, int n) {
    return ask_extension(locale, GL_CAT_CTYPE, fn_glu_ucs32tombs, -1, locale->glu_handle[GL_CAT_CTYPE], dst, n, src, len);
}

struct WideText {
    const gl_wchar *in, *end; // the end is null when a zero ends it
};

struct Room {
    uint8_t *begin, *end;
};

// One value is taken even when the length is 0.
WideText text_of(const gl_wchar *src, int len) { return {src, len == -1 ? nullptr : end_of(src, std::max(len, 1))}; }

Room room_of(char *dst, int n) {
    auto *begin = reinterpret_cast<uint8_t *>(dst);
    return {begin, end_of(begin, n)};
}

constexpr ptrdiff_t WIDE_SCAN = SCAN / sizeof(gl_wchar);

// The bytes of a character that the arrays have; 0 for any other.
template <TextShape SHAPE> int plain_length(const CodesetMaps *maps, gl_wchar wc) {
    if (SHAPE == TextShape::ONE_OR_TWO) return wc <= 0xFFFF && maps->plain[wc] != 0 ? 1 + (wc > 0xFF) : 0;
    if (SHAPE == TextShape::CONTINUATION) return maps->has(wc) ? 1 + (wc > 0xFF) + (wc > 0xFFFF) : 0;
    return 0;
}

// Writes the terminator where it fits. Returns the bytes before it.
int terminate(const gl_multi &table, Room room, uint8_t *out) {
    if (table.min_length <= room.end - out) memset(out, 0, static_cast<size_t>(table.min_length));
    return static_cast<int>(out - room.begin);
}

// Where terminated text ends, as far as it is looked at ahead: characters that fill the bytes of room may be all that is there.
const gl_wchar *find_end(const gl_wchar *in, ptrdiff_t room) {
    if (room >= WIDE_SCAN * MAX_KEY) return find_zero(in, WIDE_SCAN);
    return find_zero(in, std::min(room, page_end(in + (room - 1) / MAX_KEY) - in));
}

// Text up to this long goes character by character, before blocks are prepared for.
constexpr int SHORT = 12;

template <TextShape SHAPE> [[gnu::noinline]] int encode_text(gl_locale *locale, const CodesetMaps *maps, WideText text, Room room) {
    const gl_multi &table = *locale->ctype.codeset_table;
    const bool counted = text.end != nullptr;
    const gl_wchar *in = text.in, *pause = in + SHORT;
    uint8_t *out = room.begin;
    for (;;) {
        do {
            const gl_wchar wc = *in;
            if (wc == 0 && !counted) return terminate(table, room, out);
            int length = plain_length<SHAPE>(maps, wc);
            if (length == 0) {
                length = encoded_length(table.min_length, wc);
                if (length > room.end - out) return static_cast<int>(out - room.begin);
                if (!encode(table.root, out, wc, length)) return fail(locale, GL_EILSEQ, -1);
            } else {
                if (length > room.end - out) return static_cast<int>(out - room.begin);
                out[length - 1] = static_cast<uint8_t>(wc);
                if (length > 1) out[length - 2] = static_cast<uint8_t>(wc >> 8);
                if (length > 2) out[0] = static_cast<uint8_t>(wc >> 16);
            }
            out += length;
            ++in;
            if (counted ? in >= text.end : out == room.end) return static_cast<int>(out - room.begin);
        } while (in < pause);
        if constexpr (SHAPE != TextShape::OTHER) {
            const gl_wchar *const bound = counted ? text.end : find_end(in, room.end - out);
            const WidePosition at = encode_blocks<SHAPE>(*maps, {in, out}, bound, room.end);
            in = at.in;
            out = at.out;
        }
        pause = in + SHORT;
    }
}

enum class Above255 { REFUSED, CUT };

// Where every value is one byte.
template <Above255 HIGH> int encode_bytes(gl_locale *locale, WideText text, Room room) {
    const gl_wchar *in = text.in;
    uint8_t *out = room.begin;
    const bool counted = text.end != nullptr;
    while (in != text.end && out != room.end) {
        const ptrdiff_t most = std::min(room.end - out, WIDE_SCAN);
        const gl_wchar *const stop = counted ? in + std::min(most, text.end - in) : find_zero(in, most);
        const auto count = static_cast<size_t>(stop - in);
        if (!narrow(out, in, count) && HIGH == Above255::REFUSED) return fail(locale, GL_EILSEQ, -1);
        out += count;
        in = stop;
        if (!counted && static_cast<ptrdiff_t>(count) < most) return terminate(*locale->ctype.codeset_table, room, out);
    }
    return static_cast<int>(out - room.begin);
}

} // namespace

int _qbx_gl_full_wcstombs(gl_locale *locale, char *dst, const gl_wchar *src, int len, int n) {
    if (served(locale)) return encode_served(locale, dst, src, len, n);
    if (n < 1) return 0;
    const Room room = room_of(dst, n);
    const WideText text = text_of(src, len);
    if (locale->single_byte != 0) return encode_bytes<Above255::CUT>(locale, text, room);
    const CodesetMaps *maps = maps_of(locale);
    const TextShape shape = maps != nullptr ? maps->shape : TextShape::OTHER;
    if (shape == TextShape::ONE_OR_TWO) return encode_text<TextShape::ONE_OR_TWO>(locale, maps, text, room);
    if (shape == TextShape::CONTINUATION) return encode_text<TextShape::CONTINUATION>(locale, maps, text, room);
    return encode_text<TextShape::OTHER>(locale, maps, text, room);
}

int gl_full_wcstombs(gl_locale *locale, char *dst, const gl_wchar *src, int n) {
    return _qbx_gl_full_wcstombs(locale, dst, src, -1, n);
}

int _qbx_gl_is_wcstombs(gl_locale *locale, char *dst, const gl_wchar *src, int len, int n) {
    if (served(locale)) return encode_served(locale, dst, src, len, n);
    return n < 1 ? 0 : encode_bytes<Above255::REFUSED>(locale, text_of(src, len), room_of(dst, n));
}

int _gl_is_wcstombs(gl_locale *locale, char *dst, const gl_wchar *src, int n) {
    return _qbx_gl_is_wcstombs(locale, dst, src, -1, n);
}
