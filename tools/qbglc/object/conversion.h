// The text of a conversion object file.
#pragma once

#include "conversion/join.h"

#include <string>
#include <vector>

namespace qbgl::compiler {

// The header: the two fixed lines, the number of lines, and the given ones. An object with the same header has the same content
// when the lines name everything that the content depends on. Throws DataError for a line that a reader of objects could not take.
std::string conversion_header(const std::vector<std::string> &lines);

// Adds the line that tells by which rules source and target have characters that the tables need not list; none without the
// source's.
void add_rules(std::vector<std::string> &lines, const std::string &source, const std::string &target);

// Header, seal and body. Throws DataError when one character's bytes begin another's.
std::string conversion_object(const Conversion &conversion, const std::string &header);

} // namespace qbgl::compiler
