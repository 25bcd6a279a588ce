// The codesets that people mean by the names they use.
#pragma once

#include "frame/messages.h"

#include <set>

namespace qbgl {

// The number of a codeset that is named by a name of the registry in any spelling (case, '-', '_', '.', ':' and blanks do not
// count), by a name that it has elsewhere, by its number, or by a locale. Throws Failure, which names the nearest ones, or what is
// offered instead of a codeset that is well known but not in the registry.
uint16_t codeset_number(const std::string &name);

// The same as a name that the library takes; nothing is thrown, an unknown name stays as it is.
std::string registered_name(const std::string &name);

// A name without what does not count in it.
std::string folded_name(std::string_view name);

// The numbers of the direct conversions that are installed, source and target.
using ConversionNumbers = std::set<std::pair<uint16_t, uint16_t>>;
ConversionNumbers installed_conversions();

// Whether text of a codeset can be converted to and from any other.
bool is_convertible(uint16_t codeset, const ConversionNumbers &conversions);

} // namespace qbgl
