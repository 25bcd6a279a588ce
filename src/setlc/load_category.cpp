#include "setlc/load_category.h"

#include "ext/error.h"
#include "util/owned.h"
#include "util/scratch.h"

#include <initializer_list>
#include <string.h>

namespace qbgl {

namespace {

constexpr char BLANKS[] = " \t";

// Copies `length` bytes as a name; false with GL_ENOFILE when it has no length of a name.
bool take_name(gl_locale *locale, const char *text, size_t length, LocaleName &name) {
    if (length < 1 || length > LONGEST_LOCALE_NAME) {
        set_error(locale, GL_ENOFILE);
        return false;
    }
    memcpy(name, text, length);
    name[length] = '\0';
    return true;
}

bool take_from_specification(gl_locale *locale, int category, const char *spec, LocaleName &name) {
    const char *parameter = strstr(spec, category_params[category]);
    if (parameter == nullptr) return take_name(locale, spec, strlen(spec), name);
    const char *equals = strchr(parameter, '=');
    if (equals == nullptr) return take_name(locale, "", 0, name);
    const char *value = equals + 1 + strspn(equals + 1, BLANKS);
    return take_name(locale, value, strcspn(value, BLANKS), name);
}

bool take_from_environment(gl_locale *locale, int category, LocaleName &name) {
    for (const char *variable : {"GL_ALL", category_params[category], "GL_LANG"})
        if (const char *value = _gl_get_env_var(variable)) return take_name(locale, value, strlen(value), name);
    return take_name(locale, DEFAULT_OBJECT, strlen(DEFAULT_OBJECT), name);
}

FILE *open_in(gl_locale *locale, const char *directory, const char *name) {
    const size_t length = strlen(directory);
    const Scratch path(gl_ext_functions, uint64_t{length} + 1 + strlen(name) + 1);
    if (path.text() == nullptr) {
        set_error(locale, GL_ENOMEM);
        return nullptr;
    }
    memcpy(path.text(), directory, length);
    path.text()[length] = '/';
    strcpy(path.text() + length + 1, name);
    return gl_open_file(locale, path.text());
}

// A name and the file that it stands for.
struct Source {
    const LocaleName &name;
    const char *file_name, *directory;
};

bool open_object(ObjectFile &object, gl_locale *locale, const Source &source) {
    object.stream.reset();
    FILE *file = source.directory != nullptr ? open_in(locale, source.directory, source.file_name)
                                             : gl_path_search(locale, source.file_name, GL_LC_DIRECTORY, GL_LC_VERSION);
    if (file == nullptr) return false;
    memcpy(object.name, source.name, sizeof object.name);
    object.stream.emplace(file);
    object.header_read = false;
    return true;
}

int load_from(const Source &source, gl_locale *locale, int category, ObjectFile &object) {
    const bool from_start = !object.is_open_as(source.name);
    if (from_start && !open_object(object, locale, source)) return 1;
    replace_by_null(locale, category);
    int result = read_one_category(locale, category, object);
    // The section may stand before those already read.
    if (result != 0 && !from_start && object.at_end && open_object(object, locale, source))
        result = read_one_category(locale, category, object);
    if (result == 0) return 0;
    object.stream.reset();
    return leave_null(locale, category, result);
}

// "native" is the default object, or a file of that name in the directory. The extension has no part in it.
int load_native_category(gl_locale *locale, int category, const LocaleName &name, const char *directory, ObjectFile &object) {
    return load_from({name, directory != nullptr ? NATIVE : DEFAULT_OBJECT, directory}, locale, category, object);
}

} // namespace

int load_category(gl_locale *locale, int category, const char *spec, LocaleName &name, const char *directory, ObjectFile &object) {
    const bool named =
        *spec != '\0' ? take_from_specification(locale, category, spec, name) : take_from_environment(locale, category, name);
    if (!named) return 1;
    if (strcmp(name, NATIVE) == 0) return load_native_category(locale, category, name, directory, object);
    const int result = load_from({name, name, directory}, locale, category, object);
    if (result != 0) return result;
    return set_categories_glu(locale, category, name) == 0 ? 0 : leave_null(locale, category, -1);
}

} // namespace qbgl
