// Sort keys of texts of any length.
#pragma once

#include "qbgl.h"

#include <string>
#include <string_view>
#include <vector>

namespace qbgl {

class CollationKeys {
  public:
    explicit CollationKeys(gl_locale &locale) : locale_(locale) {}

    // The sort key of a text without NUL characters; valid until the next call. Throws SystemFailure.
    std::string_view key(std::string_view text);

  private:
    gl_locale &locale_;
    std::string text_;
    std::vector<char> key_ = std::vector<char>(1024);
};

} // namespace qbgl
