// What shows that an object is as it was written.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qbgl::compiler {

// Begins the last header line of every object. The sum behind it is over all other bytes, so that header and body belong together.
inline constexpr std::string_view CHECKSUM_LINE = "CHECKSUM=";

// Inserts the line at the end of the header, which has counted it already.
void seal(std::string &object, size_t end_of_header);

enum class Seal { NONE, WHOLE, BROKEN };
Seal check_seal(std::string_view object);

// What stands behind `key` in its header line, empty when the header has none such.
std::string_view header_value(std::string_view object, std::string_view key);

} // namespace qbgl::compiler
