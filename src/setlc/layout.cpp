// The layout that compiled hosts rely on: what the inline functions of the header read (docs/abi.md). Places in bytes, for pointers
// of 4 and of 8.
#include "qbgl.h"

#include <stddef.h>

namespace {

constexpr bool at(size_t place, size_t with_4, size_t with_8) { return place == (sizeof(void *) == 4 ? with_4 : with_8); }

static_assert(at(offsetof(gl_locale, mbscoll), 4, 8) && at(offsetof(gl_locale, mbfstowcfs), 20, 40));
static_assert(at(offsetof(gl_locale, ctype), 68, 112) && at(offsetof(gl_ctype_info, maps), 24, 48));
static_assert(at(offsetof(gl_locale, conv), 804, 1376) && at(offsetof(gl_lconv, n_sign_posn), 95, 183));
static_assert(at(offsetof(gl_locale, glu_flag), 1356, 2048));
static_assert(at(offsetof(gl_codeset_maps, page_blocks), 4, 8) && at(offsetof(gl_codeset_maps, cells), 8, 16));
static_assert(at(offsetof(gl_codeset_maps, single), 12, 24));
static_assert(at(offsetof(gl_codeset_maps, pairs), 268, 280) && at(offsetof(gl_codeset_maps, triples), 272, 288));
static_assert(sizeof(gl_character_cell) == 4 && offsetof(gl_character_cell, case_pair) == 2);
static_assert(offsetof(gl_cv, error) == 0 && offsetof(gl_locale, error) == 0);

} // namespace
