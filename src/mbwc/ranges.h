// Ends of buffers, and the search for terminators.
#pragma once

#include "qbgl.h"

#include <algorithm>
#include <emmintrin.h>
#include <stddef.h>

namespace qbgl {

// Where `count` values end, or the last place before the end of the address space: hosts say "no limit" with huge counts.
template <class T> T *end_of(T *begin, int count) {
    const uintptr_t most = (UINTPTR_MAX - reinterpret_cast<uintptr_t>(begin)) / sizeof(T);
    return begin + std::min(static_cast<uintptr_t>(count), most);
}

inline constexpr int BLOCK = 16;

// How many bytes are searched for a terminator ahead of the conversion: what fits the nearest cache.
inline constexpr ptrdiff_t SCAN = 4096;

// Where the page of memory ends in which the first byte of a value stands: text that has the value can be looked at that far.
template <class T> const T *page_end(const T *value) {
    constexpr uintptr_t PAGE = 4096;
    return reinterpret_cast<const T *>((reinterpret_cast<uintptr_t>(value) | (PAGE - 1)) + 1);
}

template <class T> inline __m128i zeros_of(__m128i values) {
    const __m128i none = _mm_setzero_si128();
    return sizeof(T) == 1 ? _mm_cmpeq_epi8(values, none) : _mm_cmpeq_epi32(values, none);
}

// The first zero of `count` values, at least one, or their end. What is loaded beyond it stands in the same aligned block as it, so
// in the same page of memory. Wide characters are aligned.
template <class T> [[gnu::no_sanitize_address, gnu::no_sanitize_thread]] inline const T *find_zero(const T *in, ptrdiff_t count) {
    const auto address = reinterpret_cast<uintptr_t>(in);
    const T *const end = in + std::min(static_cast<size_t>(count), (UINTPTR_MAX - address) / sizeof(T));
    auto *block = reinterpret_cast<const __m128i *>(address - address % BLOCK);
    unsigned zeros = static_cast<unsigned>(_mm_movemask_epi8(zeros_of<T>(*block))) >> address % BLOCK << address % BLOCK;
    while (zeros == 0) {
        if (reinterpret_cast<const T *>(++block) >= end) return end;
        zeros = static_cast<unsigned>(_mm_movemask_epi8(zeros_of<T>(*block)));
    }
    const T *const zero = reinterpret_cast<const T *>(block) + static_cast<unsigned>(__builtin_ctz(zeros)) / sizeof(T);
    return std::min(zero, end);
}

} // namespace qbgl
