// Opening and closing conversion descriptors.
#include "cvlib/canned.h"
#include "cvlib/compose.h"
#include "cvlib/object.h"
#include "ext/error.h"
#include "qbnxdl/entry_points.h"
#include "qbnxdl/served.h"
#include "util/owned.h"

#include <limits.h>
#include <stdio.h>
#include <string.h>

using namespace qbgl;

namespace {

constexpr int NAME_SIZE = 1024; // bytes of a codeset name or an object's file name, terminator included

// Hands out a canned record. The caller's pointer is not to const, for its own descriptors' sake.
int fail_with(gl_cv **cd, const gl_cv &record) {
    *cd = const_cast<gl_cv *>(&record);
    return -1;
}

// A zeroed descriptor, or null when memory is out.
gl_cv *new_descriptor() {
    gl_cv *cd = Owned<gl_cv>::allocate().release();
    if (cd != nullptr) *cd = {};
    return cd;
}

// An extension that was refused for what it lacks may have left some of its entry points: a descriptor needs all of these.
bool extension_converts(uint16_t source, uint16_t target) {
    const bool complete =
        fn_glu_useIcuCvtCall != nullptr && fn_glu_cv_open != nullptr && fn_glu_cv_conv != nullptr && fn_glu_cv_close != nullptr;
    return complete && fn_glu_useIcuCvtCall(source, target) == 1;
}

// Opens the extension's converter. Returns its error code, below 1 when the descriptor now belongs to the extension.
int open_in_extension(gl_cv *cd, uint16_t source, uint16_t target) {
    int status = 0;
    void *handle = fn_glu_cv_open(source, target, &status);
    if (status < 1) {
        cd->glu_handle = handle;
        cd->glu_flag = 1;
        cd->glu_load = extension_load;
    }
    return status;
}

// What follows the first "." of a specification, up to a blank, "@" or the end; empty when there is none or it is too long.
void lc_spec2cs_name(const char *spec, char (&name)[NAME_SIZE]) {
    name[0] = '\0';
    const char *dot = spec != nullptr ? strchr(spec, '.') : nullptr;
    if (dot == nullptr) return;
    const size_t length = strcspn(dot + 1, " @");
    if (length >= NAME_SIZE - 1) return;
    memcpy(name, dot + 1, length);
    name[length] = '\0';
}

// Reads an opened object into `cd`, keeping out-of-memory apart from a file that is not there.
int read_opened(FILE *file, gl_cv *cd) {
    if (file == nullptr && get_error(cd) == GL_ENOMEM) return -1;
    return read_cv_file(file, cd);
}

// Reads the object of two codesets into `cd`, or composes what there is none of.
int open_by_numbers(gl_cv *cd, uint16_t source, uint16_t target, const char *directory) {
    bool missing = false;
    FILE *const file = open_cv_object(cd, source, target, directory, missing);
    return missing ? compose_cv(cd, source, target, directory) : read_opened(file, cd);
}

} // namespace

int gl_cv_load(gl_cv **cd, const char *target_spec, const char *source_spec, const char *registry_path, const char *directory) {
    if (gl_init_glu(nullptr) != 0) return fail_with(cd, cd_fileerr);
    if (target_spec == nullptr || source_spec == nullptr) return fail_with(cd, cd_einval);
    const uint16_t target = gl_lc_spec2cs_num(nullptr, target_spec, registry_path);
    const uint16_t source = gl_lc_spec2cs_num(nullptr, source_spec, registry_path);
    if (target == GL_NO_CODESET || source == GL_NO_CODESET) return fail_with(cd, cd_einval);
    if (target == source) {
        *cd = nullptr;
        return 0;
    }
    gl_cv *opened = new_descriptor();
    if (opened == nullptr) return fail_with(cd, cd_enomem);
    *cd = opened;
    if (unicode_collate == 1 && extension_converts(source, target)) {
        if (open_in_extension(opened, source, target) < 1) return 1;
        set_error(opened, GL_ENOFILE);
        return -1;
    }
    return open_by_numbers(opened, source, target, directory) == 0 ? 1 : -1;
}

