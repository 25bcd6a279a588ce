// The case of wide characters and wide text.
#include "ctype/case.h"
#include "mbwc/ranges.h"
#include "qbnxdl/entry_points.h"
#include "qbnxdl/served.h"

using namespace qbgl;

namespace {

template <Case TO> gl_wchar in_case_or_same(const gl_ctype_info &info, uint16_t pair, gl_wchar wc) {
    const gl_wchar mapped = pair != 0 ? in_case<TO>(info.case_pairs[pair]) : 0;
    return mapped != 0 ? mapped : wc;
}

// Apart from the fast way, so that this one stays a leaf without a stack frame.
template <Case TO> [[gnu::cold, gnu::noinline]] gl_wchar look_up_case(gl_locale *locale, gl_wchar wc) {
    if (served_by_extension(locale, GL_CAT_CTYPE)) {
        const auto ask = TO == Case::UPPER ? fn_glu_uc32toupper : fn_glu_uc32tolower;
        return ask_extension(locale, GL_CAT_CTYPE, ask, wc, locale->glu_handle[GL_CAT_CTYPE], wc);
    }
    const gl_ctype_info &info = locale->ctype;
    const void *entry = _gl_retrieve_wchar_multi_nl(nullptr, wc, info.case_table);
    return entry != nullptr ? in_case_or_same<TO>(info, value_at(entry), wc) : wc;
}

template <Case TO> gl_wchar character(gl_locale *locale, gl_wchar wc) {
    const CodesetMaps *maps = maps_of(locale);
    if (maps == nullptr || wc >> 8 >= maps->case_pages || served_by_extension(locale, GL_CAT_CTYPE)) {
        return look_up_case<TO>(locale, wc);
    }
    const uint16_t pair = maps->cells[place_of(maps->page_blocks, wc)].case_pair;
    const gl_wchar mapped = in_case<TO>(locale->ctype.case_pairs[pair]);
    return mapped != 0 ? mapped : wc;
}

int single_byte_text(gl_locale *locale, const uint8_t *map, gl_wchar *dst, const gl_wchar *src) {
    gl_wchar wc;
    for (; (wc = *src) != 0; ++src) {
        if (wc > UINT8_MAX) return fail(locale, GL_EILSEQ, -1);
        *dst++ = map[wc];
    }
    *dst = 0;
    return 0;
}

template <Case TO> int multibyte_text(gl_locale *locale, gl_wchar *dst, const gl_wchar *src) {
    const gl_ctype_info &info = locale->ctype;
    const CodesetMaps &maps = info.maps != nullptr ? *maps_of(locale) : NO_MAPS;
    const uint32_t page_count = maps.case_pages;
    const uint16_t *const page_blocks = maps.page_blocks;
    const uint32_t *const valid = maps.valid;
    const gl_character_cell *const cells = maps.cells;
    const gl_case_pair *const pairs = info.case_pairs;
    gl_wchar wc;
    for (; (wc = *src) != 0; ++src) {
        uint32_t place;
        if (wc >> 8 < page_count && is_valid(valid, place = place_of(page_blocks, wc))) {
            const gl_wchar mapped = in_case<TO>(pairs[cells[place].case_pair]);
            *dst++ = mapped != 0 ? mapped : wc;
        } else {
            const void *entry = _gl_retrieve_wchar_multi_nl(locale, wc, info.case_table);
            if (entry == nullptr) return -1;
            *dst++ = in_case_or_same<TO>(info, value_at(entry), wc);
        }
    }
    *dst = 0;
    return 0;
}

// Whether the case tables know a value; the extension says itself what it makes of one.
bool is_character(gl_locale *locale, gl_wchar wc) {
    if (served_by_extension(locale, GL_CAT_CTYPE)) return can_ask(locale, GL_CAT_CTYPE, fn_glu_uc32toupper);
    if (wc == 0) return true;
    const CodesetMaps *maps = maps_of(locale);
    if (maps != nullptr && wc >> 8 < maps->case_pages && is_valid(maps->valid, place_of(maps->page_blocks, wc))) return true;
    return _gl_retrieve_wchar_multi_nl(locale, wc, locale->ctype.case_table) != nullptr;
}

template <Case TO> int counted_text(gl_locale *locale, gl_wchar *dst, int room, const gl_wchar *src, int len) {
    if (src == nullptr) return fail(locale, GL_ENULLPTR, -1);
    if (room < 0 || len < -1) return fail(locale, GL_EBADARG, -1);
    if (len == -1) len = static_cast<int>(find_zero(src, INT32_MAX) - src);
    if (len > room) return fail(locale, GL_E2BIG, -1);
    const uint8_t *const map = locale->single_byte != 0 ? byte_map<TO>(locale) : nullptr;
    for (int i = 0; i < len; ++i) {
        const gl_wchar wc = src[i];
        if (map != nullptr && wc > UINT8_MAX) return fail(locale, GL_EILSEQ, -1);
        if (map == nullptr && !is_character(locale, wc)) return -1;
        dst[i] = map != nullptr ? map[wc] : character<TO>(locale, wc);
    }
    return len;
}

template <Case TO> int text(gl_locale *locale, gl_wchar *dst, const gl_wchar *src) {
    if (served_by_extension(locale, GL_CAT_CTYPE)) {
        const auto ask = TO == Case::UPPER ? fn_glu_ucs32toupper : fn_glu_ucs32tolower;
        return ask_extension(locale, GL_CAT_CTYPE, ask, -1, locale->glu_handle[GL_CAT_CTYPE], dst, src);
    }
    const uint8_t *map = byte_map<TO>(locale);
    return locale->single_byte != 0 && map != nullptr ? single_byte_text(locale, map, dst, src)
                                                      : multibyte_text<TO>(locale, dst, src);
}

} // namespace

gl_wchar _gl_im_towupper(gl_locale *locale, gl_wchar wc) { return character<Case::UPPER>(locale, wc); }
gl_wchar _gl_im_towlower(gl_locale *locale, gl_wchar wc) { return character<Case::LOWER>(locale, wc); }

int gl_towcsupper(gl_locale *locale, gl_wchar *dst, const gl_wchar *src) { return text<Case::UPPER>(locale, dst, src); }
int gl_towcslower(gl_locale *locale, gl_wchar *dst, const gl_wchar *src) { return text<Case::LOWER>(locale, dst, src); }

int gl_towcfsupper(gl_locale *locale, gl_wchar *dst, int room, const gl_wchar *src, int len) {
    return counted_text<Case::UPPER>(locale, dst, room, src, len);
}
int gl_towcfslower(gl_locale *locale, gl_wchar *dst, int room, const gl_wchar *src, int len) {
    return counted_text<Case::LOWER>(locale, dst, room, src, len);
}
