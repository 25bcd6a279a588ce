#include "number_reader.h"

#include "encoded.h"
#include "files.h"
#include "utf8.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <fmt/format.h>

namespace qbgl {

namespace {

constexpr size_t MOST_CHARACTERS = 254; // that the library reads

bool is_digit(gl_wchar wc) { return wc >= '0' && wc <= '9'; }

void strip_zeros(std::string &digits) {
    const size_t zeros = digits.find_first_not_of('0');
    if (zeros == std::string::npos)
        digits = "0";
    else
        digits.erase(0, zeros);
}

} // namespace

NumberReader::NumberReader(gl_locale &locale, NumberRules rules)
    : locale_(locale), monetary_(rules == NumberRules::MONETARY ? 1 : 0), codeset_(category_codeset(locale, GL_CAT_CTYPE)) {}

std::optional<gl_wchar> NumberReader::wide_character(const std::string &character) {
    const auto [known, is_new] = known_.try_emplace(character);
    if (!is_new) return known->second;
    try {
        const std::string bytes = encoded(character, codeset_);
        gl_wchar wc = 0;
        if (_qbx_gl_full_mbtowc(&locale_, &wc, bytes.data(), static_cast<int>(bytes.size())) > 0) known->second = wc;
    } catch (const SystemFailure &failure) {
        if (failure.status != ExitStatus::CALL) throw;
    }
    return known->second;
}

// Without white space at the end, and with a terminator.
NumberReader::Wide NumberReader::wide_text(std::string_view text) {
    Wide result;
    while (!text.empty()) {
        const size_t length = utf8_length(text);
        const auto wc = length != 0 ? wide_character(std::string(text.substr(0, length))) : std::nullopt;
        if (!wc) {
            throw NumberFault{"character", fmt::format("{} has no such character", codeset_), result.size() + 1};
        }
        result.push_back(*wc);
        text.remove_prefix(length);
    }
    while (!result.empty() && gl_iswspace(&locale_, result.back()) != 0) result.pop_back();
    if (result.size() > MOST_CHARACTERS) throw NumberFault{"length", "no number is this long", MOST_CHARACTERS + 1};
    result.push_back(0);
    return result;
}

bool NumberReader::is_separator(const gl_wchar *at) const { return gl_iswgrpsymb(&locale_, at, 0, monetary_) != 0; }

void NumberReader::refuse(const Wide &text, size_t at) const {
    const bool after_digits = std::any_of(text.begin(), text.begin() + static_cast<ptrdiff_t>(at), is_digit);
    if (after_digits && is_separator(&text[at]))
        throw NumberFault{"grouping", "the separators do not stand where the locale has them", at + 1};
    if (after_digits) throw NumberFault{"trailing", "the number ends before this", at + 1};
    throw NumberFault{"none", "no number begins here", at + 1};
}

PlainNumber NumberReader::decimal(std::string_view text) {
    const Wide wide = wide_text(text);
    size_t longest = 0;
    for (const int grouping : {1, 0}) {
        gl_wchar *end = nullptr;
        locale_.error = 0;
        errno = 0;
        const double value = gl_wcstod_num_mon(&locale_, wide.data(), &end, grouping, monetary_);
        const auto length = static_cast<size_t>(end - wide.data());
        if (errno == ERANGE) throw NumberFault{"range", "the number is out of range", 0};
        if (locale_.error == 0 && *end == 0 && length > 0) return taken_apart(wide, std::signbit(value));
        longest = std::max(longest, locale_.error == 0 ? length : 0);
    }
    refuse(wide, longest);
}

// Of text that was read whole.
PlainNumber NumberReader::taken_apart(const Wide &text, bool negative) const {
    PlainNumber number;
    number.negative = negative;
    const gl_wchar *at = text.data();
    int point = 0;
    while (!is_digit(*at) && (point = gl_iswcdecml(&locale_, at, 0, monetary_)) == 0) ++at; // spaces and sign
    for (; *at != 0 && gl_iswcexponent(at) == 0; ++at) {
        point = gl_iswcdecml(&locale_, at, 0, monetary_);
        if (point != 0) break;
        if (is_digit(*at)) number.digits += static_cast<char>(*at);
    }
    for (at += point; is_digit(*at); ++at) number.fraction += static_cast<char>(*at);
    if (gl_iswcexponent(at) != 0) ++at;
    for (; *at != 0; ++at) number.exponent += static_cast<char>(*at);
    strip_zeros(number.digits);
    return number;
}

// Behind white space and a sign.
size_t NumberReader::skip_sign(const Wide &text, bool &negative) const {
    size_t at = 0;
    while (gl_iswspace(&locale_, text[at]) != 0) ++at;
    const gl_numeric_info &numeric = locale_.numeric;
    for (const gl_wchar *sign : {numeric.negative_sign.wide, numeric.positive_sign.wide}) {
        const auto length = static_cast<size_t>(gl_wcslen(sign));
        if (length == 0 || text.size() - at < length || !std::equal(sign, sign + length, &text[at])) continue;
        negative = sign == numeric.negative_sign.wide;
        return at + length;
    }
    negative = text[at] == '-';
    return text[at] == '-' || text[at] == '+' ? at + 1 : at;
}

PlainNumber NumberReader::integer(std::string_view text, int base, int to_base) {
    const Wide wide = wide_text(text);
    PlainNumber number;
    const size_t begin = skip_sign(wide, number.negative);
    size_t longest = begin;
    for (const int grouping : {1, 0}) {
        gl_wchar *end = const_cast<gl_wchar *>(&wide[begin]);
        locale_.error = 0;
        errno = 0;
        unsigned long long value = 0;
        if (wide[begin] != '-' && wide[begin] != '+' && gl_iswspace(&locale_, wide[begin]) == 0) // one sign is enough
            value = gl_wcstoull(&locale_, &wide[begin], &end, base, grouping);
        const auto length = static_cast<size_t>(end - wide.data());
        if (errno == ERANGE) throw NumberFault{"range", "the number is out of range", 0};
        if (locale_.error == 0 && *end == 0 && length > begin) {
            char digits[64];
            number.digits.assign(digits, std::to_chars(digits, digits + sizeof digits, value, to_base).ptr);
            number.negative = number.negative && value != 0;
            for (char &digit : number.digits) digit = static_cast<char>(digit >= 'a' ? digit - 'a' + 'A' : digit);
            return number;
        }
        longest = std::max(longest, length);
    }
    refuse(wide, longest);
}

} // namespace qbgl
