// The order under rules that have the weight 0, or a special weight 1, which the look-up arrays cannot hold: no compiler writes it,
// but rules that were made by hand give it to characters that they do not list.
#pragma once

#include "order/maps.h"

namespace qbgl {

// Builds the maps for a copy of the rules whose weights are raised. False when memory is out. Null for rules that do not fit
// after that either.
bool build_raised_order_maps(const gl_collate_info &rules, gl_order_maps *&maps);

} // namespace qbgl
