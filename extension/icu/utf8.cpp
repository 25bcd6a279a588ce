// Comparisons ask it of whole texts of which ICU looks at the first letters, so it must cost next to nothing.
#include "icu/utf8.h"

#include <cstdint>
#include <unicode/utf8.h>
#if defined(__i386__) || defined(__x86_64__)
#include <tmmintrin.h>
#define HAS_BLOCKS
#endif

namespace qbgl::icu {
namespace {

bool is_utf8_by_characters(const uint8_t *s, int32_t length) {
    for (int32_t i = 0; i < length;) {
        UChar32 value;
        U8_NEXT(s, i, length, value);
        if (value < 0) return false;
    }
    return true;
}

#ifdef HAS_BLOCKS

// What two bytes in a row can be wrong about, a bit each. A pair is wrong where the high half of the first byte, its low half and
// the high half of the second all allow the same.
enum : uint8_t {
    NO_TRAIL = 1,   // a lead without a trail byte behind it
    NO_LEAD = 2,    // a trail byte behind ASCII
    LONG_3 = 4,     // E0 80..9F: fits two bytes
    HIGH = 8,       // F4 90.. and F5..: above 10FFFF
    SURROGATE = 16, // ED A0..
    LONG_2 = 32,    // C0, C1: fits one byte
    LONG_4 = 64,    // F0 80..8F: fits three bytes; and F5.. 80..8F
    TWO_TRAILS = 128,
    ANY_LOW = NO_TRAIL | NO_LEAD | TWO_TRAILS // which the low half of the first byte says nothing of
};
constexpr uint8_t LATE = ANY_LOW | HIGH | LONG_4, TRAIL = NO_LEAD | LONG_2 | TWO_TRAILS;
alignas(16) constexpr uint8_t FIRST_HIGH[16] = {NO_LEAD,
                                                NO_LEAD,
                                                NO_LEAD,
                                                NO_LEAD,
                                                NO_LEAD,
                                                NO_LEAD,
                                                NO_LEAD,
                                                NO_LEAD,
                                                TWO_TRAILS,
                                                TWO_TRAILS,
                                                TWO_TRAILS,
                                                TWO_TRAILS,
                                                NO_TRAIL | LONG_2,
                                                NO_TRAIL,
                                                NO_TRAIL | LONG_3 | SURROGATE,
                                                NO_TRAIL | HIGH | LONG_4};
alignas(16) constexpr uint8_t FIRST_LOW[16] = {ANY_LOW | LONG_3 | LONG_2 | LONG_4,
                                               ANY_LOW | LONG_2,
                                               ANY_LOW,
                                               ANY_LOW,
                                               ANY_LOW | HIGH,
                                               LATE,
                                               LATE,
                                               LATE,
                                               LATE,
                                               LATE,
                                               LATE,
                                               LATE,
                                               LATE,
                                               LATE | SURROGATE,
                                               LATE,
                                               LATE};
alignas(16) constexpr uint8_t SECOND_HIGH[16] = {NO_TRAIL,
                                                 NO_TRAIL,
                                                 NO_TRAIL,
                                                 NO_TRAIL,
                                                 NO_TRAIL,
                                                 NO_TRAIL,
                                                 NO_TRAIL,
                                                 NO_TRAIL,
                                                 TRAIL | LONG_3 | LONG_4,
                                                 TRAIL | LONG_3 | HIGH,
                                                 TRAIL | SURROGATE | HIGH,
                                                 TRAIL | SURROGATE | HIGH,
                                                 NO_TRAIL,
                                                 NO_TRAIL,
                                                 NO_TRAIL,
                                                 NO_TRAIL};

constexpr int BLOCK = 16;
#define BY_BLOCKS __attribute__((target("ssse3"), no_sanitize("address")))
#define WITH_BLOCKS BY_BLOCKS __attribute__((always_inline)) inline

WITH_BLOCKS __m128i load(const void *bytes) { return _mm_loadu_si128(static_cast<const __m128i *>(bytes)); }

WITH_BLOCKS bool is_ascii(__m128i block) { return _mm_movemask_epi8(block) == 0; }

// The faults of a block behind another one: of pairs, and where a third or fourth byte is or is not what the lead announces.
WITH_BLOCKS __m128i faults(__m128i block, __m128i before) {
    const __m128i low_half = _mm_set1_epi8(0x0F);
    const __m128i first = _mm_alignr_epi8(block, before, 15);
    const __m128i pairs =
        _mm_and_si128(_mm_and_si128(_mm_shuffle_epi8(load(FIRST_HIGH), _mm_and_si128(_mm_srli_epi16(first, 4), low_half)),
                                    _mm_shuffle_epi8(load(FIRST_LOW), _mm_and_si128(first, low_half))),
                      _mm_shuffle_epi8(load(SECOND_HIGH), _mm_and_si128(_mm_srli_epi16(block, 4), low_half)));
    const __m128i third = _mm_subs_epu8(_mm_alignr_epi8(block, before, 14), _mm_set1_epi8(0xE0 - 0x80));
    const __m128i fourth = _mm_subs_epu8(_mm_alignr_epi8(block, before, 13), _mm_set1_epi8(static_cast<char>(0xF0 - 0x80)));
    const __m128i announced = _mm_and_si128(_mm_or_si128(third, fourth), _mm_set1_epi8(static_cast<char>(0x80)));
    return _mm_xor_si128(announced, pairs);
}

// What a block takes from another one: with the table at 16 - n, its first n bytes, or its last n moved to the front. 80: a zero.
alignas(16) constexpr uint8_t KEPT[2 * BLOCK] = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,
                                                 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
alignas(16) constexpr uint8_t MOVED[2 * BLOCK] = {0,    1,    2,    3,    4,    5,    6,    7,    8,    9,    10,
                                                  11,   12,   13,   14,   15,   0x80, 0x80, 0x80, 0x80, 0x80, 0x80,
                                                  0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80};

// Fewer than a block's bytes with zeros behind them. A block is loaded that has them: forward where that stays in their page, where
// whatever stands there can be read, or else backward. What else it has does not count.
WITH_BLOCKS __m128i part(const uint8_t *s, int length) {
    constexpr uintptr_t PAGE = 4096;
    if (length == 0) return _mm_setzero_si128();
    if ((reinterpret_cast<uintptr_t>(s) & (PAGE - 1)) <= PAGE - BLOCK) return _mm_and_si128(load(s), load(KEPT + BLOCK - length));
    return _mm_shuffle_epi8(load(s + length - BLOCK), load(MOVED + BLOCK - length));
}

// A character that the end cuts lacks its trail bytes in the zeros of the last part.
BY_BLOCKS bool is_utf8_by_blocks(const uint8_t *s, int length) {
    __m128i before = _mm_setzero_si128(), wrong = before;
    int at = 0;
    for (; length - at >= BLOCK; at += BLOCK) {
        const __m128i block = load(s + at);
        if (!is_ascii(_mm_or_si128(block, before))) wrong = _mm_or_si128(wrong, faults(block, before));
        before = block;
    }
    const __m128i last = part(s + at, length - at);
    if (!is_ascii(_mm_or_si128(last, before))) wrong = _mm_or_si128(wrong, faults(last, before));
    return _mm_movemask_epi8(_mm_cmpeq_epi8(wrong, _mm_setzero_si128())) == 0xFFFF;
}

#endif

} // namespace

bool is_utf8(const char *s, int length) {
    const auto *const bytes = reinterpret_cast<const uint8_t *>(s);
#ifdef HAS_BLOCKS
    if (__builtin_cpu_supports("ssse3")) return is_utf8_by_blocks(bytes, length);
#endif
    return is_utf8_by_characters(bytes, length);
}

} // namespace qbgl::icu
