#include "mbwc/decode_blocks.h"

#include "mbwc/bytes.h"
#include "mbwc/ranges.h"
#include "util/processor.h"

#include <array>
#include <tmmintrin.h>

namespace qbgl {

namespace {

// For each set of eight places: those in it, in order, the first of them repeated to fill up; and how many they are.
struct Places {
    uint8_t place[8];
};

consteval std::array<Places, 256> list_places() {
    std::array<Places, 256> lists = {};
    for (unsigned set = 1; set < 256; ++set) {
        int count = 0;
        for (uint8_t place = 0; place < 8; ++place)
            if ((set >> place & 1) != 0) lists[set].place[count++] = place;
        for (int i = count; i < 8; ++i) lists[set].place[i] = lists[set].place[0];
    }
    return lists;
}

consteval std::array<uint8_t, 256> count_places() {
    std::array<uint8_t, 256> counts = {};
    for (unsigned set = 1; set < 256; ++set) counts[set] = static_cast<uint8_t>(counts[set / 2] + set % 2);
    return counts;
}

constexpr auto PLACES = list_places();
constexpr auto COUNTS = count_places();

// Keeps a value in its register: left alone, the compiler spreads what is summed up over more registers than there are.
template <class T> void keep_in_register(T &value) { asm("" : "+q"(value)); }

// Stores those of the candidates that are in the set, and SLOTS values in all. Returns 1 when all are characters, as looked up with
// their keys.
template <int SLOTS, class Candidate>
uint8_t pick(const Candidate *candidates, const uint16_t *keys, unsigned set, gl_wchar *out, const uint8_t *plain) {
    const uint8_t *places = PLACES[set].place;
    keep_in_register(places);
    uint8_t all_plain = 1;
#pragma GCC unroll 8
    for (int i = 0; i < SLOTS; ++i) {
        const unsigned place = places[i];
        out[i] = candidates[place];
        all_plain &= plain[keys[place]];
        keep_in_register(all_plain);
    }
    return all_plain;
}

__m128i load(const uint8_t *in) { return _mm_loadu_si128(reinterpret_cast<const __m128i *>(in)); }
unsigned mask_of(__m128i bytes) { return static_cast<unsigned>(_mm_movemask_epi8(bytes)); }

template <class T> void store_lanes(T *out, __m128i lanes) { _mm_storeu_si128(reinterpret_cast<__m128i *>(out), lanes); }

// A set of bytes as a range: those from `first` on, `span` of them behind it.
struct ByteRange {
    __m128i first, span;

