#include "text/money.h"

#include "text/utf8.h"

#include <algorithm>
#include <fmt/format.h>

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

size_t leading_blanks(std::string_view text) {
    size_t size = 0;
    while (const size_t length = blank_length(text.substr(size))) size += length;
    return size;
}

size_t characters_in(std::string_view text) {
    return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char byte) { return (byte & 0xC0) != 0x80; }));
}

// With the zeros that end a text in any codeset behind it.
std::string terminated(std::string text) { return text.append(sizeof(gl_wchar), '\0'); }

} // namespace

std::string blank_separator(const gl_locale &locale) {
    const std::string separator = TextView(category_codeset(locale, GL_CAT_NUMERIC)).plain(locale.numeric.thousands_sep.bytes);
    return blank_length(separator) == separator.size() ? separator : "";
}

std::string with_blanks(std::string text, const std::string &separator) {
    if (separator.empty()) return text;
    for (size_t at = 1; at < text.size(); ++at) {
        const size_t length = blank_length(std::string_view(text).substr(at));
        if (length == 0 || !is_digit(text[at - 1]) || at + length >= text.size() || !is_digit(text[at + length])) continue;
        text.replace(at, length, separator);
        at += separator.size();
    }
    return text;
}

Amounts::Amounts(gl_locale &locale, CurrencySymbol symbol)
    : locale_(locale), symbol_(symbol), encoder_(category_codeset(locale, GL_CAT_MONETARY)),
      view_(category_codeset(locale, GL_CAT_MONETARY)) {}

PlainNumber Amounts::read(const std::string &text) const {
    if (const size_t position = first_bad_character(text); position != 0)
        throw NumberFault{"character", "utf8 has no such character", position};
    std::string input;
    try {
        input = terminated(encoder_.encoded(text));
    } catch (const Failure &failure) {
        if (failure.status != ExitStatus::CALL) throw;
        throw NumberFault{"character", failure.sentence, 0};
    }
    std::string decimal(input.size() + 2, '\0');
    const char *end = nullptr;
    const int length = gl_mbspmon(&locale_, input.c_str(), &end, decimal.data(), static_cast<int>(decimal.size()));
    if (length < 0) throw NumberFault{"none", "no amount begins here", characters_in(text.substr(0, leading_blanks(text))) + 1};
    const std::string_view rest = std::string_view(input).substr(static_cast<size_t>(end - input.c_str()));
    const std::string behind = view_.plain(rest.substr(0, rest.size() - sizeof(gl_wchar)));
    if (behind.find_first_not_of("\r\t", leading_blanks(behind)) != std::string::npos)
        throw NumberFault{"trailing", "the amount ends before this", characters_in(text) - characters_in(behind) + 1};
    PlainNumber result;
    result.negative = decimal[0] == '-';
    decimal = decimal.substr(result.negative ? 1 : 0, static_cast<size_t>(length) - (result.negative ? 1 : 0));
    const size_t point = std::min(decimal.find('.'), decimal.size());
    result.digits = decimal.substr(0, point);
    if (point < decimal.size()) result.fraction = decimal.substr(point + 1);
    return result;
}

std::string Amounts::written(const PlainNumber &number) const {
    constexpr size_t ROOM_AROUND = 4096; // for signs, symbols and blanks
    const std::string decimal = (number.negative ? "-" : "") + number.digits + "." + number.fraction;
    const gl_monetary_info &money = locale_.monetary;
    const int32_t own = symbol_ == CurrencySymbol::LOCAL ? money.frac_digits : money.int_frac_digits;
    const size_t digits = std::max(number.fraction.size(), static_cast<size_t>(own == GL_NOT_AVAILABLE ? 0 : std::max(own, 0)));
    const std::string format =
        terminated(encoder_.encoded(fmt::format("%.{}{}", digits, symbol_ == CurrencySymbol::LOCAL ? 'n' : 'i')));
    std::string text((number.digits.size() * 2 + digits) * sizeof(gl_wchar) + ROOM_AROUND, '\0');
    const int length = gl_mbsfmon_text(&locale_, text.data(), static_cast<int>(text.size()), format.c_str(), decimal.c_str());
    if (length < 0) throw NumberFault{"range", gl_strerror(gl_errno(&locale_)), 0};
    return view_.plain(std::string_view(text).substr(0, static_cast<size_t>(length)));
}

} // namespace qbgl
