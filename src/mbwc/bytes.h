// Copies between bytes and wide characters of the same values. The last ones go together with some that were copied before, so that
// no count takes a loop over single characters.
#pragma once

#include "qbgl.h"

#include <emmintrin.h>
#include <stddef.h>

namespace qbgl {

// The sixteen of a block.
inline void widen_block(gl_wchar *out, __m128i block) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i low = _mm_unpacklo_epi8(block, zero), high = _mm_unpackhi_epi8(block, zero);
    auto *lanes = reinterpret_cast<__m128i *>(out);
    _mm_storeu_si128(lanes, _mm_unpacklo_epi16(low, zero));
    _mm_storeu_si128(lanes + 1, _mm_unpackhi_epi16(low, zero));
    _mm_storeu_si128(lanes + 2, _mm_unpacklo_epi16(high, zero));
    _mm_storeu_si128(lanes + 3, _mm_unpackhi_epi16(high, zero));
}

void widen(gl_wchar *out, const uint8_t *in, size_t count);

// Takes the low byte of each value. False when one is above 255.
bool narrow(uint8_t *out, const gl_wchar *in, size_t count);

} // namespace qbgl
