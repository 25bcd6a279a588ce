#include "icu/marks.h"

#include "icu/memory.h"

#include <atomic>
#include <pthread.h>
#include <unicode/uset.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace qbgl::icu {

namespace {

// Of the marks of ICU 72 the lowest is 7FD. In UTF-8 they begin with DF, E0, E1, EA or F0.
constexpr UChar32 FIRST = 0x7FD;
constexpr uint8_t FIRST_LEAD = 0xDF;
constexpr int BLOCK_SIZE = 64, BLOCKS = 0x110000 / BLOCK_SIZE, MOST_MASKS = 256;

uint8_t mask_of_block[BLOCKS]; // 0: none in it
uint64_t masks[MOST_MASKS];
std::atomic<bool> listed = false;

bool is_doubtful(UChar32 value) { return value >= 0 && (masks[mask_of_block[value / BLOCK_SIZE]] >> value % BLOCK_SIZE & 1) != 0; }

void list(const USet *marks) {
    int made = 0;
    const int ranges = uset_getItemCount(marks);
    for (int i = 0; i < ranges; ++i) {
        UChar32 first, last;
        UErrorCode status = U_ZERO_ERROR;
        uset_getItem(marks, i, &first, &last, nullptr, 0, &status);
        for (UChar32 value = first; value <= last; ++value) {
            uint8_t &mask = mask_of_block[value / BLOCK_SIZE];
            if (mask == 0) mask = static_cast<uint8_t>(made < MOST_MASKS - 1 ? ++made : made); // the last one serves many
            masks[mask] |= uint64_t{1} << value % BLOCK_SIZE;
        }
    }
}

#ifdef __SSE2__

constexpr int32_t LOADED = 16, UNITS = LOADED / 2;

__m128i load(const void *s) { return _mm_loadu_si128(static_cast<const __m128i *>(s)); }
__m128i bytes_of(int byte) { return _mm_set1_epi8(static_cast<char>(byte)); }

// How much of a text, in whole blocks, begins no mark.
int32_t skip_others(const uint8_t *s, int32_t length) {
    int32_t at = 0;
    for (; length - at >= LOADED; at += LOADED) {
        const __m128i block = load(s + at), from_df = _mm_sub_epi8(block, bytes_of(FIRST_LEAD));
        const __m128i df_to_e1 = _mm_cmpeq_epi8(_mm_min_epu8(from_df, bytes_of(0xE1 - FIRST_LEAD)), from_df);
        const __m128i ea = _mm_cmpeq_epi8(block, bytes_of(0xEA)), f0 = _mm_cmpeq_epi8(_mm_max_epu8(block, bytes_of(0xF0)), block);
        if (_mm_movemask_epi8(_mm_or_si128(_mm_or_si128(df_to_e1, ea), f0)) != 0) break;
    }
    return at;
}

int32_t skip_others(const UChar *s, int32_t length) {
    int32_t at = 0;
    for (; length - at >= UNITS; at += UNITS) {
        const __m128i above = _mm_subs_epu16(load(s + at), _mm_set1_epi16(FIRST - 1));
        if (_mm_movemask_epi8(_mm_cmpeq_epi16(above, _mm_setzero_si128())) != 0xFFFF) break;
    }
    return at;
}

#else
template <class Unit> int32_t skip_others(const Unit *, int32_t) { return 0; }
#endif

} // namespace

bool list_doubtful_marks() {
    if (listed.load(std::memory_order_acquire)) return true;
    static pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    static constexpr UChar PATTERN[] = u"[[[:^lccc=0:][:^tccc=0:]]-[[:age=8.0:]&[\\u0000-\\uFFFF]]]";
    const Provision provision;
    if (!provision) return false;
    pthread_mutex_lock(&mutex);
    UErrorCode status = U_ZERO_ERROR;
    USet *const marks = uset_openPattern(PATTERN, -1, &status);
    const bool whole = U_SUCCESS(status) && uset_contains(marks, FIRST); // a set that was refused memory is empty
    if (whole && !listed.load(std::memory_order_relaxed)) {
        list(marks);
        listed.store(true, std::memory_order_release);
    }
    uset_close(marks);
    pthread_mutex_unlock(&mutex);
    return whole;
}

bool has_doubtful_marks(const char *utf8, int32_t length) {
    const auto *const s = reinterpret_cast<const uint8_t *>(utf8);
    int32_t at = skip_others(s, length);
    while (at < length) {
        if (s[at] < FIRST_LEAD) {
            ++at;
            continue;
        }
        UChar32 value;
        U8_NEXT(s, at, length, value);
        if (is_doubtful(value)) return true;
    }
    return false;
}

bool has_doubtful_marks(const UChar *units, int32_t length) {
    for (int32_t at = skip_others(units, length); at < length;) {
        UChar32 value = units[at];
        if (value < FIRST) {
            ++at;
            continue;
        }
        U16_NEXT(units, at, length, value);
        if (is_doubtful(value)) return true;
    }
    return false;
}

} // namespace qbgl::icu
