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

// The order of two texts by a function of multibyte text, or 0 with the error number.
template <class Function> int compare_as_multibyte(gl_locale *locale, WideSpan a, WideSpan b, Function function) {
    MultibyteText text_a, text_b;
    if (!text_a.convert(locale, a) || !text_b.convert(locale, b)) return 0;
    return function(locale, text_a.get(), text_a.length(), text_b.get(), text_b.length());
}

} // namespace qbgl
