// Blocks of characters at a time, with SSE2: eight characters of the first plane stand as 16-bit codes in a register on the way
// from one form to another. Whatever does not come in runs (surrogate pairs, four-byte characters, errors, the last bytes of a
// buffer) is left to the step by one character.
//
// A block is stored whole, and only those characters of it count that were in the run: up to 64 bytes behind them are overwritten.
#pragma once

#include "unicode/form.h"
#include "util/processor.h"

#include <bit>
#include <initializer_list>
#include <string.h>
#include <tmmintrin.h>

namespace qbgl::unicode {

inline constexpr int BLOCK_CODES = 8;
// What must be left of input and room for a block of any form.
inline constexpr int BLOCK_INPUT = 32, BLOCK_ROOM = 64;

inline __m128i load(const uint8_t *in) { return _mm_loadu_si128(reinterpret_cast<const __m128i *>(in)); }
template <bool WRITE> void store(uintptr_t out, __m128i bytes) {
    if constexpr (WRITE) _mm_storeu_si128(reinterpret_cast<__m128i *>(out), bytes);
}

inline __m128i swapped16(__m128i units) { return _mm_or_si128(_mm_slli_epi16(units, 8), _mm_srli_epi16(units, 8)); }

inline __m128i all16(int value) { return _mm_set1_epi16(static_cast<short>(value)); }
inline __m128i is_zero16(__m128i x) { return _mm_cmpeq_epi16(x, _mm_setzero_si128()); }

// How many of the eight lanes from the first on are all ones.
inline int leading_lanes(__m128i lanes) {
    const auto others = static_cast<unsigned>(_mm_movemask_epi8(lanes)) ^ 0xFFFFU;
    return others == 0 ? BLOCK_CODES : std::countr_zero(others) / 2;
}

// The low halves of eight 32-bit values.
inline __m128i narrow32(__m128i first, __m128i second) {
    const auto low = [](__m128i x) { return _mm_srai_epi32(_mm_slli_epi32(x, 16), 16); };
    return _mm_packs_epi32(low(first), low(second));
}

// Eight codes of the first plane as a form of whole units.
template <UnicodeForm TARGET, bool WRITE> void store_codes(uintptr_t out, __m128i codes) {
    static_assert(TARGET != UnicodeForm::UTF8);
    if constexpr (is_big_endian(TARGET)) codes = swapped16(codes);
    if constexpr (unit_of(TARGET) == 2) {
        store<WRITE>(out, codes);
    } else {
        const __m128i zero = _mm_setzero_si128();
        const bool high_first = is_big_endian(TARGET);
        store<WRITE>(out, high_first ? _mm_unpacklo_epi16(zero, codes) : _mm_unpacklo_epi16(codes, zero));
        store<WRITE>(out + 16, high_first ? _mm_unpackhi_epi16(zero, codes) : _mm_unpackhi_epi16(codes, zero));
    }
}

// Eight units as codes; `valid` has ones in the lanes that are characters of the first plane.
template <UnicodeForm SOURCE> __m128i load_codes(const uint8_t *in, __m128i &valid) {
    static_assert(SOURCE != UnicodeForm::UTF8);
    __m128i codes, high;
    if constexpr (unit_of(SOURCE) == 2) {
        codes = is_big_endian(SOURCE) ? swapped16(load(in)) : load(in);
        high = _mm_setzero_si128();
    } else {
        const __m128i first = load(in), second = load(in + 16);
        const __m128i even = narrow32(first, second), odd = narrow32(_mm_srli_epi32(first, 16), _mm_srli_epi32(second, 16));
        codes = is_big_endian(SOURCE) ? swapped16(odd) : even;
        high = is_big_endian(SOURCE) ? even : odd;
    }
    const __m128i surrogate = _mm_cmpeq_epi16(_mm_and_si128(codes, all16(0xF800)), all16(0xD800));
    valid = _mm_andnot_si128(surrogate, is_zero16(high));
    return codes;
}

// A place in both texts while blocks run.
struct BlockPosition {
    const uint8_t *in;
    uintptr_t out; // an address, or a mere count when measuring
};

// For each set of eight lanes of 16 bits: the shuffle that moves those in it to the front, and how many they are.
struct LaneSets {
    alignas(16) uint8_t shuffles[256][16];
    uint8_t counts[256];
};
consteval LaneSets list_lane_sets() {
    LaneSets sets = {};
    for (unsigned set = 0; set < 256; ++set) {
        uint8_t count = 0;
        for (uint8_t lane = 0; lane < 8; ++lane) {
            if ((set >> lane & 1) == 0) continue;
            sets.shuffles[set][2 * count] = static_cast<uint8_t>(2 * lane);
            sets.shuffles[set][2 * count + 1] = static_cast<uint8_t>(2 * lane + 1);
            ++count;
        }
        sets.counts[set] = count;
    }
    return sets;
}
inline constexpr LaneSets LANE_SETS = list_lane_sets();

// Blocks of UTF-8 in which characters of one and two bytes come in any order, where the processor can shuffle bytes. What a
// character is that begins at a byte is computed for all sixteen bytes of a block; then the lanes of those at which none begins are
// dropped.
template <UnicodeForm TARGET, bool WRITE> class MixedUtf8 {
  public:
    // Converts block after block, until one has anything else or nothing but ASCII, for which there is a shorter way, or input or
    // room get short. False when that is already the first.
    __attribute__((target("ssse3"))) static bool run(BlockPosition &at, const uint8_t *in_end, uintptr_t out_end) {
        const uint8_t *in = at.in;
        uintptr_t out = at.out;
        while (in_end - in >= BLOCK_INPUT && out_end - out >= BLOCK_ROOM) {
            const __m128i block = load(in), next = load(in + 1), zero = _mm_setzero_si128(); // the last character may end behind it
            const unsigned beyond_7f = mask_of(block), trails = mask_of(_mm_cmplt_epi8(block, all8(0xC0)));
            const unsigned leads = beyond_7f & ~trails;
            const __m128i is_wrong = _mm_or_si128(_mm_cmpeq_epi8(_mm_max_epu8(block, all8(0xE0)), block),
                                                  _mm_cmpeq_epi8(_mm_and_si128(block, all8(0xFE)), all8(0xC0)));
            const unsigned overlaps = leads >> 15, all_trails = trails | (static_cast<int8_t>(in[16]) < -0x40 ? overlaps << 16 : 0);
            if (((leads << 1) ^ all_trails) != 0 || mask_of(is_wrong) != 0 || leads == 0) break;
            const unsigned starts = ~trails;
            out += put(out, codes_of(_mm_unpacklo_epi8(block, zero), _mm_unpacklo_epi8(next, zero)), starts & 0xFF);
            out += put(out, codes_of(_mm_unpackhi_epi8(block, zero), _mm_unpackhi_epi8(next, zero)), starts >> 8 & 0xFF);
            in += 16 + overlaps;
        }
        const bool any = in != at.in;
        at = {in, out};
        return any;
    }

  private:
    static __m128i all8(int value) { return _mm_set1_epi8(static_cast<char>(value)); }
    static unsigned mask_of(__m128i bytes) { return static_cast<unsigned>(_mm_movemask_epi8(bytes)); }

    // The first bytes as they are where they are ASCII, and with the second ones as characters where they are not.
    static __m128i codes_of(__m128i first, __m128i second) {
        const __m128i two = _mm_or_si128(_mm_slli_epi16(_mm_and_si128(first, all16(0x1F)), 6), _mm_and_si128(second, all16(0x3F)));
        const __m128i is_one = _mm_cmplt_epi16(first, all16(0x80));
        return _mm_or_si128(_mm_and_si128(is_one, first), _mm_andnot_si128(is_one, two));
    }

    // Stores the codes in a set, and returns their size.
    __attribute__((target("ssse3"))) static unsigned put(uintptr_t out, __m128i codes, unsigned set) {
        store_codes<TARGET, WRITE>(out, _mm_shuffle_epi8(codes, load(LANE_SETS.shuffles[set])));
        return LANE_SETS.counts[set] * unsigned{unit_of(TARGET)};
    }
};

// Runs of a UTF-8 text as whole units.
template <UnicodeForm TARGET, bool WRITE> class FromUtf8 {
  public:
    static constexpr int UNIT = unit_of(TARGET);

    // Converts runs from the place on, until one begins with something else, or input or room get short.
    static void run(BlockPosition &at, const uint8_t *in_end, uintptr_t out_end) {
        const bool mixes = has_ssse3();
        while (in_end - at.in >= BLOCK_INPUT && out_end - at.out >= BLOCK_ROOM) {
            const uint8_t lead = at.in[0];
            if (lead < 0x80)
                ascii(at);
            else if (lead < 0xE0 && mixes && MixedUtf8<TARGET, WRITE>::run(at, in_end, out_end))
                continue;
            else if (const int taken = lead < 0xE0 ? two_bytes(at) : lead < 0xF0 ? three_bytes(at) : 0; taken == 0)
                return;
        }
    }

  private:
    static void advance(BlockPosition &at, int bytes, int codes) {
        at.in += bytes;
        at.out += static_cast<unsigned>(codes * UNIT);
    }

    static void ascii(BlockPosition &at) {
        const __m128i bytes = load(at.in), zero = _mm_setzero_si128();
        store_codes<TARGET, WRITE>(at.out, _mm_unpacklo_epi8(bytes, zero));
        store_codes<TARGET, WRITE>(at.out + BLOCK_CODES * UNIT, _mm_unpackhi_epi8(bytes, zero));
        // The whole block is a case of its own: with a constant step the next load need not wait for the comparison.
        if (const auto others = static_cast<unsigned>(_mm_movemask_epi8(bytes)); others == 0)
            advance(at, 16, 16);
        else
            advance(at, std::countr_zero(others), std::countr_zero(others));
    }

    // Pairs 110xxxxx 10xxxxxx, from U+0080 on. As 16-bit values the lead is the low byte.
    static int two_bytes(BlockPosition &at) {
        const __m128i pairs = load(at.in);
        const __m128i form = _mm_cmpeq_epi16(_mm_and_si128(pairs, all16(0xC0E0)), all16(0x80C0));
        const __m128i overlong = is_zero16(_mm_and_si128(pairs, all16(0x001E)));
        const __m128i codes = _mm_or_si128(_mm_slli_epi16(_mm_and_si128(pairs, all16(0x001F)), 6),
                                           _mm_and_si128(_mm_srli_epi16(pairs, 8), all16(0x003F)));
        store_codes<TARGET, WRITE>(at.out, codes);
        const int taken = leading_lanes(_mm_andnot_si128(overlong, form));
        advance(at, 2 * taken, taken);
        // Words end in a blank: taken along, it spares a block of its own.
        if (taken < BLOCK_CODES && at.in[0] < 0x80) {
            if constexpr (WRITE) put_unit<TARGET>(reinterpret_cast<uint8_t *>(at.out), at.in[0]);
            advance(at, 1, 1);
            return taken + 1;
        }
        return taken;
    }

    // Four characters 1110xxxx 10xxxxxx 10xxxxxx as 32-bit values, the lead the lowest byte.
    static __m128i gather(const uint8_t *in) {
        int32_t values[4];
        for (int i = 0; i < 4; ++i) memcpy(&values[i], in + 3 * i, sizeof values[i]);
        return _mm_set_epi32(values[3], values[2], values[1], values[0]);
    }
    static __m128i has_form(__m128i characters) {
        return _mm_cmpeq_epi32(_mm_and_si128(characters, _mm_set1_epi32(0x00C0C0F0)), _mm_set1_epi32(0x008080E0));
    }
    static __m128i codes_of(__m128i characters) {
        const auto bits = [characters](int mask) { return _mm_and_si128(characters, _mm_set1_epi32(mask)); };
        return _mm_or_si128(_mm_or_si128(_mm_slli_epi32(bits(0x0F), 12), _mm_srli_epi32(bits(0x3F00), 2)),
                            _mm_srli_epi32(bits(0x3F0000), 16));
    }

    static int three_bytes(BlockPosition &at) {
        const __m128i first = gather(at.in), second = gather(at.in + 12);
        const __m128i codes = narrow32(codes_of(first), codes_of(second));
        const __m128i form = _mm_packs_epi32(has_form(first), has_form(second));
        const __m128i page = _mm_and_si128(codes, all16(0xF800)); // 0: overlong
        const __m128i wrong = _mm_or_si128(is_zero16(page), _mm_cmpeq_epi16(page, all16(0xD800)));
        store_codes<TARGET, WRITE>(at.out, codes);
        const int taken = leading_lanes(_mm_andnot_si128(wrong, form));
        advance(at, 3 * taken, taken);
        return taken;
    }
};

// Runs of whole units as UTF-8.
template <UnicodeForm SOURCE, bool WRITE> class ToUtf8 {
  public:
    static constexpr int UNIT = unit_of(SOURCE);

    static void run(BlockPosition &at, const uint8_t *in_end, uintptr_t out_end) {
        while (in_end - at.in >= BLOCK_INPUT && out_end - at.out >= BLOCK_ROOM) {
            __m128i valid;
            const __m128i codes = load_codes<SOURCE>(at.in, valid);
            const int ascii = leading_lanes(_mm_and_si128(valid, is_zero16(_mm_and_si128(codes, all16(0xFF80)))));
            if (ascii > 0) {
                store<WRITE>(at.out, _mm_packus_epi16(codes, codes));
                advance(at, ascii, ascii);
                continue;
            }
            const __m128i below_800 = is_zero16(_mm_and_si128(codes, all16(0xF800)));
            const __m128i above_7f = _mm_cmpgt_epi16(codes, all16(0x7F)); // signed, which does not matter below 0x800
            const int twos = leading_lanes(_mm_and_si128(valid, _mm_and_si128(below_800, above_7f)));
            if (twos > 0) {
                const __m128i lead = _mm_or_si128(_mm_srli_epi16(codes, 6), all16(0x00C0));
                const __m128i tail = _mm_slli_epi16(_mm_and_si128(codes, all16(0x003F)), 8);
                store<WRITE>(at.out, _mm_or_si128(_mm_or_si128(lead, tail), all16(0x8000)));
                advance(at, twos, 2 * twos);
                // Words end in a blank: taken along, it spares a block of its own.
                if (const uint32_t next = twos < BLOCK_CODES ? unit_at<SOURCE>(at.in) : 0x80; next < 0x80) {
                    if constexpr (WRITE) *reinterpret_cast<uint8_t *>(at.out) = static_cast<uint8_t>(next);
                    advance(at, 1, 1);
                }
                continue;
            }
            const int threes = leading_lanes(_mm_andnot_si128(below_800, valid));
            if (threes == 0) return;
            if constexpr (WRITE) write_threes(reinterpret_cast<uint8_t *>(at.out), codes);
            advance(at, threes, 3 * threes);
        }
    }

  private:
    static void advance(BlockPosition &at, int codes, int bytes) {
        at.in += codes * UNIT;
        at.out += static_cast<unsigned>(bytes);
    }

    // Each character is stored as four bytes, the last of which the next one overwrites.
    static void write_threes(uint8_t *out, __m128i codes) {
        const __m128i zero = _mm_setzero_si128();
        int at = 0;
        for (const __m128i four : {_mm_unpacklo_epi16(codes, zero), _mm_unpackhi_epi16(codes, zero)}) {
            const __m128i lead = _mm_srli_epi32(four, 12);
            const __m128i second = _mm_and_si128(_mm_slli_epi32(four, 2), _mm_set1_epi32(0x3F00));
            const __m128i third = _mm_slli_epi32(_mm_and_si128(four, _mm_set1_epi32(0x3F)), 16);
            uint32_t values[4];
            const __m128i characters = _mm_or_si128(_mm_or_si128(lead, second), _mm_or_si128(third, _mm_set1_epi32(0x8080E0)));
            _mm_storeu_si128(reinterpret_cast<__m128i *>(values), characters);
            for (const uint32_t value : values) {
                memcpy(out + at, &value, sizeof value);
                at += 3;
            }
        }
    }
};

// Runs of whole units as others.
template <UnicodeForm SOURCE, UnicodeForm TARGET, bool WRITE> struct BetweenUnits {
    static void run(BlockPosition &at, const uint8_t *in_end, uintptr_t out_end) {
        while (in_end - at.in >= BLOCK_INPUT && out_end - at.out >= BLOCK_ROOM) {
            __m128i valid;
            const __m128i codes = load_codes<SOURCE>(at.in, valid);
            store_codes<TARGET, WRITE>(at.out, codes);
            const int taken = leading_lanes(valid);
            if (taken == 0) return;
            at.in += taken * unit_of(SOURCE);
            at.out += static_cast<unsigned>(taken * unit_of(TARGET));
        }
    }
};

} // namespace qbgl::unicode
