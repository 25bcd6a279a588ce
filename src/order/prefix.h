// How much of what two texts have in common decides nothing.
#pragma once

#include "order/units.h"

namespace qbgl {

// The last place, up to `common`, where units of both texts begin and behind which no element reaches on. Without maps there are no
// elements.
size_t safe_prefix(const gl_locale *locale, const gl_collation_maps *maps, OrderText a, OrderText b, size_t common);

} // namespace qbgl
