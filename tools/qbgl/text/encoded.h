// Text from the command line, which is UTF-8, in a locale's codeset.
#pragma once

#include "text/conversion.h"

namespace qbgl {

// For many texts: the conversion is opened once. Throws Failure when there is none.
class TextEncoder {
  public:
    explicit TextEncoder(const std::string &codeset);

    // As the functions below.
    std::string encoded(const std::string &text) const;
    std::string encoded_bytes(const std::string &text) const;

  private:
    std::string codeset_;
    std::unique_ptr<Conversion> conversion_; // null for UTF-8 itself
};

// Throws Failure when the text is no UTF-8, or the codeset cannot express all of it as it is.
std::string encoded(const std::string &text, const std::string &codeset);
// The same, but where the codeset is UTF-8 itself, with any bytes as they stand.
std::string encoded_bytes(const std::string &text, const std::string &codeset);

} // namespace qbgl