    explicit ByteRange(LeadRange range)
        : first(_mm_set1_epi8(static_cast<char>(range.first))), span(_mm_set1_epi8(static_cast<char>(range.last - range.first))) {}
    __m128i contains(__m128i bytes) const {
        const __m128i distance = _mm_sub_epi8(bytes, first);
        return _mm_cmpeq_epi8(_mm_min_epu8(distance, span), distance);
    }
};

// The places of bytes that belong to a lead byte before them, when the first byte of the block begins a character. Lead bytes and
// bytes behind them can be the same values: in a row of lead-capable bytes every second one leads. Subtracting such a row from
// itself shifted, in which every second place is filled up, ripples a borrow through it from where it begins.
unsigned trails_of(unsigned leads) {
    constexpr unsigned ODD = 0xAAAAAAAA;
    return ((leads << 1 | ODD) - leads) ^ ODD ^ leads;
}

bool has_work(TextPosition at, const uint8_t *in_end, const gl_wchar *out_end) {
    return in_end - at.in >= BYTES_FOR_BLOCKS && out_end - at.out >= ROOM_FOR_BLOCKS;
}

// Copies bytes below 0x80, a block at a time, until a block has another byte. Where text is mixed, asking this of each block costs
// more, in branches that are predicted wrong, than it spares: it is worth it behind a block of nothing else.
TextPosition copy_ascii(TextPosition at, const uint8_t *in_end, const gl_wchar *out_end) {
    while (has_work(at, in_end, out_end)) {
        const __m128i block = load(at.in);
        if (mask_of(block) != 0) break;
        widen_block(at.out, block);
        at.in += BLOCK;
        at.out += BLOCK;
    }
    return at;
}

} // namespace

template <>
TextPosition decode_blocks<TextShape::ONE_OR_TWO>(const CodesetMaps &maps, TextPosition at, const uint8_t *in_end,
                                                  const gl_wchar *out_end) {
    const ByteRange leads0(maps.leads[0]), leads1(maps.leads[1]);
    const bool two_ranges = maps.leads[1].first <= maps.leads[1].last;
    const uint8_t *const plain = maps.plain;
    while (has_work(at, in_end, out_end)) {
        const __m128i block = load(at.in);
        __m128i is_lead = leads0.contains(block);
        if (two_ranges) is_lead = _mm_or_si128(is_lead, leads1.contains(block));
        const unsigned leads = mask_of(is_lead);
        unsigned starts = ~trails_of(leads) & 0xFFFF;
        const unsigned cut = (starts & leads) >> 15; // the last byte is a lead: left to the next block
        starts &= ~(cut << 15);
        const __m128i next = _mm_srli_si128(block, 1);
        const __m128i low = _mm_or_si128(_mm_and_si128(is_lead, next), _mm_andnot_si128(is_lead, block));
        const __m128i high = _mm_and_si128(is_lead, block);
        uint16_t candidates[BLOCK];
        store_lanes(candidates, _mm_unpacklo_epi8(low, high));
        store_lanes(candidates + 8, _mm_unpackhi_epi8(low, high));
        const unsigned set0 = starts & 0xFF, set1 = starts >> 8;
        const size_t count0 = COUNTS[set0], count1 = COUNTS[set1];
        const uint8_t plain0 = pick<8>(candidates, candidates, set0, at.out, plain);
        const uint8_t plain1 = pick<8>(candidates + 8, candidates + 8, set1, at.out + count0, plain);
        if ((plain0 & plain1) == 0) break;
        at.in += BLOCK - cut;
        at.out += count0 + count1;
        if (starts == 0xFFFF && maps.ascii_plain) at = copy_ascii(at, in_end, out_end);
    }
    return at;
}

namespace {

__m128i all8(unsigned byte) { return _mm_set1_epi8(static_cast<char>(byte)); }
__m128i at_least(__m128i block, unsigned byte) { return _mm_cmpeq_epi8(_mm_max_epu8(block, all8(byte)), block); }
// Where a byte is behind this one.
__m128i behind(__m128i block, unsigned byte) { return _mm_slli_si128(_mm_cmpeq_epi8(block, all8(byte)), 1); }

// A block of text with continuation bytes.
struct ContinuedBlock {
    unsigned starts; // the places at which characters begin
    unsigned last;   // the place at which the first character of the next block does; 0 where the block has something else than
                     // characters of one to three bytes
    // The value of a character stands at its last byte: the two low bytes, and the high one, in 16 bits each.
    __m128i low0, low1, high0, high1;

