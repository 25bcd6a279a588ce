// Creating complete handles from the default object.
#include "ext/error.h"
#include "setlc/dispatch.h"
#include "setlc/object.h"
#include "util/owned.h"
#include "util/search.h"

#include <string.h>

using namespace qbgl;

namespace {

constexpr size_t LONGEST_DIRECTORY = 116;

FILE *open_default(gl_locale *locale, const char *directory) {
    if (directory != nullptr) {
        char path[LONGEST_DIRECTORY + sizeof DEFAULT_OBJECT];
        strcpy(stpcpy(path, directory), DEFAULT_OBJECT);
        if (FILE *file = open_to_read(path, _gl_ext_fopen)) return file;
    }
    return gl_path_search(locale, DEFAULT_OBJECT, GL_LC_DIRECTORY, GL_LC_VERSION);
}

int read_default(FILE *file, gl_locale *locale) {
    const Stream stream(file);
    if (read_locale_file(stream.get(), locale) == 0) return 0;
    if (get_error(locale) == 0) set_error(locale, GL_ELOADCAT);
    return -1;
}

} // namespace

int gl_createlocale2_4(gl_locale **out, const char *directory) {
    if (directory != nullptr && strlen(directory) > LONGEST_DIRECTORY) {
        set_error(out, GL_ENOFILE); // hosts find the number in their handle variable
        return -1;
    }
    if (gl_create_null_locale_4(out) != 0) return -1;
    gl_locale *locale = *out;
    ensure_functions(locale);
    FILE *file = open_default(locale, directory);
    if (file == nullptr) {
        const bool out_of_memory = get_error(locale) == GL_ENOMEM;
        gl_lc_unload(locale);
        *out = const_cast<gl_locale *>(out_of_memory ? &loc_nomem : &loc_filer);
        return -1;
    }
    if (read_default(file, locale) != 0) return -1;
    for (int category = FIRST_CATEGORY; category <= LAST_CATEGORY; ++category) set_locale_name(locale, category, DEFAULT_OBJECT);
    if (update_locale(locale) != 0) return -1;
    return init_locale_info(locale) < 0 ? -1 : 0;
}

int gl_createlocale_4(gl_locale **out) { return gl_createlocale2_4(out, nullptr); }
