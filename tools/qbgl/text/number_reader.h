// Numbers as people of a locale write them, taken apart without loss.
#pragma once

#include "frame/messages.h"
#include "tree/locale_handle.h"

#include <map>
#include <optional>
#include <vector>

namespace qbgl {

// A number in digits of its base, without needless zeros in front.
struct PlainNumber {
    bool negative = false;
    std::string digits, fraction, exponent; // of the exponent the sign, too
};

// What is in the way of reading a number.
struct NumberFault {
    std::string_view kind; // for machines
    std::string sentence;
    size_t position; // of the first character that is not part of a number, from 1 on; 0 when all of them are
};

// By the conventions of LC_NUMERIC.
class NumberReader {
  public:
    explicit NumberReader(gl_locale &locale);

    // Both take UTF-8 text, with separators at all borders of groups or without any, and throw NumberFault. The second one gives
    // the digits of base `to_base`; a base of 0 looks for 0x and 0.
    PlainNumber decimal(std::string_view text);
    PlainNumber integer(std::string_view text, int base, int to_base);

  private:
    using Wide = std::vector<gl_wchar>;

    Wide wide_text(std::string_view text);
    std::optional<gl_wchar> wide_character(const std::string &character);
    size_t separator_length(const gl_wchar *at) const; // 0 when none begins there
    size_t skip_sign(const Wide &text, bool &negative) const;
    PlainNumber taken_apart(const gl_wchar *at, bool negative) const;

    gl_locale &locale_;
    std::string codeset_;
    std::map<std::string, std::optional<gl_wchar>> known_; // what the codeset lacks is nothing
};

} // namespace qbgl
