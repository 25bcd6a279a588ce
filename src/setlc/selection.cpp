#include "setlc/selection.h"

#include "ext/error.h"
#include "setlc/dispatch.h"
#include "setlc/load_category.h"
#include "util/owned.h"

#include <stdio.h>
#include <string.h>

using namespace qbgl;

namespace {

constexpr int RESULT_SIZE = 311, LONGEST_SPECIFICATION = 311;

using Result = char[RESULT_SIZE];

// A name may fill its slot.
int put_name(const gl_locale *locale, int category, char *out, size_t room) {
    return snprintf(out, room, "%.*s", static_cast<int>(LONGEST_LOCALE_NAME), locale->locale_name[category]);
}

// The six names in a specification's form, or one category's. Six parameters and names of full length are 285 characters.
void query_locname(const gl_locale *locale, int category, Result &result) {
    if (category != GL_CAT_ALL) {
        put_name(locale, category, result, sizeof result);
        return;
    }
    char *end = result;
    for (int each = FIRST_CATEGORY; each <= LAST_CATEGORY; ++each) {
        end = stpcpy(stpcpy(end, category_params[each]), " = ");
        end += put_name(locale, each, end, LONGEST_LOCALE_NAME + 1);
        end = stpcpy(end, " ; ");
    }
}

// What was loaded before a failure stays.
bool load_categories(gl_locale *locale, int first, int last, const char *spec, const char *directory) {
    ObjectFile object;
    for (int category = first; category <= last; ++category) {
        LocaleName name = "";
        if (load_category(locale, category, spec, name, directory, object) != 0) {
            if (get_error(locale) == 0) set_error(locale, GL_ELOADCAT);
            return false;
        }
        set_locale_name(locale, category, name);
    }
    return true;
}

} // namespace

void qbgl::set_locale_name(gl_locale *locale, int category, const char *name) {
    auto &slot = locale->locale_name[category];
    memset(slot, 0, sizeof slot);
    memcpy(slot, name, strnlen(name, sizeof slot));
}

char *qbgl::set_categories(gl_locale *locale, int category, const char *spec, const char *directory) {
    Owned<Result> result = Owned<Result>::allocate();
    if (!result) {
        set_error(locale, GL_ENOMEM);
        return nullptr;
    }
    const bool all = category == GL_CAT_ALL;
    if ((!all && !is_category(category)) || (spec != nullptr && strlen(spec) > LONGEST_SPECIFICATION)) {
        set_error(locale, GL_EBADARG);
        return nullptr;
    }
    if (spec != nullptr) {
        set_error(locale, 0);
        if (!load_categories(locale, all ? FIRST_CATEGORY : category, all ? LAST_CATEGORY : category, spec, directory))
            return nullptr;
        // Categories in different codesets are an intermediate state on the way to another codeset: told, but not a failure.
        if (update_locale(locale) != 0 && get_error(locale) != GL_EMIXEDCS) return nullptr;
        if (init_locale_info(locale) < 0) return nullptr;
    }
    query_locname(locale, category, *result);
    return *result.release();
}

char *gl_setlocale_4(gl_locale *locale, int category, const char *spec) {
    if (is_canned(locale)) return nullptr;
    ensure_functions(locale);
    gl_message("gl_setlocale: Begin");
    gl_message("gl_setlocale: Calling gl_init_glu");
    if (gl_init_glu(locale) != 0) {
        gl_message("gl_setlocale: gl_init_glu failed");
        return nullptr;
    }
    gl_message("gl_setlocale: Calling set_categories");
    char *result = set_categories(locale, category, spec, nullptr);
    gl_message("gl_setlocale: retVal from set_categories");
    gl_message(result != nullptr ? result : "NULL");
    gl_message("gl_setlocale: End");
    return result;
}
