// Handles and categories without data.
#include "ext/error.h"
#include "setlc/categories.h"
#include "setlc/dispatch.h"
#include "setlc/handle.h"
#include "util/owned.h"

using namespace qbgl;

namespace {

// A table of 16-bit values without a character; null with GL_ENOMEM.
gl_multi *empty_table(gl_locale *locale) {
    const uint16_t none = 0;
    gl_multi *table = _gl_create_multi(sizeof none, 0, &none);
    if (table == nullptr) set_error(locale, GL_ENOMEM);
    return table;
}

void make_null_ctype(gl_locale *locale) {
    locale->ctype = {};
    locale->ctype.codeset_table = empty_table(locale);
    locale->ctype.case_table = empty_table(locale);
    free_byte_tables(locale);
}

void make_null_collate(gl_locale *locale) {
    locale->collate = {};
    locale->collate.character_table = empty_table(locale);
    locale->all_one = nullptr;
    locale->equivalence = nullptr;
    if (locale->mbscoll != nullptr) set_collation_fp(locale);
}

} // namespace

void gl_make_null_category(gl_locale *locale, int category) {
    if (is_canned(locale) || !is_category(category)) return;
    switch (category) {
    case GL_CAT_CTYPE: make_null_ctype(locale); break;
    case GL_CAT_COLLATE: make_null_collate(locale); break;
    case GL_CAT_NUMERIC:
        _gl_init_numeric(&locale->numeric);
        free_glconv_numeric(&locale->conv);
        break;
    case GL_CAT_MONETARY:
        _gl_init_monetary(&locale->monetary);
        free_glconv_monetary(&locale->conv);
        break;
    case GL_CAT_TIME: _gl_init_ltime(&locale->time); break;
    default: _gl_init_messages(&locale->messages); break;
    }
    release_names(locale, category);
}

int gl_create_null_locale_4(gl_locale **out) {
    gl_locale *locale = Owned<gl_locale>::allocate().release();
    if (locale == nullptr) {
        *out = const_cast<gl_locale *>(&loc_nomem);
        return -1;
    }
    *locale = {};
    set_error(locale, 0);
    locale->case_growth = locale->coll_growth = 1.0;
    init_glconv_monetary(&locale->conv);
    init_glconv_numeric(&locale->conv);
    for (int category = FIRST_CATEGORY; category <= LAST_CATEGORY; ++category) gl_make_null_category(locale, category);
    *out = locale;
    return 0;
}