int gl_cv_open(gl_cv **cd, const char *target_spec, const char *source_spec) {
    if (gl_init_glu(nullptr) != 0) return fail_with(cd, cd_fileerr);
    char target_name[NAME_SIZE];
    char source_name[NAME_SIZE];
    lc_spec2cs_name(target_spec, target_name);
    lc_spec2cs_name(source_spec, source_name);
    if (target_name[0] == '\0' || source_name[0] == '\0') return fail_with(cd, cd_fileerr);
    if (strcmp(target_name, source_name) == 0) {
        *cd = nullptr;
        return 0;
    }
    const uint16_t target = gl_lc_spec2cs_num(nullptr, target_spec, nullptr);
    const uint16_t source = gl_lc_spec2cs_num(nullptr, source_spec, nullptr);
    if (target != GL_NO_CODESET && source != GL_NO_CODESET && extension_converts(source, target)) {
        gl_cv *opened = new_descriptor();
        if (opened == nullptr) return fail_with(cd, cd_enomem);
        *cd = opened;
        const int status = open_in_extension(opened, source, target);
        if (status < 1) return 1;
        set_error(opened, status);
        return -1;
    }
    return gl_iconv_open(cd, target_name, source_name) == 0 ? 1 : -1;
}

int gl_iconv_open(gl_cv **cd, const char *target_cs_name, const char *source_cs_name) {
    if (target_cs_name == nullptr || source_cs_name == nullptr) return fail_with(cd, cd_fileerr);
    if (strcmp(target_cs_name, source_cs_name) == 0) return fail_with(cd, cd_fileerr);
    char name[NAME_SIZE];
    const int length = snprintf(name, sizeof name, "%s_%s.cvo", source_cs_name, target_cs_name);
    if (length < 0 || length >= NAME_SIZE) return fail_with(cd, cd_fileerr);
    gl_cv *opened = new_descriptor();
    if (opened == nullptr) return fail_with(cd, cd_enomem);
    *cd = opened;
    bool missing = false;
    FILE *const file = search_cv_object(opened, name, missing);
    if (!missing) return read_opened(file, opened);
    const uint16_t target = gl_cs_name2cs_num(nullptr, target_cs_name, nullptr);
    const uint16_t source = gl_cs_name2cs_num(nullptr, source_cs_name, nullptr);
    if (target == GL_NO_CODESET || source == GL_NO_CODESET || target == source) return -1;
    set_error(opened, 0);
    return open_by_numbers(opened, source, target, nullptr);
}

int gl_iconv_open1(gl_cv **cd, const char *file_name) {
    gl_cv *opened = new_descriptor();
    if (opened == nullptr) return fail_with(cd, cd_enomem);
    *cd = opened;
    if (file_name == nullptr) {
        set_error(opened, GL_ENOFILE);
        return -1;
    }
    bool missing = false;
    return read_opened(search_cv_object(opened, file_name, missing), opened);
}

int gl_cv_unload(gl_cv *cd) {
    if (cd == nullptr) return -1;
    if (is_canned(cd)) return 0;
    if (cd->glu_flag == 1) {
        cd->glu_flag = 0;
        if (fn_glu_cv_close != nullptr && cd->glu_load == extension_load) fn_glu_cv_close(cd->glu_handle);
    } else {
        free_cv_tables(cd);
    }
    _gl_free_ptr(cd);
    return 0;
}

double gl_iconv_expansion(gl_cv *cd) {
    if (cd->glu_flag != 1) return static_cast<double>(cd->expansion);
    const bool loaded = fn_glu_iconv_expansion != nullptr && cd->glu_load == extension_load;
    return loaded ? fn_glu_iconv_expansion(cd->glu_handle) : fail(cd, GL_ENODATA, 0.0);
}

int gl_cv_outbuflen(gl_cv *cd, int input_length) {
    const double factor = gl_iconv_expansion(cd);
    const auto whole = static_cast<long long>(factor);
    const long long per_byte = static_cast<double>(whole) < factor ? whole + 1 : whole;
    const long long size = per_byte * input_length;
    return size > INT_MAX ? INT_MAX : static_cast<int>(size);
}
