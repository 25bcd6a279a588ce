// Sharing categories between handles. The data stays the source's; the target has functions, byte tables and conversion record of
// its own.
#include "ext/error.h"
#include "setlc/categories.h"
#include "setlc/dispatch.h"
#include "setlc/handle.h"

#include <string.h>

using namespace qbgl;

namespace {

// The number of the error that forbids a copy, or 0.
int invalid_copy(const gl_locale *target, const gl_locale *source, int category) {
    const bool has_source = source->locale_name[category][0] != '\0' && source->codeset_name[category][0] != '\0';
    const bool has_target = target->locale_name[category][0] != '\0' || target->codeset_name[category][0] != '\0';
    if (!has_source) return GL_ENOCAT;
    return has_target ? GL_EHASCAT : 0;
}

// The target's half of the conversion record, made as the source makes its own: the target may not have a codeset yet.
int build_conversion(gl_locale *target, const gl_locale *source, int (*create)(gl_locale *)) {
    gl_locale maker = *source;
    maker.conv = target->conv;
    const int result = create(&maker);
    target->conv = maker.conv;
    if (result < 0) set_error(target, get_error(&maker));
    return result;
}

int share_data(gl_locale *target, gl_locale *source, int category) {
    switch (category) {
    case GL_CAT_CTYPE:
        target->ctype = source->ctype;
        target->case_growth = source->case_growth;
        return 0;
    case GL_CAT_COLLATE:
        target->collate = source->collate;
        target->all_one = source->all_one;
        target->equivalence = source->equivalence;
        target->coll_growth = source->coll_growth;
        target->order_maps = source->order_maps;
        target->ranks = source->ranks;
        memcpy(target->order_fingerprint, source->order_fingerprint, sizeof target->order_fingerprint);
        return 0;
    case GL_CAT_NUMERIC: _gl_copy_numeric(target, source); return build_conversion(target, source, create_glconv_numeric);
    case GL_CAT_MONETARY:
        _gl_copy_monetary(target, source);
        target->int_money = source->int_money;
        target->info.crncystr = source->info.crncystr;
        return build_conversion(target, source, create_glconv_monetary);
    case GL_CAT_TIME:
        target->time = source->time;
        target->time.eras = nullptr;
        target->time_more = source->time_more;
        target->info.era = source->info.era;
        target->info.alt_digits = source->info.alt_digits;
        return 0;
    default: _gl_copy_messages(target, source); return 0;
    }
}

// 0, or -1 with the error number set; the category is shared in any case.
int share_category(gl_locale *target, gl_locale *source, int category) {
    gl_free_category(target, category);
    target->shared[category] = 1;
    memcpy(target->codeset_name[category], source->codeset_name[category], sizeof target->codeset_name[category]);
    memcpy(target->locale_name[category], source->locale_name[category], sizeof target->locale_name[category]);
    target->glu_handle[category] = source->glu_handle[category];
    target->glu_flag[category] = source->glu_flag[category];
    target->glu_load[category] = source->glu_load[category];
    return share_data(target, source, category) < 0 ? -1 : 0;
}

} // namespace

int gl_copy_cat(gl_locale *target, gl_locale *source, int category) {
    if (is_canned(target) || source == nullptr) return -1;
    const bool all = category == GL_CAT_ALL;
    if (!all && !is_category(category)) {
        set_error(target, GL_EBADARG);
        return -1;
    }
    const int first = all ? FIRST_CATEGORY : category, last = all ? LAST_CATEGORY : category;
    for (int each = first; each <= last; ++each) {
        if (const int error = invalid_copy(target, source, each)) {
            set_error(target, error);
            return -1;
        }
    }
    ensure_functions(target);
    int result = 0;
    for (int each = first; each <= last && result == 0; ++each) result = share_category(target, source, each);
    // Once, when all are there: before that their codesets differ, and would be looked up to tell so.
    const int error = get_error(target);
    const int updated = update_locale(target);
    if (result == 0) return updated;
    set_error(target, error);
    return -1;
}
