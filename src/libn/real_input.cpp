// Real numbers of wide text.
#include "libn/decimal.h"
#include "libn/grouping.h"
#include "libn/symbol.h"
#include "util/ascii.h"

#include <errno.h>

using namespace qbgl;

namespace {

constexpr int MOST_IN_RUN = 254;        // digits and separators
constexpr int ENOUGH_EXPONENT = 100000; // far beyond what digits before it could make up for

struct Conventions {
    const gl_text &point, &separator;
    const gl_grouping &grouping;
    const gl_text &positive, &negative;
};

Conventions conventions_of(const gl_locale *locale, bool monetary) {
    const gl_numeric_info &numbers = locale->numeric;
    const gl_monetary_info &money = locale->monetary;
    if (monetary)
        return {money.mon_decimal_point, money.mon_thousands_sep, money.mon_grouping, money.positive_sign, money.negative_sign};
    return {numbers.decimal_point, numbers.thousands_sep, numbers.grouping, numbers.positive_sign, numbers.negative_sign};
}

// The length of the sign at the beginning of a text.
int read_sign(const Conventions &conventions, const gl_wchar *at, bool &negative) {
    const int length = sign_length(conventions.negative, at);
    negative = length > 0 || *at == '-';
    if (length > 0) return length;
    if (const int positive = sign_length(conventions.positive, at); positive > 0) {
        negative = false;
        return positive;
    }
    return *at == '-' || *at == '+' ? 1 : 0;
}

// Takes digits as far as there is room; what is left behind them is told as an error.
const gl_wchar *take_digits(gl_locale *locale, const gl_wchar *at, int &room, NumberText &text) {
    for (; is_ascii_digit(*at); ++at, --room) {
        if (room == 0) {
            set_error(locale, GL_E2BIG);
            break;
        }
        text.append(static_cast<char>(*at));
    }
    return at;
}

// Where the digits and separators from `at` on end; null with the error when they are too many.
const gl_wchar *end_of_run(gl_locale *locale, const gl_wchar *at, const Symbol &separator) {
    const gl_wchar *const begin = at;
    for (;;) {
        if (is_in_class(locale, *at, GL_CLASS_DIGIT))
            ++at;
        else if (const int length = separator.starting_at(at); length > 0)
            at += length;
        else
            return at;
        if (at - begin <= MOST_IN_RUN) continue;
        set_error(locale, GL_EINVAL);
        return nullptr;
    }
}

// From the last digit to the first: false for what stands where a digit or a separator has to be.
bool take_groups(gl_locale *locale, const gl_wchar *begin, const gl_wchar *end, const gl_grouping &grouping,
                 const Symbol &separator, NumberText &text) {
    GroupSizes sizes(grouping);
    for (int in_group = 0; end != begin;) {
        if (in_group < sizes.current()) {
            if (!is_ascii_digit(*--end)) return false;
            text.prepend(static_cast<char>(*end));
            ++in_group;
            continue;
        }
        sizes.advance();
        in_group = 0;
        const int length = separator.ending_before(end, begin);
        if (length == 0) {
            set_error(locale, GL_EINVAL);
            return false;
        }
        end -= length;
    }
    return true;
}

// The digits before the point. Null when there are none, or not as grouping wants them.
const gl_wchar *wcsdigits_to_str(gl_locale *locale, const gl_wchar *at, const Conventions &conventions, bool grouped,
                                 NumberText &text) {
    if (!grouped) {
        int room = MOST_BEFORE_POINT;
        const gl_wchar *const end = take_digits(locale, at, room, text);
        return end != at ? end : nullptr;
    }
    const Symbol separator(locale, conventions.separator, Overlong::EMPTY);
    const gl_wchar *const end = end_of_run(locale, at, separator);
    return end != nullptr && take_groups(locale, at, end, conventions.grouping, separator, text) ? end : nullptr;
}

// The point with the digits behind it, and the exponent; `room` is what its text may have.
const gl_wchar *wcsfracdigits_to_str(gl_locale *locale, const gl_wchar *at, const Symbol &point, Decimal &number) {
    int room = MOST_BEHIND_POINT;
    if (const int length = point.starting_at(at); length > 0) {
        at += length;
        const int before = --room;
        at = take_digits(locale, at, room, number.digits);
        number.fraction = before - room;
    }
    const int mark = gl_iswcexponent(at);
    if (mark == 0 || !is_ascii_digit(at[mark])) return at;
    if (room <= mark) {
        set_error(locale, GL_E2BIG);
        return at;
    }
    const bool negative = at[1] == '-';
    at += mark;
    for (room -= mark; is_ascii_digit(*at); ++at, --room) {
        if (room == 0) {
            set_error(locale, GL_E2BIG);
            break;
        }
        if (number.exponent < ENOUGH_EXPONENT) number.exponent = number.exponent * 10 + static_cast<int>(*at - '0');
    }
    if (negative) number.exponent = -number.exponent;
    return at;
}

} // namespace

Reading<double> qbgl::read_real(gl_locale *locale, const gl_wchar *s, bool grouped, bool monetary) {
    const Conventions conventions = conventions_of(locale, monetary);
    Decimal number;
    const gl_wchar *at = skip_spaces(locale, s);
    at += read_sign(conventions, at, number.negative);
    const Symbol point(locale, conventions.point, Overlong::CUT);
    if (*at != *point.chars()) {
        at = wcsdigits_to_str(locale, at, conventions, grouped, number.digits);
        if (at == nullptr) return {0.0, s};
    }
    const gl_wchar *const end = wcsfracdigits_to_str(locale, at, point, number);
    if (number.digits.length() > 0) {
        const double value = value_of(number);
        return {value, end, errno == ERANGE};
    }
    errno = 0;
    if (number.negative || end != at) set_error(locale, GL_ENOCONV);
    return {0.0, end};
}

double gl_wcstod_num_mon(gl_locale *locale, const gl_wchar *s, gl_wchar **end, int grouping, int monetary) {
    if (s == nullptr) {
        set_error(locale, GL_ENULLPTR);
        return 0.0;
    }
    const Reading<double> reading = read_real(locale, s, grouping != 0, monetary != 0);
    if (end != nullptr) *end = const_cast<gl_wchar *>(reading.end);
    return reading.value;
}

double gl_wcstod(gl_locale *locale, const gl_wchar *s, gl_wchar **end, int grouping) {
    return gl_wcstod_num_mon(locale, s, end, grouping, 0);
}

int gl_getDecimalCharIndex(const char *text) {
    const char *at = text;
    while (ascii::is_space(*at)) ++at;
    if (*at == '-' || *at == '+') ++at;
    while (ascii::is_digit(*at)) ++at;
    return *at == '.' || *at == ',' ? static_cast<int>(at - text) : -1;
}
