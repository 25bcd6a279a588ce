// Numbers with what stands around them: blanks between groups, and amounts of money.
#pragma once

#include "text/encoded.h"
#include "text/number_reader.h"
#include "text/shown_text.h"

namespace qbgl {

// The locale's separator of groups where it is a blank, otherwise nothing; in UTF-8.
std::string blank_separator(const gl_locale &locale);

// The text with that in place of any blank between digits.
std::string with_blanks(std::string text, const std::string &separator);

enum class CurrencySymbol { LOCAL, INTERNATIONAL };

// Amounts as a locale writes them, in UTF-8.
class Amounts {
  public:
    Amounts(gl_locale &locale, CurrencySymbol symbol);

    // Throws NumberFault.
    PlainNumber read(const std::string &text) const;
    // With at least so many digits of fraction as the currency has, and all that there are.
    std::string written(const PlainNumber &number) const;

  private:
    gl_locale &locale_;
    CurrencySymbol symbol_;
    TextEncoder encoder_;
    TextView view_;
};

} // namespace qbgl
