// Wide text as multibyte text, for the time of one call.
#pragma once

#include "coll/table_walk.h"

namespace qbgl {

class MultibyteText {
  public:
    MultibyteText() = default;
    MultibyteText(const MultibyteText &) = delete;
    MultibyteText &operator=(const MultibyteText &) = delete;

    // Puts the codeset's NUL behind the text. False with the error number when that fails.
    bool convert(gl_locale *locale, WideSpan span);

    const char *get() const { return heap_ ? heap_.get() : stack_; }
    int length() const { return length_; }

  private:
    static constexpr int64_t ON_STACK = 511;

    char stack_[ON_STACK + 1];
    Owned<char> heap_;
    int length_ = 0;
};

} // namespace qbgl
