// Numbers with what stands around them: signs of currencies, and blanks between groups.
#pragma once

#include "text/number_reader.h"

namespace qbgl {

// The digits with blanks around them, and the sign of an amount of money.
struct ReadableNumber {
    std::string text;
    bool negative = false;
};

// Makes texts, in UTF-8, such as a NumberReader takes. Characters give way to others one by one, so that places stay.
class NumberText {
  public:
    NumberText(const gl_locale &locale, NumberRules rules);
    ReadableNumber readable(std::string text) const;

  private:
    void join_groups(std::string &text) const;
    void blank_currency(std::string &text) const;
    bool take_sign(std::string &text) const;

    struct Sign {
        std::string text;
        bool negative;
    };

    std::string separator_;             // of groups, when it is a blank
    std::vector<std::string> currency_; // its signs, the longer ones first
    std::vector<Sign> signs_;           // likewise
    bool monetary_;
};

// An amount as the locale writes it: with its fraction digits, its currency's sign, and the sign where it stands.
class MoneyForm {
  public:
    explicit MoneyForm(const gl_locale &locale);
    // At least so many digits as the locale has, and all that there are.
    std::string fraction(std::string digits) const;
    std::string text(const std::string &amount, bool negative) const;

  private:
    const gl_monetary_info &money_;
    std::string currency_, plus_, minus_;
};

} // namespace qbgl
