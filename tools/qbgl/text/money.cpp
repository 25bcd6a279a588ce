#include "text/money.h"

#include "text/shown_text.h"
#include "text/utf8.h"

#include <algorithm>

namespace qbgl {

namespace {

// What people type where a locale has one of them.
constexpr std::string_view BLANKS[] = {" ", "\u00A0", "\u2009", "\u202F"};

bool is_digit(char c) { return c >= '0' && c <= '9'; }

size_t blank_length(std::string_view text) {
    for (const std::string_view blank : BLANKS) {
        if (text.starts_with(blank)) return blank.size();
    }
    return 0;
}

std::string trimmed(std::string text) {
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

int known(int32_t value, int otherwise) { return value == GL_NOT_AVAILABLE ? otherwise : value; }

} // namespace

NumberText::NumberText(const gl_locale &locale, NumberRules rules) : monetary_(rules == NumberRules::MONETARY) {
    const TextView view(category_codeset(locale, monetary_ ? GL_CAT_MONETARY : GL_CAT_NUMERIC));
    const gl_monetary_info &money = locale.monetary;
    separator_ = view.plain((monetary_ ? money.mon_thousands_sep : locale.numeric.thousands_sep).bytes);
    if (blank_length(separator_) != separator_.size()) separator_ = "";
    if (!monetary_) return;
    for (const gl_text *sign : {&money.int_curr_symbol, &money.currency_symbol}) {
        if (const std::string text = trimmed(view.plain(sign->bytes)); !text.empty()) currency_.push_back(text);
    }
    std::stable_sort(currency_.begin(), currency_.end(), [](const auto &a, const auto &b) { return a.size() > b.size(); });
    minus_ = view.plain(money.negative_sign.bytes);
    if (minus_.empty()) minus_ = "-";
}

std::string NumberText::readable(std::string text) const {
    if (!separator_.empty()) join_groups(text);
    if (monetary_) blank_currency(text);
    return text;
}

// Any blank between digits is the locale's.
void NumberText::join_groups(std::string &text) const {
    for (size_t at = 1; at < text.size(); ++at) {
        const size_t length = blank_length(std::string_view(text).substr(at));
        if (length == 0 || !is_digit(text[at - 1]) || at + length >= text.size() || !is_digit(text[at + length])) continue;
        text.replace(at, length, separator_);
        at += separator_.size();
    }
}

// The currency's sign, the minus before it and the blanks around them become blanks, and the minus stands before the digits.
void NumberText::blank_currency(std::string &text) const {
    const size_t digit = std::min(text.find_first_of("0123456789"), text.size());
    const auto blank = [&](size_t at, const std::string &what) {
        size_t characters = 0;
        for (const char byte : what) characters += (static_cast<uint8_t>(byte) & 0xC0) != 0x80 ? 1 : 0;
        text.replace(at, what.size(), characters, ' ');
    };
    for (const std::string &sign : currency_) {
        const size_t at = text.find(sign);
        if (at == std::string::npos) continue;
        const size_t minus = text.find(minus_);
        blank(at, sign);
        if (at > digit) break;
        if (minus == std::string::npos || minus > at) break;
        blank(minus, minus_);
        const size_t first = text.find_first_of("0123456789");
        if (first != std::string::npos && first > 0) text.replace(first - 1, 1, minus_);
        break;
    }
    for (const std::string_view other : {BLANKS[1], BLANKS[2], BLANKS[3]}) {
        for (size_t at = text.find(other); at != std::string::npos && separator_ != other; at = text.find(other, at))
            text.replace(at, other.size(), " ");
    }
}

MoneyForm::MoneyForm(const gl_locale &locale) : money_(locale.monetary) {
    const TextView view(category_codeset(locale, GL_CAT_MONETARY));
    currency_ = view.plain(money_.currency_symbol.bytes);
    plus_ = view.plain(money_.positive_sign.bytes);
    minus_ = view.plain(money_.negative_sign.bytes);
    if (minus_.empty()) minus_ = "-";
}

std::string MoneyForm::fraction(std::string digits) const {
    const auto least = static_cast<size_t>(std::clamp(known(money_.frac_digits, 0), 0, 9));
    if (digits.size() < least) digits.resize(least, '0');
    return digits;
}

// The numbers are those of POSIX's localeconv(): where the sign stands (0 to 4), and whether a blank separates the currency's sign
// from the amount (1) or from the sign (2).
std::string MoneyForm::text(const std::string &amount, bool negative) const {
    const std::string &sign = negative ? minus_ : plus_;
    const bool before = known(negative ? money_.n_cs_precedes : money_.p_cs_precedes, 1) != 0;
    const int space = known(negative ? money_.n_sep_by_space : money_.p_sep_by_space, 0);
    const int place = known(negative ? money_.n_sign_posn : money_.p_sign_posn, 1);
    std::string currency = currency_;
    const std::string beside = space == 2 && !sign.empty() ? " " : "";
    if (!currency.empty() && place == 3) currency = sign + beside + currency;
    if (!currency.empty() && place == 4) currency += beside + sign;
    const std::string gap = space == 1 && !currency.empty() ? " " : "";
    std::string result = before ? currency + gap + amount : amount + gap + currency;
    if (place == 0 && negative) return "(" + result + ")";
    if (place == 2) return result + sign;
    if (place == 1 || place == 0 || currency_.empty()) return sign + result;
    return result;
}

} // namespace qbgl
