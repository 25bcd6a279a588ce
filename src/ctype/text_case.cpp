// The case of multibyte characters and text.
#include "ctype/case.h"
#include "multi/walk.h"
#include "qbnxdl/entry_points.h"
#include "qbnxdl/served.h"

#include <algorithm>

using namespace qbgl;

namespace {

uint16_t packed(int consumed, int written) { return static_cast<uint16_t>(consumed << 8 | (written & 0xFF)); }

// Encodes a character in the locale's own codeset: the bytes written, or -1 with the error number.
int put(gl_locale *locale, uint8_t *out, gl_wchar wc) {
    const int length = encode(*locale->ctype.codeset_table, out, wc);
    if (length != 0) return length;
    set_error(locale, GL_EILSEQ);
    return -1;
}

// The character in the other case, or 0 where it has none.
template <Case TO> gl_wchar other_case(const gl_ctype_info &info, const void *entry) {
    const uint16_t pair = value_at(entry);
    return pair != 0 ? in_case<TO>(info.case_pairs[pair]) : 0;
}

uint16_t copy_character(char *dst, const char *src, int length) {
    memmove(dst, src, static_cast<size_t>(length));
    return packed(length, length);
}

template <Case TO> uint16_t character(gl_locale *locale, char *dst, const char *src) {
    if (served_by_extension(locale, GL_CAT_CTYPE)) {
        const auto ask = TO == Case::UPPER ? fn_glu_mbtoupper : fn_glu_mbtolower;
        return static_cast<uint16_t>(ask_extension(locale, GL_CAT_CTYPE, ask, 0, locale->glu_handle[GL_CAT_CTYPE], dst, src, 4));
    }
    int length;
    const void *entry = _gl_retrieve_text_multi(src, locale->ctype.case_table, &length, locale);
    const gl_wchar mapped = entry != nullptr ? other_case<TO>(locale->ctype, entry) : 0;
    return mapped != 0 ? packed(length, put(locale, reinterpret_cast<uint8_t *>(dst), mapped)) : copy_character(dst, src, length);
}

// Without a way to the extension: the string caches fold with a locale's own tables.
template <Case TO> uint16_t counted_character(gl_locale *locale, char *dst, const char *src, int len) {
    int length;
    const void *entry = _gl_retrieve_text_multi_limit(src, locale->ctype.case_table, len, &length, locale);
    if (entry == nullptr) return 0;
    const gl_wchar mapped = other_case<TO>(locale->ctype, entry);
    return mapped != 0 ? packed(length, put(locale, reinterpret_cast<uint8_t *>(dst), mapped)) : copy_character(dst, src, length);
}

int single_byte_text(const uint8_t *map, char *dst, const char *src) {
    const auto *in = reinterpret_cast<const uint8_t *>(src);
    auto *out = reinterpret_cast<uint8_t *>(dst);
    const size_t length = strlen(src);
    for (size_t i = 0; i < length; ++i) out[i] = map[in[i]];
    out[length] = 0;
    return static_cast<int>(length);
}

// Maps one-byte characters up to the next byte that is none, and returns how many. Apart, so that the loop has the registers.
[[gnu::noinline]] size_t map_bytes(const uint8_t *map, uint8_t *out, const uint8_t *in) {
    size_t count = 0;
    for (uint8_t byte; (byte = map[in[count]]) != 0; ++count) out[count] = byte;
    return count;
}

// The place in the arrays of the character of two or three bytes at `in`, 0 for any other. A byte is read only when the one before
// it does not end the text.
[[gnu::always_inline]] inline uint32_t find_place(const CodesetMaps &maps, const uint8_t *in, int &length) {
    if (in[0] == 0 || in[0] >= maps.case_pages) return 0;
    length = 2;
    uint32_t place = maps.page_blocks[in[0]] * 256u + in[1];
    if (is_valid(maps.valid, place)) return place;
    const uint32_t page = static_cast<uint32_t>(in[0]) << 8 | in[1];
    if (in[1] == 0 || page >= maps.case_pages) return 0;
    length = 3;
    place = maps.page_blocks[page] * 256u + in[2];
    return is_valid(maps.valid, place) ? place : 0;
}

// Encodes one of the pairs' characters, all of which can be, in a codeset that has one-byte characters.
uint8_t *put_known(uint8_t *out, gl_wchar wc) {
    if (wc > 0xFFFFFF) *out++ = static_cast<uint8_t>(wc >> 24);
    if (wc > 0xFFFF) *out++ = static_cast<uint8_t>(wc >> 16);
    if (wc > 0xFF) *out++ = static_cast<uint8_t>(wc >> 8);
    *out++ = static_cast<uint8_t>(wc);
    return out;
}

// Maps any character but the terminator. 0 with the error number for what is no character.
template <Case TO> [[gnu::noinline]] uint16_t map_character(gl_locale *locale, uint8_t *out, const uint8_t *in) {
    const gl_ctype_info &info = locale->ctype;
    int length;
    const void *entry = _gl_retrieve_text_multi(reinterpret_cast<const char *>(in), info.case_table, &length, locale);
    if (entry == nullptr) return 0;
    const gl_wchar mapped = other_case<TO>(info, entry);
    if (mapped != 0) return packed(length, put(locale, out, mapped));
    for (int i = 0; i < length; ++i) out[i] = in[i];
    return packed(length, length);
}

template <Case TO> int multibyte_text(gl_locale *locale, char *dst, const char *src) {
    const gl_ctype_info &info = locale->ctype;
    const auto terminator_length = static_cast<size_t>(info.codeset_table->min_length);
    const CodesetMaps &maps = info.maps != nullptr && terminator_length == 1 ? *maps_of(locale) : NO_MAPS;
    const uint8_t *const bytes = byte_map<TO>(maps);
    const auto *in = reinterpret_cast<const uint8_t *>(src);
    auto *const begin = reinterpret_cast<uint8_t *>(dst), *out = begin;
    for (;;) {
        if (bytes[*in] != 0) {
            const size_t run = map_bytes(bytes, out, in);
            in += run;
            out += run;
        }
        int length = 0;
        if (const uint32_t place = find_place(maps, in, length)) {
            const gl_wchar mapped = in_case<TO>(info.case_pairs[maps.cells[place].case_pair]);
            if (mapped != 0) {
                out = put_known(out, mapped);
            } else {
                *out++ = in[0];
                *out++ = in[1];
                if (length == 3) *out++ = in[2];
            }
            in += length;
            continue;
        }
        if (*in == 0 && std::all_of(in, in + terminator_length, [](uint8_t byte) { return byte == 0; })) break;
        const uint16_t moved = map_character<TO>(locale, out, in);
        if (moved == 0) return -1;
        in += moved >> 8;
        out = std::max(begin, out + static_cast<int8_t>(moved & 0xFF)); // a failure counts -1, but never to before the beginning
    }
    memset(out, 0, terminator_length);
    return static_cast<int>(out - begin);
}

// One character of a text with a length.
struct Mapped {
    int length;  // bytes read
    int written; // to the buffer; 0 after a failure
};

template <Case TO> Mapped map_by_extension(gl_locale *locale, uint8_t *out, const uint8_t *in, int limit) {
    const auto ask = TO == Case::UPPER ? fn_glu_mbtoupper : fn_glu_mbtolower;
    const int packed =
        static_cast<uint16_t>(ask_extension(locale, GL_CAT_CTYPE, ask, 0, locale->glu_handle[GL_CAT_CTYPE],
                                            reinterpret_cast<char *>(out), reinterpret_cast<const char *>(in), limit));
    const Mapped result = {packed >> 8, packed & 0xFF};
    return result.length >= 1 && result.length <= limit && result.written <= MAX_KEY ? result : Mapped{0, 0};
}

// Maps a character of at most `limit` bytes into a buffer of MAX_KEY. A failure has its error number set.
template <Case TO> Mapped map_limited(gl_locale *locale, uint8_t *out, const uint8_t *in, int limit) {
    const gl_ctype_info &info = locale->ctype;
    const int shortest = info.codeset_table->min_length;
    if (limit >= shortest && std::all_of(in, in + shortest, [](uint8_t byte) { return byte == 0; })) {
        memset(out, 0, static_cast<size_t>(shortest));
        return {shortest, shortest};
    }
    if (served_by_extension(locale, GL_CAT_CTYPE)) return map_by_extension<TO>(locale, out, in, std::min(limit, MAX_KEY));
    int length = 0;
    const void *entry = _gl_retrieve_text_multi_limit(reinterpret_cast<const char *>(in), info.case_table, limit, &length, locale);
    if (entry == nullptr) return {0, 0};
    const gl_wchar mapped = other_case<TO>(info, entry);
    if (mapped != 0) return {length, std::max(put(locale, out, mapped), 0)};
    memcpy(out, in, static_cast<size_t>(length));
    return {length, length};
}

int counted_single_byte_text(gl_locale *locale, const uint8_t *map, char *dst, int room, const char *src, int len) {
    if (len > room) return fail(locale, GL_E2BIG, -1);
    std::transform(src, src + len, dst, [map](char byte) { return static_cast<char>(map[static_cast<uint8_t>(byte)]); });
    return len;
}

template <Case TO> int counted_multibyte_text(gl_locale *locale, char *dst, int room, const char *src, int len) {
    const gl_ctype_info &info = locale->ctype;
    const bool by_arrays =
        info.maps != nullptr && info.codeset_table->min_length == 1 && !served_by_extension(locale, GL_CAT_CTYPE);
    const CodesetMaps &maps = by_arrays ? *maps_of(locale) : NO_MAPS;
    const uint8_t *const bytes = byte_map<TO>(maps);
    const auto *in = reinterpret_cast<const uint8_t *>(src), *const end = in + len;
    auto *const begin = reinterpret_cast<uint8_t *>(dst), *out = begin, *const out_end = begin + room;
    while (in != end) {
        uint8_t byte;
        for (const uint8_t *const stop = in + std::min(end - in, out_end - out); in != stop && (byte = bytes[*in]) != 0; ++in)
            *out++ = byte;
        if (in == end) break;
        uint8_t character[MAX_KEY];
        Mapped mapped = {0, 0};
        if (const uint32_t place = end - in > 2 ? find_place(maps, in, mapped.length) : 0) {
            const gl_wchar other = in_case<TO>(info.case_pairs[maps.cells[place].case_pair]);
            if (other == 0) memcpy(character, in, MAX_KEY - 1);
            mapped.written = other == 0 ? mapped.length : static_cast<int>(put_known(character, other) - character);
        } else {
            mapped = map_limited<TO>(locale, character, in, static_cast<int>(end - in));
        }
        if (mapped.written == 0) return -1;
        if (mapped.written > out_end - out) return fail(locale, GL_E2BIG, -1);
        out = std::copy_n(character, mapped.written, out);
        in += mapped.length;
    }
    return static_cast<int>(out - begin);
}

// -1 with the error number for bytes that are no character.
int bytes_before_terminator(gl_locale *locale, const char *s) {
    if (locale->single_byte != 0) return static_cast<int>(strlen(s));
    int bytes = 0, length;
    while ((length = gl_full_mblen(locale, s + bytes, MAX_KEY)) > 0) bytes += length;
    return length < 0 ? -1 : bytes;
}

template <Case TO> int counted_text(gl_locale *locale, char *dst, int room, const char *src, int len) {
    if (src == nullptr) return fail(locale, GL_ENULLPTR, -1);
    if (room < 0 || len < -1) return fail(locale, GL_EBADARG, -1);
    if (len == -1) len = bytes_before_terminator(locale, src);
    if (len < 0) return -1;
    const uint8_t *map = byte_map<TO>(locale);
    return locale->single_byte != 0 && map != nullptr ? counted_single_byte_text(locale, map, dst, room, src, len)
                                                      : counted_multibyte_text<TO>(locale, dst, room, src, len);
}

template <Case TO> int text(gl_locale *locale, char *dst, const char *src) {
    if (served_by_extension(locale, GL_CAT_CTYPE)) {
        const auto ask = TO == Case::UPPER ? fn_glu_mbstoupper : fn_glu_mbstolower;
        return ask_extension(locale, GL_CAT_CTYPE, ask, -1, locale->glu_handle[GL_CAT_CTYPE], dst, src);
    }
    const uint8_t *map = byte_map<TO>(locale);
    return locale->single_byte != 0 && map != nullptr ? single_byte_text(map, dst, src) : multibyte_text<TO>(locale, dst, src);
}

} // namespace

uint16_t _gl_im_tomupper(gl_locale *locale, char *dst, const char *src) { return character<Case::UPPER>(locale, dst, src); }
uint16_t _gl_im_tomlower(gl_locale *locale, char *dst, const char *src) { return character<Case::LOWER>(locale, dst, src); }

uint16_t _qbx_gl_im_tomupper(gl_locale *locale, char *dst, const char *src, int len) {
    return counted_character<Case::UPPER>(locale, dst, src, len);
}
uint16_t _qbx_gl_im_tomlower(gl_locale *locale, char *dst, const char *src, int len) {
    return counted_character<Case::LOWER>(locale, dst, src, len);
}

int gl_tombsupper(gl_locale *locale, char *dst, const char *src) { return text<Case::UPPER>(locale, dst, src); }
int gl_tombslower(gl_locale *locale, char *dst, const char *src) { return text<Case::LOWER>(locale, dst, src); }

int gl_tombfsupper(gl_locale *locale, char *dst, int room, const char *src, int len) {
    return counted_text<Case::UPPER>(locale, dst, room, src, len);
}
int gl_tombfslower(gl_locale *locale, char *dst, int room, const char *src, int len) {
    return counted_text<Case::LOWER>(locale, dst, room, src, len);
}
