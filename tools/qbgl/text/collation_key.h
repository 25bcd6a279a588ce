// Sort keys of texts of any length.
#pragma once

#include "qbgl.h"

#include <string>
#include <string_view>
#include <vector>

namespace qbgl {

class CollationKeys {
  public:
    // A byte of text may need 15 bytes of key, and 32-bit programs must have room for both.
    static constexpr size_t LONGEST = 1 << 25;

    explicit CollationKeys(gl_locale &locale) : locale_(locale) {}

    // The sort key of a text of at most LONGEST bytes, without NUL characters; valid until the next call. Throws Failure.
    std::string_view key(std::string_view text);
    // The same of the order for indexes, which takes any bytes.
    std::string_view dense_key(std::string_view text);

  private:
    gl_locale &locale_;
    std::string text_;
    std::vector<char> key_ = std::vector<char>(1024);
};

} // namespace qbgl
