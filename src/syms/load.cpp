// Loading and releasing charmaps, and what they say of their codeset.
#include "ext/error.h"
#include "syms/charmap.h"
#include "syms/symbols.h"
#include "util/owned.h"

#include <stdio.h>
#include <string.h>

using namespace qbgl;

namespace {

constexpr gl_charmap canned(int error) {
    gl_charmap cm = {};
    cm.error = error;
    return cm;
}

// The caller's pointer is not to const, for its own records' sake.
int hand_out(gl_charmap **cm, const gl_charmap &record) {
    *cm = const_cast<gl_charmap *>(&record);
    return -1;
}

// What names no codeset is a file's name itself.
FILE *open_charmap(gl_charmap *cm, const char *spec, const char *registry_path, const char *directory) {
    char numbered[sizeof "ffff.cmo"];
    const char *name = spec;
    cm->codeset_number = gl_lc_spec2cs_num(cm, spec, registry_path);
    if (get_error(cm) == GL_ENOMEM) return nullptr;
    set_error(cm, 0);
    if (cm->codeset_number != GL_NO_CODESET) {
        snprintf(numbered, sizeof numbered, "%.4x.cmo", static_cast<unsigned>(cm->codeset_number));
        name = numbered;
    }
    if (name == nullptr) return nullptr;
    if (directory == nullptr) return gl_path_search(cm, name, GL_CM_DIRECTORY, GL_CM_VERSION);
    const size_t size = strlen(directory) + 1 + strlen(name) + 1;
    const Owned<char> path = size <= UINT32_MAX ? Owned<char>::allocate(static_cast<uint32_t>(size)) : Owned<char>();
    if (!path) {
        set_error(cm, GL_ENOMEM);
        return nullptr;
    }
    snprintf(path.get(), size, "%s/%s", directory, name);
    return gl_open_file(cm, path.get());
}

} // namespace

extern const gl_charmap cm_nomem = canned(GL_ENOMEM);
extern const gl_charmap cm_filer = canned(GL_ENOFILE);

int gl_cm_load(gl_charmap **cm, const char *spec, const char *registry_path, const char *directory) {
    Owned<gl_charmap> record = Owned<gl_charmap>::allocate();
    if (!record) return hand_out(cm, cm_nomem);
    *record = {};
    const Stream stream(open_charmap(record.get(), spec, registry_path, directory));
    if (!stream) return hand_out(cm, get_error(record.get()) == GL_ENOMEM ? cm_nomem : cm_filer);
    *cm = record.release();
    return read_charmap(stream.get(), *cm);
}

void gl_cm_unload(gl_charmap *cm) {
    if (cm == nullptr || cm == &cm_nomem || cm == &cm_filer) return;
    free_charmap_tables(cm);
    _gl_free_ptr(cm);
}

int gl_cm_srcver(gl_charmap *cm) { return cm->source_version; }
int gl_cm_cmpver(gl_charmap *cm) { return cm->compiler_version; }
const char *gl_cm_csname(gl_charmap *cm) { return cm->codeset_name; }
int gl_mb_cm_max(gl_charmap *cm) { return cm->characters != nullptr ? _gl_multi_max_length(cm->characters) : 0; }
int gl_mb_cm_min(gl_charmap *cm) { return cm->characters != nullptr ? _gl_multi_min_length(cm->characters) : 0; }

int gl_cm_mblen(gl_charmap *cm, const char *s, int n) {
    if (s == nullptr) return 0;
    gl_desc character;
    const int error = recognize_charmap_char(*cm, s, n, character);
    if (error == 0) return static_cast<int>(character.count);
    if (cm->characters != nullptr) set_error(cm, error);
    return -1;
}
