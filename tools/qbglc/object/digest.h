// The version of what writes the objects.
#pragma once

#include <string_view>

namespace qbgl::compiler {

enum class ObjectKind { CONVERSION, LOCALE, CHARMAP };

// A digest of the sources that the bytes of such an object depend on, so that objects of an older compiler are made anew.
std::string_view compiler_digest(ObjectKind kind);

} // namespace qbgl::compiler
