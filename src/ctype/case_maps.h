// The case mapping's share of the look-up arrays.
#pragma once

#include "mbwc/maps.h"

namespace qbgl {

// Fills case_pages, upper_byte and lower_byte, which build_codeset_maps leaves zero.
void build_case_maps(const gl_ctype_info &info, CodesetMaps &maps);

} // namespace qbgl
