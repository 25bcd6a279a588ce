// Multibyte text as wide characters, for the time of one call.
#pragma once

#include "coll/table_walk.h"

namespace qbgl {

class WideText {
  public:
    WideText() = default;
    WideText(const WideText &) = delete;
    WideText &operator=(const WideText &) = delete;

    // Converts `len` bytes, or a terminated text for -1, and puts a 0 behind the characters. False with the error number when that
    // fails.
    bool convert(gl_locale *locale, const char *s, int len);

    WideSpan span() const { return {heap_ ? heap_.get() : stack_, length_}; }

  private:
    static constexpr int ON_STACK = 127; // words and short lines: what is longer is rare enough to be allocated

    // Text of any length, in any codeset.
    bool convert_any(gl_locale *locale, const char *s, int len);
    // To the values of the codeset, whoever serves LC_CTYPE.
    bool convert_by_table(gl_locale *locale, const char *s, int len);

    gl_wchar stack_[ON_STACK + 1];
    Owned<gl_wchar> heap_;
    int length_ = 0;
};

} // namespace qbgl
