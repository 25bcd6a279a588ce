// From a long file name back to the long form, when its files exist.
#include "spec/category.h"
#include "util/owned.h"
#include "util/search.h"

using namespace qbgl;

namespace {

constexpr size_t MODIFIER_LENGTH = 4;
constexpr size_t SUFFIX_LENGTH = 4; // ".lco"
constexpr size_t PATH_SIZE = 1024;

bool is_file_name_char(char c) { return ascii::is_graph(c) && c != ';'; }

bool file_exists(std::string_view name, const char *directory) {
    const bool search = directory == nullptr || *directory == '\0';
    char path[PATH_SIZE];
    Writer out(path);
    if (!search) {
        if (strnlen(directory, PATH_SIZE) + 1 + name.size() >= PATH_SIZE) return false;
        out.put(directory);
        out.put('/');
    }
    out.put_lower(name);
    out.terminate();
    const Stream stream(search ? gl_path_search(nullptr, path, GL_LC_DIRECTORY, GL_LC_VERSION) : open_to_read(path, _gl_ext_fopen));
    return static_cast<bool>(stream);
}

int check_files(const char *text, const char *directory) {
    Values values;
    if (!find_values(text, values)) return GL_EINVAL;
    for (Cursor at : values) {
        std::string_view place;
        if (take_place(at, place) != DONE || at.peek() != '/') return GL_EINVAL;
    }
    for (Cursor &at : values)
        if (!file_exists(at.take_while(is_file_name_char), directory)) return GL_ENODATA;
    return DONE;
}

// "ja_jp/e006.lco" to "ja_jp.57350". What stands for the suffix is passed over unread, and a modifier has exactly four characters.
int rewrite_value(Cursor &at, Writer &out) {
    std::string_view place;
    if (const int outcome = take_place(at, place)) return outcome;
    if (!at.skip('/') && !at.skip('\\')) return SILENT;
    uint16_t codeset;
    if (!take_hex4(at, codeset)) return GL_EINVAL;
    out.put_lower(place);
    out.put('.');
    out.put_decimal(codeset);
    if (at.peek() != '.') {
        const std::string_view modifier = at.take(MODIFIER_LENGTH);
        out.put('@');
        out.put(modifier);
    }
    return at.take(SUFFIX_LENGTH).size() == SUFFIX_LENGTH ? DONE : static_cast<int>(GL_EINVAL);
}

int rewrite(const char *text, char *spec_out) {
    Cursor at(text);
    Writer out(spec_out);
    CategorySet seen;
    for (;;) {
        const Category *category = take_category(at);
        if (category == nullptr || !seen.add(*category) || !at.skip(EQUALS)) return GL_EINVAL;
        out.put(category->keyword);
        out.put(EQUALS);
        if (const int outcome = rewrite_value(at, out)) return outcome;
        if (at.at_end()) break;
        if (!at.skip(SEPARATOR)) return GL_EINVAL;
        out.put(SEPARATOR);
    }
    out.terminate();
    return DONE;
}

} // namespace

int gl_lc_fname2lc_spec(void *ctx, const char *long_fname, char *spec_out, const char *directory) {
    return over_copy(ctx, long_fname, spec_out, [=](const char *text) {
        const int outcome = check_files(text, directory);
        return outcome == DONE ? rewrite(text, spec_out) : outcome;
    });
}
