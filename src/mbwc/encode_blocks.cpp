#include "mbwc/encode_blocks.h"

#include "mbwc/ranges.h"

#include <string.h>

namespace qbgl {

namespace {

constexpr int GROUP = 8;
// Three characters behind a group, for a store of four bytes that has to set one only.
constexpr int WIDES_FOR_BLOCKS = GROUP + 3;
constexpr int ROOM_FOR_BLOCKS = GROUP * 3 + 4;

bool has_work(WidePosition at, const gl_wchar *in_end, const uint8_t *out_end) {
    return in_end - at.in >= WIDES_FOR_BLOCKS && out_end - at.out >= ROOM_FOR_BLOCKS;
}

__m128i load(const gl_wchar *in) { return _mm_loadu_si128(reinterpret_cast<const __m128i *>(in)); }

// Whether no value of a group has a bit of these.
bool all_without(const gl_wchar *group, unsigned bits) {
    const __m128i either = _mm_or_si128(load(group), load(group + 4));
    const __m128i found = _mm_and_si128(either, _mm_set1_epi32(static_cast<int>(bits)));
    return _mm_movemask_epi8(_mm_cmpeq_epi32(found, _mm_setzero_si128())) == 0xFFFF;
}

// Copies values below 0x80, GROUP at a time, until a group has another one.
WidePosition copy_ascii(WidePosition at, const gl_wchar *in_end, const uint8_t *out_end) {
    while (has_work(at, in_end, out_end)) {
        if (!all_without(at.in, ~0x7FU)) break;
        const __m128i halves = _mm_packs_epi32(load(at.in), load(at.in + 4));
        _mm_storel_epi64(reinterpret_cast<__m128i *>(at.out), _mm_packus_epi16(halves, halves));
        at.in += GROUP;
        at.out += GROUP;
    }
    return at;
}

template <class T> void store_bytes(uint8_t *out, T bytes) { memcpy(out, &bytes, sizeof bytes); }

// Keeps a value in its register: left alone, the compiler spreads what is summed up over more registers than there are.
template <class T> void keep_in_register(T &value) { asm("" : "+q"(value)); }

// Encodes values of two or three bytes at most. Returns the end of their bytes; null when one is no character.
template <TextShape SHAPE> uint8_t *encode_group(const CodesetMaps &maps, const gl_wchar *in, uint8_t *out);

template <> uint8_t *encode_group<TextShape::ONE_OR_TWO>(const CodesetMaps &maps, const gl_wchar *in, uint8_t *out) {
    const uint8_t *const plain = maps.plain;
    uint8_t all_plain = 1;
#pragma GCC unroll 8
    for (int i = 0; i < GROUP; ++i) {
        const gl_wchar wc = in[i];
        all_plain &= plain[wc];
        keep_in_register(all_plain);
        const unsigned further = wc > 0xFF;
        store_bytes(out, static_cast<uint16_t>(further != 0 ? wc << 8 | wc >> 8 : wc));
        out += 1 + further;
    }
    return all_plain != 0 ? out : nullptr;
}

template <> uint8_t *encode_group<TextShape::CONTINUATION>(const CodesetMaps &maps, const gl_wchar *in, uint8_t *out) {
    const uint16_t *const page_blocks = maps.page_blocks;
    const uint32_t *const valid = maps.valid;
    unsigned all_valid = 1;
#pragma GCC unroll 8
    for (int i = 0; i < GROUP; ++i) {
        const gl_wchar wc = in[i];
        all_valid &= valid[page_blocks[wc >> 8] * 8u + (wc >> 5 & 7)] >> (wc & 31);
        keep_in_register(all_valid);
        const int further = (wc > 0xFF) + (wc > 0xFFFF);
        store_bytes(out, __builtin_bswap32(wc << (24 - 8 * further)));
        out += 1 + further;
    }
    return all_valid != 0 ? out : nullptr;
}

} // namespace

template <TextShape SHAPE>
WidePosition encode_blocks(const CodesetMaps &maps, WidePosition at, const gl_wchar *in_end, const uint8_t *out_end) {
    constexpr unsigned TOO_MUCH = SHAPE == TextShape::ONE_OR_TWO ? 0xFFFF0000 : 0xFF000000;
    while (has_work(at, in_end, out_end)) {
        if (!all_without(at.in, TOO_MUCH)) break;
        uint8_t *const end = encode_group<SHAPE>(maps, at.in, at.out);
        if (end == nullptr) break;
        at = {at.in + GROUP, end};
        if (maps.ascii_plain && all_without(at.in - GROUP, ~0x7FU)) at = copy_ascii(at, in_end, out_end);
    }
    return at;
}

template WidePosition encode_blocks<TextShape::ONE_OR_TWO>(const CodesetMaps &, WidePosition, const gl_wchar *, const uint8_t *);
template WidePosition encode_blocks<TextShape::CONTINUATION>(const CodesetMaps &, WidePosition, const gl_wchar *, const uint8_t *);

} // namespace qbgl
