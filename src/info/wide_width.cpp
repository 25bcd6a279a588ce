// The width of wide text.
#include "info/traits.h"

#include <emmintrin.h>

namespace qbgl {

namespace {

constexpr int GROUP_OF_WIDE = 4;

__m128i all_lanes(gl_wchar value) { return _mm_set1_epi32(static_cast<int>(value)); }
bool holds_in_all(__m128i lanes) { return _mm_movemask_epi8(lanes) == 0xFFFF; }

// Adds what the low halves of four lanes are the keys of.
void add_group(WidthSum &sum, const uint8_t *traits, __m128i keys) {
    sum.add_four(traits[_mm_extract_epi16(keys, 0)], traits[_mm_extract_epi16(keys, 2)], traits[_mm_extract_epi16(keys, 4)],
                 traits[_mm_extract_epi16(keys, 6)]);
}

// By the value itself, up to LAST.
template <gl_wchar LAST> bool add_by_value(WidthSum &sum, const uint8_t *traits, __m128i group) {
    const __m128i above = _mm_and_si128(group, all_lanes(~LAST));
    if (!holds_in_all(_mm_cmpeq_epi32(above, _mm_setzero_si128()))) return false;
    add_group(sum, traits, group);
    return true;
}

// Characters of one to three bytes with continuation bytes, none of them longer than need be.
bool add_by_bits(WidthSum &sum, const uint8_t *plain, __m128i group) {
    const auto has_form = [group](gl_wchar mask, gl_wchar bits, gl_wchar least) {
        return _mm_and_si128(_mm_cmpeq_epi32(_mm_and_si128(group, all_lanes(mask)), all_lanes(bits)),
                             _mm_cmpgt_epi32(group, all_lanes(least - 1)));
    };
    const __m128i one = _mm_cmpeq_epi32(_mm_and_si128(group, all_lanes(~0x7FU)), _mm_setzero_si128());
    const __m128i longer = _mm_or_si128(has_form(~0x1F3FU, 0xC080, 0xC280), has_form(~0xF3F3FU, 0xE08080, 0xE0A080));
    if (!holds_in_all(_mm_or_si128(one, longer))) return false;
    const __m128i last = _mm_and_si128(group, _mm_or_si128(one, all_lanes(0x3F)));
    const __m128i middle = _mm_and_si128(_mm_srli_epi32(group, 2), all_lanes(0xFC0));
    const __m128i first = _mm_and_si128(_mm_srli_epi32(group, 4), all_lanes(0xF000));
    add_group(sum, plain, _mm_or_si128(_mm_or_si128(first, middle), last));
    return true;
}

// `add` takes four characters, or refuses them; `traits` knows any.
template <class Traits, class Add> [[gnu::noinline]] int width_of(const gl_wchar *at, const gl_wchar *end, Traits traits, Add add) {
    WidthSum sum;
    for (; end - at >= GROUP_OF_WIDE; at += GROUP_OF_WIDE) {
        if (add(sum, _mm_loadu_si128(reinterpret_cast<const __m128i *>(at)))) continue;
        for (int i = 0; i < GROUP_OF_WIDE; ++i) sum.add(traits(at[i]));
    }
    for (; at != end; ++at) sum.add(traits(*at));
    return sum.width();
}

int single_byte_width(gl_locale *locale, const gl_wchar *begin, const gl_wchar *end) {
    const CodesetMaps *maps = maps_of(locale);
    if (maps != nullptr && maps->all_single) {
        const uint8_t *const bytes = maps->single;
        return width_of(
            begin, end, [bytes](gl_wchar wc) -> uint8_t { return wc <= UINT8_MAX ? bytes[wc] : 0; },
            [bytes](WidthSum &sum, __m128i group) { return add_by_value<UINT8_MAX>(sum, bytes, group); });
    }
    const uint16_t *const classes = locale->classes;
    const unsigned full_width = WideTraits(locale).full_width();
    const auto traits = [=](gl_wchar wc) -> uint8_t { return wc <= UINT8_MAX ? traits_of(classes[wc], full_width) : 0; };
    return width_of(begin, end, traits, [](WidthSum &, __m128i) { return false; });
}

} // namespace

int wide_width(gl_locale *locale, const gl_wchar *begin, const gl_wchar *end) {
    if (locale->classes != nullptr) return single_byte_width(locale, begin, end);
    const WideTraits known(locale);
    const uint8_t *const plain = known.maps().plain;
    const auto traits = [&known](gl_wchar wc) { return known.of(wc); };
    switch (known.maps().shape) {
    case TextShape::ONE_OR_TWO:
        return width_of(
            begin, end, [=](gl_wchar wc) { return wc <= UINT16_MAX ? plain[wc] : traits(wc); },
            [plain](WidthSum &sum, __m128i group) { return add_by_value<UINT16_MAX>(sum, plain, group); });
    case TextShape::CONTINUATION:
        return width_of(
            begin, end,
            [=](gl_wchar wc) {
                if (wc <= 0x7F) return plain[wc];
                return (wc & ~0xF3F3FU) == 0xE08080 && wc >= 0xE0A080 ? plain[continued_bits(wc)] : traits(wc);
            },
            [plain](WidthSum &sum, __m128i group) { return add_by_bits(sum, plain, group); });
    default: return width_of(begin, end, traits, [](WidthSum &, __m128i) { return false; });
    }
}

} // namespace qbgl
