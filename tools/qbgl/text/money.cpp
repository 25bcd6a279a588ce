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

// Each character a blank.
void blank(std::string &text, size_t at, size_t size) {
    const auto begins = [](char byte) { return (static_cast<uint8_t>(byte) & 0xC0) != 0x80; };
    const auto first = text.begin() + static_cast<ptrdiff_t>(at);
    const auto characters = static_cast<size_t>(std::count_if(first, first + static_cast<ptrdiff_t>(size), begins));
    text.replace(at, size, characters, ' ');
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
    for (const Sign &sign : {Sign{view.plain(money.negative_sign.bytes), true}, Sign{"-", true},
                             Sign{view.plain(money.positive_sign.bytes), false}, Sign{"+", false}}) {
        if (!sign.text.empty()) signs_.push_back(sign);
    }
    std::stable_sort(signs_.begin(), signs_.end(), [](const Sign &a, const Sign &b) { return a.text.size() > b.text.size(); });
}

ReadableNumber NumberText::readable(std::string text) const {
    if (!separator_.empty()) join_groups(text);
    if (!monetary_) return {std::move(text)};
    blank_currency(text);
    const bool negative = take_sign(text);
    return {std::move(text), negative};
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

// The currency's sign becomes blanks, and so does every blank that does not separate groups.
void NumberText::blank_currency(std::string &text) const {
    for (const std::string &sign : currency_) {
        const size_t at = text.find(sign);
        if (at == std::string::npos) continue;
        blank(text, at, sign.size());
        break;
    }
    for (size_t at = 0; at < text.size(); ++at) {
        const size_t length = blank_length(std::string_view(text).substr(at));
        const bool groups = at > 0 && is_digit(text[at - 1]) && at + length < text.size() && is_digit(text[at + length]);
        if (length > 1 && !(groups && text.compare(at, length, separator_) == 0)) text.replace(at, length, " ");
    }
}

// Parentheses around the amount, or one sign on either side of it, become blanks. Whether they make it negative. Where there is
// more than one, all stay, for the reader to refuse.
bool NumberText::take_sign(std::string &text) const {
    const auto inner = [](std::string_view whole) {
        const size_t begin = std::min(whole.find_first_not_of(' '), whole.size());
        return whole.substr(begin, whole.find_last_not_of(' ') + 1 - begin);
    };
    std::string rest = text;
    bool negative = false;
    const auto take = [&](std::string_view before, std::string_view behind, bool makes_negative) {
        const std::string_view amount = inner(rest);
        if (amount.size() < before.size() + behind.size()) return false;
        if (!amount.starts_with(before) || !amount.ends_with(behind)) return false;
        const auto begin = static_cast<size_t>(amount.data() - rest.data()), end = begin + amount.size();
        blank(rest, end - behind.size(), behind.size());
        blank(rest, begin, before.size());
        negative = makes_negative;
        return true;
    };
    const auto take_any = [&] {
        return take("(", ")", true) || std::any_of(signs_.begin(), signs_.end(), [&](const Sign &sign) {
                   return take(sign.text, "", sign.negative) || take("", sign.text, sign.negative);
               });
    };
    if (!take_any()) return false;
    const std::string once = rest;
    const bool result = negative;
    if (take_any()) return false;
    text = once;
    return result;
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
