// Text from the command line, which is UTF-8, in a locale's codeset.
#pragma once

#include <string>

namespace qbgl {

// Throws Failure when the text is no UTF-8, or the codeset cannot express all of it as it is.
std::string encoded(const std::string &text, const std::string &codeset);
// The same, but where the codeset is UTF-8 itself, with any bytes as they stand.
std::string encoded_bytes(const std::string &text, const std::string &codeset);

} // namespace qbgl
