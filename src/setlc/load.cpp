// Loading a handle by its specification.
#include "ext/error.h"
#include "setlc/dispatch.h"
#include "setlc/selection.h"

using namespace qbgl;

namespace {

constexpr size_t FILE_NAME_SIZE = 288; // enough for what gl_lc_spec2lc_fname writes without a directory

} // namespace

int gl_lc_load(gl_locale **out, const char *spec, const char *registry_path, const char *directory) {
    char file_name[FILE_NAME_SIZE];
    const char *name = gl_lc_spec2lc_fname(nullptr, spec, file_name, registry_path, nullptr) == 0 ? file_name : spec;
    if (gl_create_null_locale_4(out) != 0) return -1;
    gl_locale *locale = *out;
    ensure_functions(locale);
    if (gl_init_glu(locale) != 0) return -1;
    if (name == nullptr) { // would only ask for names
        set_error(locale, GL_ENULLPTR);
        return -1;
    }
    gl_destroystring(set_categories(locale, GL_CAT_ALL, name, directory));
    return get_error(locale) != 0 ? -1 : 0;
}
