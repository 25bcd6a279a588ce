// Releasing categories and handles. A category that gl_copy_cat shares is only forgotten; what its handle has built from it for
// itself (byte tables, conversion record, eras) is freed.
#include "coll/section.h"
#include "order/maps.h"
#include "setlc/categories.h"
#include "setlc/dispatch.h"
#include "setlc/handle.h"
#include "setlc/more.h"

#include <stdint.h>
#include <stdio.h>
#include <string.h>

using namespace qbgl;

namespace {

void free_data(gl_locale *locale, int category) {
    switch (category) {
    case GL_CAT_CTYPE: free_ctype(locale); break;
    case GL_CAT_COLLATE:
        free_order_maps(locale->order_maps);
        free_collate(locale);
        break;
    case GL_CAT_NUMERIC: free_numeric(&locale->numeric); break;
    case GL_CAT_MONETARY: free_monetary(locale); break;
    case GL_CAT_TIME:
        free_more_time(locale);
        free_ltime(locale);
        break;
    default: free_messages(&locale->messages); break;
    }
}

void forget_data(gl_locale *locale, int category) {
    switch (category) {
    case GL_CAT_CTYPE: locale->ctype = {}; break;
    case GL_CAT_COLLATE:
        locale->collate = {};
        locale->ranks = {};
        locale->all_one = nullptr;
        locale->equivalence = nullptr;
        break;
    case GL_CAT_NUMERIC: _gl_init_numeric(&locale->numeric); break;
    case GL_CAT_MONETARY:
        locale->info.crncystr = nullptr;
        _gl_init_monetary(&locale->monetary);
        break;
    case GL_CAT_TIME:
        era_cleanup(locale);
        locale->info.era = locale->info.alt_digits = nullptr;
        _gl_init_ltime(&locale->time);
        locale->time_more = nullptr;
        break;
    default: _gl_init_messages(&locale->messages); break;
    }
}

void free_built_from(gl_locale *locale, int category) {
    switch (category) {
    case GL_CAT_CTYPE: free_byte_tables(locale); break;
    case GL_CAT_COLLATE:
        if (locale->mbscoll != nullptr) set_collation_fp(locale);
        break;
    case GL_CAT_NUMERIC: free_glconv_numeric(&locale->conv); break;
    case GL_CAT_MONETARY: free_glconv_monetary(&locale->conv); break;
    default: break;
    }
}

// Texts of a category that was never loaded can only come from another handle.
bool shares(const gl_locale *locale, int category) {
    return locale->shared[category] != 0 || (category > GL_CAT_COLLATE && locale->codeset_name[category][0] == '\0');
}

void free_record(gl_locale *locale) {
    for (int category = FIRST_CATEGORY; category <= LAST_CATEGORY; ++category) gl_free_category(locale, category);
    _gl_free_ptr(locale->zone_names);
    _gl_free_ptr(locale);
}

} // namespace

void qbgl::release_names(gl_locale *locale, int category) {
    memset(locale->codeset_name[category], 0, sizeof locale->codeset_name[category]);
    memset(locale->locale_name[category], 0, sizeof locale->locale_name[category]);
    if (category == GL_CAT_COLLATE) {
        locale->order_fingerprint[0] = '\0';
        locale->order_maps = nullptr;
    }
    set_categories_glu_null(locale, category);
    locale->glu_flag[category] = 0;
    locale->shared[category] = 0;
}

void gl_free_category(gl_locale *locale, int category) {
    if (is_canned(locale) || !is_category(category)) return;
    if (locale->shared[category] != 0)
        forget_data(locale, category);
    else
        free_data(locale, category);
    free_built_from(locale, category);
    release_names(locale, category);
}

void qbgl::free_locale(gl_locale *locale) {
    char message[64];
    snprintf(message, sizeof message, "freeing locale 0x%jx\n", static_cast<uintmax_t>(reinterpret_cast<uintptr_t>(locale)));
    gl_message(message);
    free_record(locale);
}

void gl_lc_unload(gl_locale *locale) {
    if (!is_canned(locale)) free_locale(locale);
}

void gl_free_nonshared_loc(gl_locale *locale) {
    if (is_canned(locale)) return;
    for (int category = FIRST_CATEGORY; category <= LAST_CATEGORY; ++category)
        locale->shared[category] = shares(locale, category) ? 1 : 0;
    free_record(locale);
}