    // The set of those out of some places at which characters end.
    unsigned ends_from(int place) const { return starts >> (place + 1); }
};

inline ContinuedBlock split_block(const uint8_t *in, bool refuses_surrogates) {
    ContinuedBlock result;
    const __m128i block = load(in);
    const __m128i is_further = _mm_cmplt_epi8(block, all8(0xC0)); // 80 to BF, as signed bytes
    const unsigned further = mask_of(is_further);
    const unsigned starts = ~further & 0xFFFF;
    const unsigned leads = mask_of(block) & starts, leads3 = mask_of(at_least(block, 0xE0));
    // Longer than need be, with the bits of a shorter one: C0, C1, and E0 before a byte below A0. And what is longer than three.
    const __m128i c0_or_c1 = _mm_cmpeq_epi8(_mm_and_si128(block, all8(0xFE)), all8(0xC0));
    const __m128i short_e0 = _mm_and_si128(behind(block, 0xE0), _mm_cmplt_epi8(block, all8(0xA0)));
    __m128i odd = _mm_or_si128(_mm_or_si128(short_e0, c0_or_c1), at_least(block, 0xF0));
    if (refuses_surrogates) odd = _mm_or_si128(odd, _mm_and_si128(behind(block, 0xED), at_least(block, 0xA0)));
    result.starts = starts;
    result.last = 31U - static_cast<unsigned>(__builtin_clz(starts | 1));
    // A character that is cut by the one at `last` lacks the byte that would stand there.
    // The one at `last` itself may be odd: it is left to the next block.
    const unsigned misplaced = (leads << 1 | leads3 << 2) ^ further;
    if (((misplaced | mask_of(odd) << 1) & ((2U << result.last) - 1)) != 0) result.last = 0;

    const __m128i before1 = _mm_and_si128(_mm_slli_si128(block, 1), is_further);
    const __m128i before2 = _mm_and_si128(_mm_slli_si128(before1, 1), is_further);
    const __m128i zero = _mm_setzero_si128();
    result.low0 = _mm_unpacklo_epi8(block, before1), result.low1 = _mm_unpackhi_epi8(block, before1);
    result.high0 = _mm_unpacklo_epi8(before2, zero), result.high1 = _mm_unpackhi_epi8(before2, zero);
    return result;
}

// For each set of four lanes of 32 bits: the shuffle that moves those in it to the front.
struct Shuffles {
    alignas(16) uint8_t bytes[16][16];
};
consteval Shuffles list_shuffles() {
    Shuffles shuffles = {};
    for (unsigned set = 0; set < 16; ++set) {
        int count = 0;
        for (uint8_t lane = 0; lane < 4; ++lane)
            if ((set >> lane & 1) != 0)
                for (uint8_t byte = 0; byte < 4; ++byte) shuffles.bytes[set][count++] = static_cast<uint8_t>(4 * lane + byte);
    }
    return shuffles;
}
constexpr Shuffles SHUFFLES = list_shuffles();

// Stores those of four values that are in a set.
[[gnu::target("ssse3")]] inline gl_wchar *put_set(gl_wchar *out, __m128i values, unsigned set) {
    store_lanes(out, _mm_shuffle_epi8(values, load(SHUFFLES.bytes[set & 15])));
    return out + COUNTS[set & 15];
}

// Where all characters of one to three bytes are some, none has to be looked up.
[[gnu::target("ssse3")]] TextPosition decode_whole_plane(TextPosition at, const uint8_t *in_end, const gl_wchar *out_end) {
    while (has_work(at, in_end, out_end)) {
        const ContinuedBlock block = split_block(at.in, true);
        if (block.last == 0) break;
        gl_wchar *out = at.out;
        out = put_set(out, _mm_unpacklo_epi16(block.low0, block.high0), block.ends_from(0));
        out = put_set(out, _mm_unpackhi_epi16(block.low0, block.high0), block.ends_from(4));
        out = put_set(out, _mm_unpacklo_epi16(block.low1, block.high1), block.ends_from(8));
        out = put_set(out, _mm_unpackhi_epi16(block.low1, block.high1), block.ends_from(12));
        at.in += block.last;
        at.out = out;
        if (block.starts == 0xFFFF) at = copy_ascii(at, in_end, out_end);
    }
    return at;
}

} // namespace

template <>
TextPosition decode_blocks<TextShape::CONTINUATION>(const CodesetMaps &maps, TextPosition at, const uint8_t *in_end,
                                                    const gl_wchar *out_end) {
    if (maps.whole_plane && has_ssse3()) return decode_whole_plane(at, in_end, out_end);
    const uint8_t *const plain = maps.plain;
    while (has_work(at, in_end, out_end)) {
        const ContinuedBlock block = split_block(at.in, false);
        if (block.last == 0) break;
        gl_wchar candidates[BLOCK];
        store_lanes(candidates, _mm_unpacklo_epi16(block.low0, block.high0));
        store_lanes(candidates + 4, _mm_unpackhi_epi16(block.low0, block.high0));
        store_lanes(candidates + 8, _mm_unpacklo_epi16(block.low1, block.high1));
        store_lanes(candidates + 12, _mm_unpackhi_epi16(block.low1, block.high1));
        // A character's key stands at its last byte, too: 7 bits of one byte; 5 or 4, and 6 of each further one.
        const auto keys_of = [](__m128i last_two, __m128i first) {
            const __m128i middle = _mm_and_si128(_mm_srli_epi16(last_two, 2), _mm_set1_epi16(0xFC0));
            return _mm_or_si128(_mm_or_si128(_mm_and_si128(last_two, _mm_set1_epi16(0x7F)), middle), _mm_slli_epi16(first, 12));
        };
        uint16_t keys[BLOCK];
        store_lanes(keys, keys_of(block.low0, block.high0));
        store_lanes(keys + 8, keys_of(block.low1, block.high1));
        const unsigned set0 = block.ends_from(0) & 0xFF, set1 = block.ends_from(8);
        const size_t count0 = COUNTS[set0], count1 = COUNTS[set1];
        uint8_t plain0, plain1;
        if (count0 <= 4 && count1 <= 4) {
            plain0 = pick<4>(candidates, keys, set0, at.out, plain);
            plain1 = pick<4>(candidates + 8, keys + 8, set1, at.out + count0, plain);
        } else {
            plain0 = pick<8>(candidates, keys, set0, at.out, plain);
            plain1 = pick<8>(candidates + 8, keys + 8, set1, at.out + count0, plain);
        }
        if ((plain0 & plain1) == 0) break;
        at.in += block.last;
        at.out += count0 + count1;
        if (block.starts == 0xFFFF && maps.ascii_plain) at = copy_ascii(at, in_end, out_end);
    }
    return at;
}

} // namespace qbgl
