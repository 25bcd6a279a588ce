// Class tests.
#include "ctype/case.h"
#include "qbnxdl/entry_points.h"
#include "qbnxdl/served.h"

using namespace qbgl;

namespace {

unsigned masked(const void *entry, unsigned mask) { return entry != nullptr ? value_at(entry) & mask : 0; }

unsigned ask_about_text(gl_locale *locale, const char *s, int len, unsigned mask) {
    return ask_extension(locale, GL_CAT_CTYPE, fn_glu_ismctype, 0U, locale->glu_handle[GL_CAT_CTYPE], s, len, mask);
}

// Apart from the fast way, so that this one stays a leaf without a stack frame.
[[gnu::cold, gnu::noinline]] unsigned look_up_class(gl_locale *locale, gl_wchar wc, unsigned mask) {
    if (served_by_extension(locale, GL_CAT_CTYPE))
        return can_ask(locale, GL_CAT_CTYPE, fn_glu_isuc32type) ? fn_glu_isuc32type(wc, mask) : 0;
    return masked(_gl_retrieve_wchar_multi_nl(locale, wc, locale->ctype.codeset_table), mask);
}

} // namespace

unsigned _gl_im_iswctype(gl_locale *locale, gl_wchar wc, unsigned mask) {
    const CodesetMaps *maps = maps_of(locale);
    if (!served_by_extension(locale, GL_CAT_CTYPE) && maps != nullptr && wc >> 8 < maps->page_count) {
        const unsigned classes = maps->cells[place_of(maps->page_blocks, wc)].classes;
        if (classes != 0) return classes & mask; // whatever has none may be no character, which is an error
    }
    return look_up_class(locale, wc, mask);
}

unsigned _gl_im_ismctype(gl_locale *locale, const char *s, unsigned mask) {
    if (served_by_extension(locale, GL_CAT_CTYPE)) return ask_about_text(locale, s, 4, mask);
    return masked(_gl_retrieve_text_multi_nl(s, locale->ctype.codeset_table, locale), mask);
}

unsigned _qbx_gl_im_ismctype(gl_locale *locale, const char *s, int len, unsigned mask) {
    if (served_by_extension(locale, GL_CAT_CTYPE)) return ask_about_text(locale, s, len, mask);
    return masked(_gl_retrieve_text_multi_limit_nl(s, locale->ctype.codeset_table, len, locale), mask);
}
