// Handles and categories without data.
#include "ext/error.h"
#include "multi/table.h"
#include "setlc/categories.h"
#include "setlc/dispatch.h"
#include "setlc/handle.h"
#include "util/owned.h"

using namespace qbgl;

namespace {

gl_multi *no_characters() { return const_cast<gl_multi *>(&empty_table); }

void make_null_ctype(gl_locale *locale) {
    locale->ctype = {};
    locale->ctype.codeset_table = no_characters();
    locale->ctype.case_table = no_characters();
    free_byte_tables(locale);
}

void make_null_collate(gl_locale *locale) {
    locale->collate = {};
    locale->ranks = {};
    locale->collate.character_table = no_characters();
    locale->all_one = nullptr;
    locale->equivalence = nullptr;
    take_rules(locale);
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
        locale->info.crncystr = nullptr;
        break;
    case GL_CAT_TIME:
        _gl_init_ltime(&locale->time);
        locale->info.era = locale->info.alt_digits = nullptr;
        locale->time_more = nullptr;
        break;
    default: _gl_init_messages(&locale->messages); break;
    }
    release_names(locale, category);
}

void qbgl::replace_by_null(gl_locale *locale, int category) {
    gl_free_category(locale, category);
    gl_make_null_category(locale, category);
}

int qbgl::leave_null(gl_locale *locale, int category, int result) {
    const int error = get_error(locale);
    replace_by_null(locale, category);
    set_error(locale, error);
    return result;
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
