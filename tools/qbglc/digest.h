// The version of what writes the objects.
#pragma once

#include <string_view>

namespace qbgl::compiler {

// A digest of the sources that an object's bytes depend on, so that objects of an older compiler are made anew.
std::string_view compiler_digest();

} // namespace qbgl::compiler
