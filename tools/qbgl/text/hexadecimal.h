// Bytes as hexadecimal digits.
#pragma once

#include <string>
#include <string_view>

namespace qbgl {

// Two upper-case digits a byte, with `between` between them.
std::string hexadecimal(std::string_view bytes, std::string_view between = "");

} // namespace qbgl
