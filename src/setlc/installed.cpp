// Which locales are installed.
#include "setlc/object.h"
#include "spec/name_list.h"
#include "spec/registry.h"
#include "util/ascii.h"
#include "util/search.h"

#include <algorithm>
#include <limits.h>

using namespace qbgl;

namespace {

struct Gathering {
    NameList &names;
    const RegistrySnapshot &registry;
    const char *language; // the directory in it, as a part of a name: "ja_jp/"
};

// The locale specification that leads to an object, LL_TT.CODESET@MODIFIER, where the library makes the file's name of it.
bool specification_of(const Gathering &in, const char *file, const char *codeset, char (&spec)[NameList::SIZE]) {
    char territory[6], number[6], modifier[5];
    if (gl_lc_fname2lc_pieces(nullptr, file, territory, number, modifier) != 0) return false;
    const uint16_t codeset_number = in.registry.number_of(codeset);
    if (codeset_number == GL_NO_CODESET || strpbrk(codeset, "@ ") != nullptr) return false;
    char expected[LONGEST_LOCALE_NAME + 1];
    snprintf(expected, sizeof expected, "%s/%04x%s.lco", territory, unsigned{codeset_number}, modifier);
    std::transform(expected, expected + strlen(expected), expected, ascii::to_lower);
    if (strcmp(expected, file) != 0) return false;
    snprintf(spec, sizeof spec, "%s.%s%s%s", territory, codeset, modifier[0] != '\0' ? "@" : "", modifier);
    return true;
}

// The codeset that an object names; empty when it cannot be read.
void read_codeset(const char *path, ObjectHeader &header) {
    const Stream stream(open_to_read(path, _gl_ext_fopen));
    int32_t error = 0;
    if (!stream || read_file_header(stream.get(), header, &error) == 0) header.codeset[0] = '\0';
}

bool note_object(const char *directory, const char *name, void *data) {
    const auto &in = *static_cast<Gathering *>(data);
    const size_t length = strlen(name);
    if (length < 4 || strcmp(name + length - 4, ".lco") != 0) return true;
    char file[LONGEST_LOCALE_NAME + 1], path[PATH_MAX], spec[NameList::SIZE];
    if (static_cast<size_t>(snprintf(file, sizeof file, "%s%s", in.language, name)) >= sizeof file) return true;
    if (static_cast<size_t>(snprintf(path, sizeof path, "%s/%s", directory, name)) >= sizeof path) return true;
    ObjectHeader header;
    read_codeset(path, header);
    if (header.codeset[0] == '\0') return true;
    return in.names.add(specification_of(in, file, header.codeset, spec) ? spec : file);
}

// An object, or a directory of objects.
bool note_entry(const char *directory, const char *name, void *data) {
    if (name[0] == '.') return true;
    if (!note_object(directory, name, data)) return false;
    auto in = *static_cast<Gathering *>(data);
    char path[PATH_MAX], language[LONGEST_LOCALE_NAME + 1];
    if (static_cast<size_t>(snprintf(language, sizeof language, "%s/", name)) >= sizeof language) return true;
    if (static_cast<size_t>(snprintf(path, sizeof path, "%s/%s", directory, name)) >= sizeof path) return true;
    in.language = language;
    return visit_entries(path, note_object, &in);
}

bool gather_locales(NameList &names) {
    const RegistrySnapshot registry;
    Gathering in = {names, registry, ""};
    const auto look_into = [](const char *directory, void *data) { return visit_entries(directory, note_entry, data); };
    return visit_directories(GL_LC_DIRECTORY, GL_LC_VERSION, look_into, &in);
}

} // namespace

int gl_locale_count(void *ctx) { return take_stock(ctx, installed_locales, gather_locales); }

int gl_locale_name(void *ctx, int index, char *out, int room) {
    return copy_name(ctx, installed_locales, gather_locales, index, out, room);
}
