// What an object tells of its keys.
#pragma once

#include <string>

namespace qbgl::compiler {

// The lines behind a section of collation (src/order/parts.h has their form), as the library makes them of the section; empty for
// rules that have none.
std::string order_key_lines(const std::string &section);

} // namespace qbgl::compiler
