#include "setlc/dispatch.h"

#include "ext/error.h"
#include "multi/table.h"
#include "qbnxdl/served.h"
#include "setlc/handle.h"
#include "util/owned.h"

#include <algorithm>
#include <string.h>

namespace qbgl {

namespace {

void set_conversion_fp(gl_locale *locale, bool single_byte) {
    locale->mbstowcs = single_byte ? _gl_is_mbstowcs : _gl_im_mbstowcs;
    locale->mbfstowcfs = single_byte ? _qbx_gl_is_mbfstowcfs : _qbx_gl_im_mbfstowcfs;
}

void fill_classes(uint16_t *classes, const gl_multi &table) {
    for (int byte = 0; byte < 256; ++byte)
        memcpy(&classes[byte], entry_of(table, *table.root, static_cast<uint8_t>(byte)), sizeof classes[byte]);
}

// Case tables that are there stay: only a category that is put back to its null state loses them. False when memory is out, with
// everything as it was.
bool build_byte_tables(gl_locale *locale) {
    Owned<uint8_t> upper, lower;
    Owned<uint16_t> classes;
    if (locale->upper == nullptr && !(upper = Owned<uint8_t>::allocate(256))) return false;
    if (locale->lower == nullptr && !(lower = Owned<uint8_t>::allocate(256))) return false;
    if (locale->classes == nullptr && !(classes = Owned<uint16_t>::allocate(256))) return false;
    for (gl_wchar byte = 0; upper && byte < 256; ++byte) upper[byte] = static_cast<uint8_t>(_gl_im_towupper(locale, byte));
    for (gl_wchar byte = 0; lower && byte < 256; ++byte) lower[byte] = static_cast<uint8_t>(_gl_im_towlower(locale, byte));
    if (upper) locale->upper = upper.release();
    if (lower) locale->lower = lower.release();
    if (classes) locale->classes = classes.release();
    fill_classes(locale->classes, *locale->ctype.codeset_table);
    return true;
}

struct Collation {
    int (*compare)(gl_locale *, const char *, const char *);
    int (*compare_counted)(gl_locale *, const char *, int, const char *, int);
};

constexpr Collation MULTIBYTE = {_gl_im_mbscoll, _qbx_gl_im_mbfscoll};

// The walkers of single-byte codesets each know some features; the multibyte one knows all. The one for backward passes is also the
// one for rules without any feature.
Collation single_byte_collation(const gl_collate_info &rules) {
    const bool expansions = rules.expansion_count > 0, elements = rules.element_count > 0;
    const int passes = std::min(rules.pass_count, GL_MAX_PASSES);
    const bool backward = std::count(rules.directions, rules.directions + passes, GL_PASS_BACKWARD) > 0;
    if (backward && (expansions || elements)) return MULTIBYTE;
    if (expansions && elements) return {_gl_is_mbscoll_exp_elem, _qbx_gl_is_mbfscoll_exp_elem};
    if (expansions) return {_gl_is_mbscoll_exp, _qbx_gl_is_mbfscoll_exp};
    if (elements) return {_gl_is_mbscoll_elem, _qbx_gl_is_mbfscoll_elem};
    return {_gl_is_mbscoll_back, _qbx_gl_is_mbfscoll_back};
}

} // namespace

void set_collation_fp(gl_locale *locale) {
    Collation collation = MULTIBYTE;
    locale->mbsxfrm = gl_full_mbsxfrm;
    if (locale->collate.kind == GL_COLLATION_THAI) {
        collation = {_gl_thaismocoll, _qbx_gl_thaismoncoll};
        locale->mbsxfrm = _gl_thaismoxfrm;
    } else if (locale->collate.kind == GL_COLLATION_EXTENSION) {
        collation = {_glu_mbscoll, _glu_mbfscoll};
        locale->mbsxfrm = _glu_mbsxfrm;
    } else if (locale->single_byte != 0) {
        collation = single_byte_collation(locale->collate);
    }
    locale->mbscoll = collation.compare;
    locale->mbfscoll = collation.compare_counted;
}

int set_function_pointers(gl_locale *locale) {
    const gl_multi *table = locale->ctype.codeset_table;
    const bool single_byte = table != nullptr && _gl_multi_max_length(table) == 1;
    // The extension's wide characters are not the codeset's bytes.
    const bool by_tables = single_byte && !served_by_extension(locale, GL_CAT_CTYPE);
    if (!by_tables) {
        free_byte_tables(locale);
    } else if (!build_byte_tables(locale)) {
        set_error(locale, GL_ENOMEM);
        return -1;
    }
    locale->single_byte = single_byte ? 1 : 0;
    set_conversion_fp(locale, by_tables);
    set_collation_fp(locale);
    return 0;
}

void ensure_functions(gl_locale *locale) {
    if (locale->mbstowcs == nullptr) set_flags(locale); // asks for memory only where a category is loaded
}

void take_rules(gl_locale *locale) {
    locale->coll_extras = locale->collate.direct != 0 ? 1 : 0;
    if (locale->mbscoll != nullptr) set_collation_fp(locale);
}

int set_flags(gl_locale *locale) {
    take_rules(locale);
    return set_function_pointers(locale);
}

void free_byte_tables(gl_locale *locale) {
    _gl_free_ptr(locale->upper);
    _gl_free_ptr(locale->lower);
    _gl_free_ptr(locale->classes);
    locale->upper = locale->lower = nullptr;
    locale->classes = nullptr;
    locale->single_byte = 0;
    if (locale->mbstowcs == nullptr) return; // not complete yet
    set_conversion_fp(locale, false);
    set_collation_fp(locale);
}

} // namespace qbgl
