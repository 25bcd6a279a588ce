// Comparisons ask it of whole texts of which ICU looks at the first letters, so it must cost next to nothing.
#include "icu/utf8.h"

#include "icu/blocks.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <unicode/utf8.h>
#if defined(__i386__) || defined(__x86_64__)
#include <immintrin.h>
#define HAS_BLOCKS
#endif

#if defined(__GNUC__) && !defined(__clang__)
// GCC 12 tells of operands that its own header leaves undefined.
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
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

// What takes the first bytes from a block.
constexpr int HALF = 32;
struct Kept {
    constexpr Kept() {
        for (int i = 0; i < HALF; ++i) bytes_[i] = 0xFF;
    }
    constexpr const uint8_t *first(int count) const { return bytes_ + HALF - count; }

  private:
    uint8_t bytes_[2 * HALF] = {};
};
constexpr Kept KEPT;
// What moves the last n bytes of a block to the front, at 16 - n. 80: a zero.
alignas(16) constexpr uint8_t MOVED[2 * BLOCK] = {0,    1,    2,    3,    4,    5,    6,    7,    8,    9,    10,
                                                  11,   12,   13,   14,   15,   0x80, 0x80, 0x80, 0x80, 0x80, 0x80,
                                                  0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80};

// Fewer than a block's bytes with zeros behind them. A block is loaded that has them: forward where that stays in their page, where
// whatever stands there can be read, or else backward. What else it has does not count.
WITH_BLOCKS __m128i part(const uint8_t *s, int length) {
    if (length == 0) return _mm_setzero_si128();
    if (in_page(s, BLOCK)) return _mm_and_si128(load(s), load(KEPT.first(length)));
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

// The same of 32 bytes at once.
#define BY_HALF_BLOCKS __attribute__((target("avx2"), no_sanitize("address")))
#define WITH_HALF_BLOCKS BY_HALF_BLOCKS __attribute__((always_inline)) inline

// Operands that are one byte repeated. In 64 bits the compiler, where it knows the byte, makes them anew for each text.
class Operands {
  public:
    enum Which { TRAILS_END, LEADS_END, TO_LEADS, TO_HIGHS, LOW_HALF, TO_THIRD, TO_FOURTH, TOP, COUNT };

    constexpr Operands() {
        // Of the first two, which signed bytes are compared with, the second has been moved so that the leads are the lowest.
        constexpr int FIRST_LEAD = 0xC2, MOVE = 0x80 - FIRST_LEAD;
        constexpr int REPEATED[COUNT] = {0xC0, 0xE0 + MOVE, MOVE, 0xC0 - 0x80, 0x0F, 0xE0 - 0x80, 0xF0 - 0x80, 0x80};
        for (int which = 0; which < COUNT; ++which)
            for (uint8_t &byte : bytes_[which]) byte = static_cast<uint8_t>(REPEATED[which]);
    }
    WITH_HALF_BLOCKS __m256i operator[](Which which) const {
        return _mm256_load_si256(reinterpret_cast<const __m256i *>(bytes_[which]));
    }

  private:
    alignas(HALF) uint8_t bytes_[COUNT][HALF] = {};
};
constexpr Operands OPERANDS;

WITH_HALF_BLOCKS const Operands &hidden_operands() {
    const Operands *operands = &OPERANDS;
#ifdef __x86_64__
    __asm__("" : "+r"(operands));
#endif
    return *operands;
}

WITH_HALF_BLOCKS __m256i half(const uint8_t *s) { return _mm256_loadu_si256(reinterpret_cast<const __m256i *>(s)); }

WITH_HALF_BLOCKS __m256i half_look_up(const uint8_t *table, __m256i places, const Operands &operands) {
    return _mm256_shuffle_epi8(_mm256_broadcastsi128_si256(load(table)), _mm256_and_si256(places, operands[Operands::LOW_HALF]));
}

WITH_HALF_BLOCKS __m256i half_faults(__m256i block, __m256i before, const Operands &operands) {
    const __m256i moved = _mm256_permute2x128_si256(before, block, 0x21); // by 16 bytes
    const __m256i first = _mm256_alignr_epi8(block, moved, 15);
    const __m256i pairs = _mm256_and_si256(
        _mm256_and_si256(half_look_up(FIRST_HIGH, _mm256_srli_epi16(first, 4), operands), half_look_up(FIRST_LOW, first, operands)),
        half_look_up(SECOND_HIGH, _mm256_srli_epi16(block, 4), operands));
    const __m256i third = _mm256_subs_epu8(_mm256_alignr_epi8(block, moved, 14), operands[Operands::TO_THIRD]);
    const __m256i fourth = _mm256_subs_epu8(_mm256_alignr_epi8(block, moved, 13), operands[Operands::TO_FOURTH]);
    return _mm256_xor_si256(_mm256_and_si256(_mm256_or_si256(third, fourth), operands[Operands::TOP]), pairs);
}

// How a text of at most 97 bytes is covered by three blocks that overlap, all behind its first byte: where the second and the third
// begin, and of which bytes they count. They end with the text, unless that is shorter than one: then they are all the same.
struct Cover {
    static constexpr uint32_t LONGEST = 1 + 3 * HALF;
    uint32_t counted;
    uint16_t second, third;
};
struct Covers {
    constexpr Covers() {
        for (int last = 0; last < static_cast<int>(Cover::LONGEST); ++last) {
            const int third = std::max(last + 1 - HALF, 1);
            by_last[last] = {last < HALF ? (1u << last) - 1 : ~0u, static_cast<uint16_t>(std::min(1 + HALF, third)),
                             static_cast<uint16_t>(third)};
        }
    }
    Cover by_last[Cover::LONGEST] = {};
};
constexpr Covers COVERS;

// In most short texts no character has more than two bytes: there is a trail byte behind each lead of two and nowhere else, and
// nothing else beyond ASCII. The top bit of each of the bytes from s where that is not so, or before which.
WITH_HALF_BLOCKS __m256i misplaced(const uint8_t *s, const Operands &operands) {
    const __m256i before = half(s - 1);
    const __m256i trails = _mm256_cmpgt_epi8(operands[Operands::TRAILS_END], half(s));
    const __m256i leads = _mm256_cmpgt_epi8(operands[Operands::LEADS_END], _mm256_add_epi8(before, operands[Operands::TO_LEADS]));
    const __m256i highs = _mm256_subs_epu8(before, operands[Operands::TO_HIGHS]); // C0 and above
    return _mm256_or_si256(_mm256_xor_si256(trails, leads), _mm256_xor_si256(trails, highs));
}

// Negative where the first byte is a trail, or the last one is not and beyond ASCII.
WITH_HALF_BLOCKS int cut(const uint8_t *s, uint32_t last) {
    const auto first_byte = static_cast<int8_t>(s[0]), last_byte = static_cast<int8_t>(s[last]);
    return (first_byte + 0x40) | (last_byte & ~(last_byte + 0x40));
}

WITH_HALF_BLOCKS uint32_t bits_of(__m256i block) { return static_cast<uint32_t>(_mm256_movemask_epi8(block)); }

WITH_HALF_BLOCKS uint32_t misplaced_1(const uint8_t *s, uint32_t last, const Operands &operands) {
    return bits_of(misplaced(s + 1, operands)) & COVERS.by_last[last].counted;
}
WITH_HALF_BLOCKS uint32_t misplaced_3(const uint8_t *s, uint32_t last, const Operands &operands) {
    const Cover &cover = COVERS.by_last[last];
    const __m256i all = _mm256_or_si256(_mm256_or_si256(misplaced(s + 1, operands), misplaced(s + cover.second, operands)),
                                        misplaced(s + cover.third, operands));
    return bits_of(all) & cover.counted;
}

// Fewer than a block's bytes with zeros behind them.
WITH_HALF_BLOCKS __m256i half_part(const uint8_t *s, int length) {
    if (in_page(s, HALF)) [[likely]]
        return length > 0 ? _mm256_and_si256(half(s), half(KEPT.first(length))) : _mm256_setzero_si256();
    uint8_t copy[HALF] = {};
    memcpy(copy, s, static_cast<size_t>(length));
    return half(copy);
}

WITH_HALF_BLOCKS __m256i half_faults_of(const uint8_t *s, int length, const Operands &operands) {
    __m256i before = _mm256_setzero_si256(), wrong = before;
    for (; length >= HALF; s += HALF, length -= HALF) {
        const __m256i block = half(s);
        wrong = _mm256_or_si256(wrong, half_faults(block, before, operands));
        before = block;
    }
    return _mm256_or_si256(wrong, half_faults(half_part(s, length), before, operands));
}

// Apart from the narrow texts, which need no room on the stack.
BY_HALF_BLOCKS __attribute__((noinline)) bool are_any_by_half_blocks(const uint8_t *s1, int length1, const uint8_t *s2,
                                                                     int length2) {
    const Operands &operands = hidden_operands();
    const __m256i wrong = _mm256_or_si256(half_faults_of(s1, length1, operands), half_faults_of(s2, length2, operands));
    return _mm256_testz_si256(wrong, wrong) != 0;
}

BY_HALF_BLOCKS bool are_utf8_by_half_blocks(const uint8_t *s1, int length1, const uint8_t *s2, int length2) {
    const uint32_t last1 = static_cast<uint32_t>(length1) - 1, last2 = static_cast<uint32_t>(length2) - 1; // of none: very large
    const Operands &operands = hidden_operands();
    if ((last1 | last2) < HALF) {
        if (in_page(s1, 1 + HALF) && in_page(s2, 1 + HALF) &&
            (misplaced_1(s1, last1, operands) | misplaced_1(s2, last2, operands)) == 0 && (cut(s1, last1) | cut(s2, last2)) >= 0)
            return true;
    } else if (std::max(last1, last2) < Cover::LONGEST && in_page(s1, 1 + HALF) && in_page(s2, 1 + HALF)) {
        if ((misplaced_3(s1, last1, operands) | misplaced_3(s2, last2, operands)) == 0 && (cut(s1, last1) | cut(s2, last2)) >= 0)
            return true;
    }
    return are_any_by_half_blocks(s1, length1, s2, length2);
}

// The same of 64 bytes at once.
constexpr int WIDE = 64;
#define BY_WIDE_BLOCKS __attribute__((target("avx512bw")))
#define WITH_WIDE_BLOCKS BY_WIDE_BLOCKS __attribute__((always_inline)) inline

// The first n bits.
struct Firsts {
    constexpr Firsts() {
        for (int n = 1; n <= WIDE; ++n) bits[n] = bits[n - 1] << 1 | 1;
    }
    __mmask64 bits[WIDE + 1] = {};
};
constexpr Firsts FIRSTS;

// At most a block's bytes with zeros behind them; no others are touched.
WITH_WIDE_BLOCKS __m512i wide_part(const uint8_t *s, int length) {
    return _mm512_maskz_loadu_epi8(_load_mask64(const_cast<__mmask64 *>(FIRSTS.bits + length)), s);
}

WITH_WIDE_BLOCKS __m512i all_of(int byte) { return _mm512_set1_epi8(static_cast<char>(byte)); }

WITH_WIDE_BLOCKS __m512i look_up(const uint8_t *table, __m512i places) {
    const __m128i part = _mm_load_si128(reinterpret_cast<const __m128i *>(table));
    return _mm512_shuffle_epi8(_mm512_broadcast_i32x4(part), _mm512_and_si512(places, all_of(0x0F)));
}

WITH_WIDE_BLOCKS __m512i wide_faults(__m512i block, __m512i before) {
    const __m512i moved = _mm512_alignr_epi32(block, before, 12); // by 16 bytes
    const __m512i first = _mm512_alignr_epi8(block, moved, 15);
    const __m512i pairs =
        _mm512_and_si512(_mm512_and_si512(look_up(FIRST_HIGH, _mm512_srli_epi16(first, 4)), look_up(FIRST_LOW, first)),
                         look_up(SECOND_HIGH, _mm512_srli_epi16(block, 4)));
    const __m512i third = _mm512_subs_epu8(_mm512_alignr_epi8(block, moved, 14), all_of(0xE0 - 0x80));
    const __m512i fourth = _mm512_subs_epu8(_mm512_alignr_epi8(block, moved, 13), all_of(0xF0 - 0x80));
    return _mm512_xor_si512(_mm512_and_si512(_mm512_or_si512(third, fourth), all_of(0x80)), pairs);
}

WITH_WIDE_BLOCKS __m512i wide_faults_of(const uint8_t *s, int length) {
    __m512i before = _mm512_setzero_si512(), wrong = before;
    for (; length >= WIDE; s += WIDE, length -= WIDE) {
        const __m512i block = _mm512_loadu_si512(s);
        wrong = _mm512_or_si512(wrong, wide_faults(block, before));
        before = block;
    }
    return _mm512_or_si512(wrong, wide_faults(wide_part(s, length), before));
}

// In most short texts no character has more than two bytes: there is a trail byte behind each lead of two, and nothing else beyond
// ASCII. A bit for each byte of a block where that is not so, and the leads.
struct Narrow {
    __mmask64 misplaced, others, leads;
};
WITH_WIDE_BLOCKS Narrow narrow(__m512i block) {
    constexpr int LOWEST = 0xC2, END = 0xE0;
    const __mmask64 trails = _mm512_cmplt_epi8_mask(block, all_of(0xC0));
    const __mmask64 leads = _mm512_cmplt_epu8_mask(_mm512_sub_epi8(block, all_of(LOWEST)), all_of(END - LOWEST));
    return {_kxor_mask64(trails, _kshiftli_mask64(leads, 1)), _kxor_mask64(_mm512_movepi8_mask(block), _kor_mask64(trails, leads)),
            leads};
}

// Of a text of fewer bytes than one or two blocks have. Its length makes no branch: none could be foreseen.
WITH_WIDE_BLOCKS __mmask64 not_narrow_1(const uint8_t *s, int length) {
    const Narrow only = narrow(wide_part(s, length));
    return _kor_mask64(only.misplaced, only.others);
}
WITH_WIDE_BLOCKS __mmask64 not_narrow_2(const uint8_t *s, int length) {
    const Narrow first = narrow(wide_part(s, std::min(length, WIDE)));
    const Narrow second = narrow(wide_part(s + WIDE, std::max(length - WIDE, 0)));
    const __mmask64 behind_first = _kshiftri_mask64(first.leads, WIDE - 1);
    return _kor_mask64(_kor_mask64(first.misplaced, first.others),
                       _kor_mask64(_kxor_mask64(second.misplaced, behind_first), second.others));
}

// Apart from the narrow texts, which need no room on the stack.
BY_WIDE_BLOCKS __attribute__((noinline)) bool are_any_by_wide_blocks(const uint8_t *s1, int length1, const uint8_t *s2,
                                                                     int length2) {
    const __m512i wrong = _mm512_or_si512(wide_faults_of(s1, length1), wide_faults_of(s2, length2));
    return _mm512_test_epi8_mask(wrong, wrong) == 0;
}

BY_WIDE_BLOCKS bool are_utf8_by_wide_blocks(const uint8_t *s1, int length1, const uint8_t *s2, int length2) {
    if ((length1 | length2) < WIDE) {
        if (_kortestz_mask64_u8(not_narrow_1(s1, length1), not_narrow_1(s2, length2))) return true;
    } else if ((length1 | length2) < 2 * WIDE) {
        if (_kortestz_mask64_u8(not_narrow_2(s1, length1), not_narrow_2(s2, length2))) return true;
    }
    return are_any_by_wide_blocks(s1, length1, s2, length2);
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

bool are_utf8(const char *s1, int length1, const char *s2, int length2) {
#ifdef HAS_BLOCKS
    const auto *const bytes1 = reinterpret_cast<const uint8_t *>(s1), *const bytes2 = reinterpret_cast<const uint8_t *>(s2);
    if (__builtin_cpu_supports("avx512bw")) return are_utf8_by_wide_blocks(bytes1, length1, bytes2, length2);
    if (__builtin_cpu_supports("avx2")) return are_utf8_by_half_blocks(bytes1, length1, bytes2, length2);
#endif
    return is_utf8(s1, length1) && is_utf8(s2, length2);
}

} // namespace qbgl::icu
