#include "mbwc/bytes.h"

#include <string.h>

namespace qbgl {

namespace {

template <class Bits> __m128i load_bits(const uint8_t *in) {
    Bits bits;
    memcpy(&bits, in, sizeof bits);
    if constexpr (sizeof bits == 8)
        return _mm_loadl_epi64(reinterpret_cast<const __m128i *>(&bits));
    else
        return _mm_cvtsi32_si128(static_cast<int>(bits));
}

void store_wide(gl_wchar *out, __m128i lanes) { _mm_storeu_si128(reinterpret_cast<__m128i *>(out), lanes); }

void widen_16(gl_wchar *out, const uint8_t *in) { widen_block(out, _mm_loadu_si128(reinterpret_cast<const __m128i *>(in))); }

void widen_8(gl_wchar *out, const uint8_t *in) {
    const __m128i zero = _mm_setzero_si128(), low = _mm_unpacklo_epi8(load_bits<uint64_t>(in), zero);
    store_wide(out, _mm_unpacklo_epi16(low, zero));
    store_wide(out + 4, _mm_unpackhi_epi16(low, zero));
}

void widen_4(gl_wchar *out, const uint8_t *in) {
    const __m128i zero = _mm_setzero_si128();
    store_wide(out, _mm_unpacklo_epi16(_mm_unpacklo_epi8(load_bits<uint32_t>(in), zero), zero));
}

// Stores the low bytes of values, and gathers the bits of all values.
class Narrowing {
  public:
    void store_16(uint8_t *out, const gl_wchar *in) {
        _mm_storeu_si128(reinterpret_cast<__m128i *>(out), _mm_packus_epi16(two(in), two(in + 8)));
    }
    void store_8(uint8_t *out, const gl_wchar *in) {
        const __m128i halves = two(in);
        _mm_storel_epi64(reinterpret_cast<__m128i *>(out), _mm_packus_epi16(halves, halves));
    }
    void store_4(uint8_t *out, const gl_wchar *in) {
        const __m128i low = one(in), halves = _mm_packs_epi32(low, low);
        const int bytes = _mm_cvtsi128_si32(_mm_packus_epi16(halves, halves));
        memcpy(out, &bytes, sizeof bytes);
    }
    bool all_bytes() const {
        const __m128i high = _mm_and_si128(bits_, _mm_set1_epi32(~0xFF));
        return _mm_movemask_epi8(_mm_cmpeq_epi32(high, _mm_setzero_si128())) == 0xFFFF;
    }

  private:
    __m128i one(const gl_wchar *in) {
        const __m128i values = _mm_loadu_si128(reinterpret_cast<const __m128i *>(in));
        bits_ = _mm_or_si128(bits_, values);
        return _mm_and_si128(values, _mm_set1_epi32(0xFF));
    }
    __m128i two(const gl_wchar *in) {
        const __m128i first = one(in);
        return _mm_packs_epi32(first, one(in + 4));
    }

    __m128i bits_ = _mm_setzero_si128();
};

} // namespace

void widen(gl_wchar *out, const uint8_t *in, size_t count) {
    if (count >= 16) {
        const size_t last = count - 16;
        for (size_t i = 0; i < last; i += 16) widen_16(out + i, in + i);
        widen_16(out + last, in + last);
    } else if (count >= 8) {
        widen_8(out, in);
        widen_8(out + count - 8, in + count - 8);
    } else if (count >= 4) {
        widen_4(out, in);
        widen_4(out + count - 4, in + count - 4);
    } else {
        for (size_t i = 0; i < count; ++i) out[i] = in[i];
    }
}

bool narrow(uint8_t *out, const gl_wchar *in, size_t count) {
    Narrowing narrowing;
    if (count >= 16) {
        const size_t last = count - 16;
        for (size_t i = 0; i < last; i += 16) narrowing.store_16(out + i, in + i);
        narrowing.store_16(out + last, in + last);
    } else if (count >= 8) {
        narrowing.store_8(out, in);
        narrowing.store_8(out + count - 8, in + count - 8);
    } else if (count >= 4) {
        narrowing.store_4(out, in);
        narrowing.store_4(out + count - 4, in + count - 4);
    } else {
        gl_wchar bits = 0;
        for (size_t i = 0; i < count; ++i) {
            bits |= in[i];
            out[i] = static_cast<uint8_t>(in[i]);
        }
        return bits <= UINT8_MAX;
    }
    return narrowing.all_bytes();
}

} // namespace qbgl
