// Reading multibyte text.
#pragma once

#include "coll/prefix.h"
#include "mbwc/decode_plain.h"
#include "qbnxdl/served.h"

namespace qbgl {

// The shape of the text that a reader can be for; OTHER for none.
inline TextShape readable_shape(const gl_locale *locale) {
    const CodesetMaps *maps = maps_of(locale);
    return maps != nullptr && (!served_by_extension(locale, GL_CAT_CTYPE) || is_half_served(locale)) ? maps->shape
                                                                                                     : TextShape::OTHER;
}

inline constexpr size_t TERMINATED = SIZE_MAX;

// Whether a text is nothing but characters of two bytes, told without a branch for each: what they have in `plain` is gathered, and
// that of NUL behind the text. The length may be TERMINATED, and is then found.
[[gnu::no_sanitize_address, gnu::no_sanitize_thread]] inline bool is_pairs(const uint8_t *plain, const uint8_t *s, size_t &length) {
    alignas(BLOCK) static constexpr uint8_t MASKS[2 * BLOCK] = {255, 255, 255, 255, 255, 255, 255, 255,
                                                                255, 255, 255, 255, 255, 255, 255, 255};
    if (plain[0] == 0) return false;
    for (size_t i = 0;; i += BLOCK) {
        if (i == length) return true;
        if (!block_in_page(s + i)) return false;
        const __m128i block = load_block(s + i);
        const auto zeros = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(block, _mm_setzero_si128())));
        size_t end = length - i;
        if (length == TERMINATED)
            end = zeros != 0 ? static_cast<unsigned>(__builtin_ctz(zeros)) : BLOCK + 1;
        else if ((zeros & ((1U << std::min<size_t>(end, BLOCK)) - 1)) != 0)
            return false;
        const __m128i text = _mm_and_si128(block, load_block(MASKS + BLOCK - std::min<size_t>(end, BLOCK)));
        const __m128i pairs = _mm_or_si128(_mm_slli_epi16(text, 8), _mm_srli_epi16(text, 8));
        const auto at = [&pairs, plain]<int LANE>(std::integral_constant<int, LANE>) {
            return plain[_mm_extract_epi16(pairs, LANE)];
        };
        const auto all = [&at]<int... LANES>(std::integer_sequence<int, LANES...>) {
            return (at(std::integral_constant<int, LANES>()) & ...);
        };
        if (all(std::make_integer_sequence<int, BLOCK / 2>()) == 0) return false;
        if (end > BLOCK) continue;
        length = i + end;
        return length % 2 == 0;
    }
}

// Of a codeset with a shape, whose NUL is one zero byte.
template <TextShape SHAPE> class Reader {
  public:
    Reader(const gl_locale *locale, const uint8_t *s, size_t length)
        : plain_(maps_of(locale)->plain), root_(locale->ctype.codeset_table->root), at_(s), end_(s + length) {}

    bool ended() const { return at_ == end_; }
    const uint8_t *at() const { return at_; }
    void go_to(const uint8_t *at) { at_ = at; }

    // The character at hand of a text that has not ended. False for what is none, or is cut.
    bool next(gl_wchar &wc) {
        const ptrdiff_t limit = end_ - at_;
        const auto take = [this, &wc](gl_wchar value, int length) {
            wc = value;
            at_ += length;
        };
        if (take_plain<SHAPE>(plain_, at_, limit, take)) [[likely]]
            return true;
        const Decoded character = decode(root_, at_, limit);
        if (character.length > 0) take(character.value, character.length);
        return character.length > 0;
    }

    // Whether all that is left are characters.
    bool is_text() {
        gl_wchar wc;
        while (!ended())
            if (!next(wc)) return false;
        return true;
    }

  private:
    const uint8_t *plain_;
    const MultiNode *root_;
    const uint8_t *at_, *end_;
};

} // namespace qbgl
