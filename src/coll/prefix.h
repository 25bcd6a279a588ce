// What two texts have in common, and where terminated bytes end, sixteen bytes at a time.
#pragma once

#include "mbwc/ranges.h"

#include <string.h>

namespace qbgl {

// Whether sixteen bytes at an address are in one page of memory: what of them stands behind a text can then be read with it.
inline bool block_in_page(const void *address) {
    constexpr uintptr_t PAGE = 4096;
    return reinterpret_cast<uintptr_t>(address) % PAGE <= PAGE - BLOCK;
}

[[gnu::no_sanitize_address, gnu::no_sanitize_thread]] inline __m128i load_block(const void *address) {
    return *static_cast<const __m128i_u *>(address); // the intrinsic would be looked at by a sanitizer where it is a call
}

// How many values two texts of at least `count` values have in common.
template <class T>
[[gnu::no_sanitize_address, gnu::no_sanitize_thread]] inline size_t common_prefix(const T *a, const T *b, size_t count) {
    constexpr size_t STEP = BLOCK / sizeof(T);
    for (size_t i = 0; i < count; i += STEP) {
        if (block_in_page(a + i) && block_in_page(b + i)) {
            const __m128i equal = _mm_cmpeq_epi8(load_block(a + i), load_block(b + i));
            const unsigned different = static_cast<unsigned>(_mm_movemask_epi8(equal)) ^ 0xFFFF;
            if (different != 0) return std::min(count, i + static_cast<unsigned>(__builtin_ctz(different)) / sizeof(T));
        } else {
            const size_t end = std::min(count, i + STEP);
            for (size_t at = i; at < end; ++at)
                if (a[at] != b[at]) return at;
        }
    }
    return count;
}

// How many values at their ends two texts have in common, of which at least `count` values before the ends are theirs.
template <class T>
[[gnu::no_sanitize_address, gnu::no_sanitize_thread]] inline size_t common_suffix(const T *a_end, const T *b_end, size_t count) {
    constexpr size_t STEP = BLOCK / sizeof(T);
    for (size_t i = 0; i < count; i += STEP) {
        const T *const a = a_end - i - STEP, *const b = b_end - i - STEP;
        if (block_in_page(a) && block_in_page(b)) {
            const __m128i equal = _mm_cmpeq_epi8(load_block(a), load_block(b));
            const unsigned different = static_cast<unsigned>(_mm_movemask_epi8(equal)) ^ 0xFFFF;
            if (different != 0) return std::min(count, i + static_cast<unsigned>(__builtin_clz(different) - 16) / sizeof(T));
        } else {
            const size_t end = std::min(count, i + STEP);
            for (size_t at = i; at < end; ++at)
                if (a_end[-1 - static_cast<ptrdiff_t>(at)] != b_end[-1 - static_cast<ptrdiff_t>(at)]) return at;
        }
    }
    return count;
}

// Where two terminated texts differ, or both end.
[[gnu::no_sanitize_address, gnu::no_sanitize_thread]] inline size_t first_difference(const uint8_t *a, const uint8_t *b) {
    for (size_t i = 0;; i += BLOCK) {
        if (block_in_page(a + i) && block_in_page(b + i)) {
            const __m128i left = load_block(a + i), equal = _mm_cmpeq_epi8(left, load_block(b + i));
            const __m128i stop = _mm_cmpeq_epi8(_mm_and_si128(left, equal), _mm_setzero_si128());
            const unsigned stops = static_cast<unsigned>(_mm_movemask_epi8(stop));
            if (stops != 0) return i + static_cast<unsigned>(__builtin_ctz(stops));
        } else {
            for (size_t at = i; at < i + BLOCK; ++at)
                if (a[at] != b[at] || a[at] == 0) return at;
        }
    }
}

// strlen, with words in mind.
[[gnu::no_sanitize_address, gnu::no_sanitize_thread]] inline size_t byte_length(const char *s) {
    if (block_in_page(s)) {
        const int zeros = _mm_movemask_epi8(_mm_cmpeq_epi8(load_block(s), _mm_setzero_si128()));
        if (zeros != 0) return static_cast<unsigned>(__builtin_ctz(static_cast<unsigned>(zeros)));
    }
    return strlen(s);
}

} // namespace qbgl
