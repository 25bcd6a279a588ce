// The text of a conversion object file.
#pragma once

#include "conversion/join.h"

#include <string>
#include <vector>

namespace qbgl::compiler {

// The header: the two fixed lines, the number of lines, and the given ones. An object with the same header has the same content
// when the lines name everything that the content depends on. Throws DataError for a line that a reader of objects could not take.
std::string conversion_header(const std::vector<std::string> &lines);

// Header, seal and body. Throws DataError when one character's bytes begin another's.
std::string conversion_object(const Conversion &conversion, const std::string &header);

} // namespace qbgl::compiler
