#include "text/number_reader.h"

#include "frame/files.h"
#include "text/encoded.h"
#include "text/utf8.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <climits>
#include <fmt/format.h>

namespace qbgl {

namespace {

constexpr size_t MOST_CHARACTERS = 254; // that the library reads

bool is_digit(gl_wchar wc) { return wc >= '0' && wc <= '9'; }

// The character's value as a digit; of other characters more than any base.
int digit_value(gl_wchar wc) {
    if (is_digit(wc)) return static_cast<int>(wc - '0');
    if (wc >= 'A' && wc <= 'Z') return static_cast<int>(wc - 'A') + 10;
    if (wc >= 'a' && wc <= 'z') return static_cast<int>(wc - 'a') + 10;
    return INT_MAX;
}

// Moves behind 0x in front of a digit, and makes a base of 0 what the text says.
size_t skip_prefix(const gl_wchar *text, int &base) {
    const bool zero = text[0] == '0', hexadecimal = zero && (text[1] == 'x' || text[1] == 'X') && digit_value(text[2]) < 16;
    if (base == 0) base = hexadecimal ? 16 : zero ? 8 : 10;
    return hexadecimal && base == 16 ? 2 : 0;
}

NumberFault no_number(size_t at) { return {"none", "no number begins here", at + 1}; }
NumberFault misgrouped(size_t at) { return {"grouping", "the separators do not stand where the locale has them", at + 1}; }
NumberFault trailing(size_t at) { return {"trailing", "the number ends before this", at + 1}; }
NumberFault out_of_range() { return {"range", "the number is out of range", 0}; }

void strip_zeros(std::string &digits) {
    const size_t zeros = digits.find_first_not_of('0');
    if (zeros == std::string::npos)
        digits = "0";
    else
        digits.erase(0, zeros);
}

} // namespace

NumberReader::NumberReader(gl_locale &locale) : locale_(locale), codeset_(category_codeset(locale, GL_CAT_CTYPE)) {}

std::optional<gl_wchar> NumberReader::wide_character(const std::string &character) {
    const auto [known, is_new] = known_.try_emplace(character);
    if (!is_new) return known->second;
    try {
        const std::string bytes = encoded(character, codeset_);
        gl_wchar wc = 0;
        if (_qbx_gl_full_mbtowc(&locale_, &wc, bytes.data(), static_cast<int>(bytes.size())) > 0) known->second = wc;
    } catch (const Failure &failure) {
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

size_t NumberReader::separator_length(const gl_wchar *at) const { return static_cast<size_t>(gl_iswgrpsymb(&locale_, at, 0, 0)); }

// Behind white space and a sign.
size_t NumberReader::skip_sign(const Wide &text, bool &negative) const {
    size_t at = 0;
    while (gl_iswspace(&locale_, text[at]) != 0) ++at;
    const gl_numeric_info &conventions = locale_.numeric;
    for (const gl_wchar *sign : {conventions.negative_sign.wide, conventions.positive_sign.wide}) {
        const auto length = static_cast<size_t>(gl_wcslen(sign));
        if (length == 0 || text.size() - at < length || !std::equal(sign, sign + length, &text[at])) continue;
        negative = sign == conventions.negative_sign.wide;
        return at + length;
    }
    negative = text[at] == '-';
    return text[at] == '-' || text[at] == '+' ? at + 1 : at;
}

PlainNumber NumberReader::decimal(std::string_view text) {
    const Wide wide = wide_text(text);
    bool negative = false;
    const size_t begin = skip_sign(wide, negative);
    const bool has_digits = std::any_of(wide.begin(), wide.end(), is_digit);
    if (has_digits && separator_length(&wide[begin]) != 0) throw misgrouped(begin);
    size_t longest = begin;
    for (const int grouping : {1, 0}) {
        gl_wchar *end = nullptr;
        locale_.error = 0;
        errno = 0;
        gl_wcstod_num_mon(&locale_, wide.data(), &end, grouping, 0);
        if (errno == ERANGE) throw out_of_range();
        if (locale_.error == 0 && end == &wide.back() && has_digits) return taken_apart(&wide[begin], negative);
        if (locale_.error == 0) longest = std::max(longest, static_cast<size_t>(end - wide.data()));
    }
    if (std::none_of(wide.begin(), wide.begin() + static_cast<ptrdiff_t>(longest), is_digit)) throw no_number(longest);
    throw separator_length(&wide[longest]) != 0 ? misgrouped(longest) : trailing(longest);
}

// Of text that was read whole, from behind the sign.
PlainNumber NumberReader::taken_apart(const gl_wchar *at, bool negative) const {
    PlainNumber number;
    number.negative = negative;
    int point = 0;
    for (; *at != 0 && gl_iswcexponent(at) == 0; ++at) {
        point = gl_iswcdecml(&locale_, at, 0, 0);
        if (point != 0) break;
        if (is_digit(*at)) number.digits += static_cast<char>(*at);
    }
    for (at += point; is_digit(*at); ++at) number.fraction += static_cast<char>(*at);
    if (gl_iswcexponent(at) != 0) ++at;
    for (; *at != 0; ++at) number.exponent += static_cast<char>(*at);
    strip_zeros(number.digits);
    return number;
}

// The library is given digits and separators alone: among groups it takes the low byte of any character for a digit.
PlainNumber NumberReader::integer(std::string_view text, int base, int to_base) {
    const Wide wide = wide_text(text);
    PlainNumber number;
    size_t begin = skip_sign(wide, number.negative);
    begin += skip_prefix(&wide[begin], base);
    size_t stop = begin;
    bool has_digits = false;
    for (size_t length = 1; length != 0; stop += length) {
        const bool digit = digit_value(wide[stop]) < base;
        has_digits = has_digits || digit;
        length = digit ? 1 : separator_length(&wide[stop]);
    }
    if (!has_digits) throw no_number(begin);
    if (separator_length(&wide[begin]) != 0) throw misgrouped(begin);
    Wide run(wide.begin() + static_cast<ptrdiff_t>(begin), wide.begin() + static_cast<ptrdiff_t>(stop));
    run.push_back(0);
    size_t longest = 0;
    for (const int grouping : {1, 0}) {
        gl_wchar *end = run.data();
        locale_.error = 0;
        errno = 0;
        const unsigned long long value = gl_wcstoull(&locale_, run.data(), &end, base, grouping);
        if (errno == ERANGE) throw out_of_range();
        if (locale_.error == 0 && *end == 0) {
            if (stop + 1 != wide.size()) throw trailing(stop);
            char digits[64];
            number.digits.assign(digits, std::to_chars(digits, digits + sizeof digits, value, to_base).ptr);
            number.negative = number.negative && value != 0;
            for (char &digit : number.digits) digit = static_cast<char>(digit >= 'a' ? digit - 'a' + 'A' : digit);
            return number;
        }
        longest = static_cast<size_t>(end - run.data());
    }
    throw misgrouped(begin + longest);
}

} // namespace qbgl
