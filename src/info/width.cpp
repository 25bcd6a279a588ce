// The width of characters and text in columns.
#include "ext/error.h"
#include "info/traits.h"
#include "len/text_walk.h"
#include "mbwc/ranges.h"
#include "qbnxdl/entry_points.h"
#include "qbnxdl/served.h"

using namespace qbgl;

namespace {

bool served(const gl_locale *locale) { return served_by_extension(locale, GL_CAT_CTYPE); }

struct TextWidth {
    int width; // or -1
    int error; // 0 for none
};

TextWidth result_of(const WidthSum &sum) {
    const int width = sum.width();
    return {width, width >= 0 ? 0 : GL_EINVAL};
}

// The width of the characters before the terminator, as long as `goes_on` says so at the place of each.
template <class GoesOn> TextWidth single_byte_width(gl_locale *locale, const uint8_t *at, GoesOn goes_on) {
    const uint16_t *const classes = locale->classes;
    const unsigned full_width = WideTraits(locale).full_width();
    WidthSum sum;
    for (; goes_on(at) && *at != 0; ++at) sum.add(traits_of(classes[*at], full_width));
    return result_of(sum);
}

// Traits of the characters that a walk takes.
template <TextShape SHAPE> uint8_t traits_of_taken(const WideTraits &known, gl_wchar wc) {
    if (SHAPE == TextShape::ONE_OR_TWO && wc <= 0xFFFF) return known.maps().plain[wc];
    if (SHAPE == TextShape::CONTINUATION && wc <= 0x7F) return known.maps().plain[wc];
    if (SHAPE == TextShape::CONTINUATION && wc <= 0xEFFFFF) return known.maps().plain[continued_bits(wc)];
    return known.of(wc);
}

template <class GoesOn> TextWidth multibyte_width(gl_locale *locale, const uint8_t *at, GoesOn goes_on) {
    return with_text_walk(locale, [=]<TextShape SHAPE>(const TextWalk<SHAPE> &text) mutable {
        const WideTraits known(locale);
        WidthSum sum;
        const auto before_end = [&](const uint8_t *place) { return goes_on(place) && !text.ends_at(place); };
        const auto take = [&](gl_wchar wc, const uint8_t *) {
            sum.add(traits_of_taken<SHAPE>(known, wc));
            return true;
        };
        const int walked = text.walk(at, nullptr, before_end, take);
        const TextWidth result = result_of(sum); // a character without a width before bytes that are none is the one to be told
        return walked > 0 || result.width < 0 ? result : TextWidth{-1, GL_EILSEQ};
    });
}

template <class GoesOn> TextWidth text_width(gl_locale *locale, const char *s, GoesOn goes_on) {
    return locale->classes != nullptr ? single_byte_width(locale, as_bytes(s), goes_on)
                                      : multibyte_width(locale, as_bytes(s), goes_on);
}

unsigned classes_at(gl_locale *locale, const char *s, unsigned mask) {
    return locale->classes != nullptr ? locale->classes[as_bytes(s)[0]] & mask : _gl_im_ismctype(locale, s, mask);
}

int told_wide_width(gl_locale *locale, const gl_wchar *begin, const gl_wchar *end) {
    const int width = wide_width(locale, begin, end);
    return width >= 0 ? width : fail(locale, GL_EINVAL, -1);
}

} // namespace

int gl_wcwidth(gl_locale *locale, gl_wchar wc) {
    if (wc == 0) return 0;
    if (!served(locale)) return told_wide_width(locale, &wc, &wc + 1);
    if (_gl_im_iswctype(locale, wc, GL_CLASS_PRINT) == 0) return fail(locale, GL_EINVAL, -1);
    return ask_extension(locale, GL_CAT_CTYPE, fn_glu_uc32width, -1, wc);
}

int gl_mbwidth(gl_locale *locale, const char *s) {
    if (s == nullptr) return fail(locale, GL_ENULLPTR, -1);
    if (gl_ismbsterm(locale, s) != 0) return 0;
    if (classes_at(locale, s, GL_CLASS_PRINT) == 0) {
        const int length = locale->single_byte != 0 ? 1 : gl_full_mblen(locale, s, MAX_KEY);
        return length == 1 ? 1 : fail(locale, GL_EINVAL, -1);
    }
    if (served(locale)) return ask_extension(locale, GL_CAT_CTYPE, fn_glu_mbwidth, -1, locale->glu_handle[GL_CAT_CTYPE], s);
    return classes_at(locale, s, WideTraits(locale).full_width()) != 0 ? 2 : 1;
}

int gl_wcswidth(gl_locale *locale, const gl_wchar *ws, int n) {
    if (ws == nullptr) return fail(locale, GL_ENULLPTR, -1);
    if (n < 0) return fail(locale, GL_ENEGCOUNT, -1);
    if (n == 0) return 0;
    if (served(locale)) return ask_extension(locale, GL_CAT_CTYPE, fn_glu_ucs32width, -1, ws, n);
    return told_wide_width(locale, ws, find_zero(ws, n));
}

int gl_mbswidth(gl_locale *locale, const char *s, int n) {
    if (s == nullptr) return fail(locale, GL_ENULLPTR, -1);
    if (n < 0) return fail(locale, GL_ENEGCOUNT, -1);
    if (n == 0) return 0;
    if (served(locale)) return ask_extension(locale, GL_CAT_CTYPE, fn_glu_mbswidth, -1, locale->glu_handle[GL_CAT_CTYPE], s, n);
    const TextWidth text = text_width(locale, s, [left = n](const uint8_t *) mutable { return left-- > 0; });
    return text.error == 0 ? text.width : fail(locale, GL_EINVAL, -1);
}

int gl_wcspwidth(gl_locale *locale, const gl_wchar *start, const gl_wchar *end) {
    if (start == nullptr || end == nullptr) return fail(locale, GL_ENULLPTR, -1);
    if (end < start) return fail(locale, GL_EENDBEFORE, -1);
    if (served(locale)) return ask_extension(locale, GL_CAT_CTYPE, fn_glu_ucs32pwidth, -1, start, end);
    return told_wide_width(locale, start, end > start ? find_zero(start, end - start) : end);
}

int gl_mbspwidth(gl_locale *locale, const char *start, const char *end) {
    if (start == nullptr || end == nullptr) return fail(locale, GL_ENULLPTR, -1);
    if (end < start) return fail(locale, GL_EENDBEFORE, -1);
    if (served(locale))
        return ask_extension(locale, GL_CAT_CTYPE, fn_glu_mbspwidth, -1, locale->glu_handle[GL_CAT_CTYPE], start, end);
    set_error(locale, 0);
    const TextWidth text = text_width(locale, start, [bound = as_bytes(end)](const uint8_t *at) { return at < bound; });
    return text.error == 0 ? text.width : fail(locale, text.error, -1);
}
