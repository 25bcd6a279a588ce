// Text from the command line, which is UTF-8, in a locale's codeset.
#pragma once

#include <string>

namespace qbgl {

// Throws Failure when the text is no UTF-8, or the codeset cannot express all of it as it is.
std::string encoded(const std::string &text, const std::string &codeset);

} // namespace qbgl
