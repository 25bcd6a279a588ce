#include "print/digits.h"

#include "util/ascii.h"
#include "util/decimal_digits.h"

#include <algorithm>
#include <math.h>
#include <stdio.h>

namespace qbgl {

namespace {

char *by_bits(char *end, uint64_t value, unsigned bits, const char *digits) {
    do *--end = digits[value & ((1U << bits) - 1)];
    while ((value >>= bits) != 0);
    return end;
}

} // namespace

char *hexadecimal(char *end, uint64_t value, bool upper) {
    return by_bits(end, value, 4, upper ? "0123456789ABCDEF" : "0123456789abcdef");
}

namespace {

void put_sign(Number &number, const FormatConversion &conversion, bool negative) {
    if (negative)
        number.prepend('-');
    else if ((conversion.flags & (SIGN | SPACE)) != 0)
        number.prepend((conversion.flags & SIGN) != 0 ? '+' : ' ');
}

} // namespace

Number integer_number(const FormatConversion &conversion, uint64_t magnitude, bool negative, IntegerText &room) {
    Number number;
    char *const end = room + sizeof room, *begin = end;
    const char letter = static_cast<char>(conversion.letter);
    const int precision = conversion.precision.value;
    if (letter == 'd' || letter == 'i') put_sign(number, conversion, negative);
    if (magnitude != 0 || precision != 0) {
        if (letter == 'o')
            begin = by_bits(end, magnitude, 3, "01234567");
        else if (letter == 'x' || letter == 'X')
            begin = hexadecimal(end, magnitude, letter == 'X');
        else
            begin = decimal(end, magnitude);
    }
    number.digits = {begin, static_cast<size_t>(end - begin)};
    number.zeros = std::max<int64_t>(precision - (end - begin), 0);
    number.may_fill = precision < 0;
    if ((conversion.flags & ALTERNATE) != 0) {
        if (letter == 'o' && number.zeros == 0 && (begin == end || *begin != '0')) number.zeros = 1;
        if ((letter == 'x' || letter == 'X') && magnitude != 0) {
            number.prepend('0');
            number.prepend(letter);
        }
    }
    return number;
}

namespace {

// What snprintf writes. The bytes that the host's locale puts between the digits for the point are passed over, whatever they are;
// none is a digit.
template <class Real, size_t SIZE>
Number real_parts(const FormatConversion &conversion, Real value, const char *modifier, int most, char (&room)[SIZE]) {
    const char letter = static_cast<char>(conversion.letter);
    const bool hexadecimal = letter == 'a' || letter == 'A';
    const int wanted = conversion.precision.value, precision = std::min(wanted, most);
    char format[8], *end = format;
    *end++ = '%';
    if ((conversion.flags & ALTERNATE) != 0) *end++ = '#';
    *end++ = '.';
    *end++ = '*';
    if (*modifier != '\0') *end++ = *modifier;
    *end++ = letter;
    *end = '\0';
    snprintf(room, SIZE, format, precision, value);
    Number number;
    const char *at = room;
    put_sign(number, conversion, *at == '-');
    if (*at == '-') ++at;
    if (!ascii::is_digit(*at)) { // "inf" or "nan"
        number.digits = at;
        number.may_fill = false;
        return number;
    }
    if (hexadecimal) {
        number.prepend(at[0]);
        number.prepend(at[1]);
        at += 2;
    }
    const auto is_digit = [hexadecimal](char c) { return hexadecimal ? ascii::is_xdigit(c) : ascii::is_digit(c); };
    const auto take_digits = [&] {
        const char *const begin = at;
        while (is_digit(*at)) ++at;
        return std::string_view(begin, static_cast<size_t>(at - begin));
    };
    const auto is_exponent = [hexadecimal](const char *place) {
        return ascii::to_lower(*place) == (hexadecimal ? 'p' : 'e') && (place[1] == '-' || place[1] == '+');
    };
    number.digits = take_digits();
    if (*at != '\0' && !is_exponent(at)) {
        number.has_point = true;
        while (*at != '\0' && !is_digit(*at) && !is_exponent(at)) ++at;
        number.fraction = take_digits();
    }
    number.exponent = at;
    const bool cuts_zeros = (letter == 'g' || letter == 'G') && (conversion.flags & ALTERNATE) == 0;
    if (wanted > precision && !cuts_zeros) number.more_zeros = wanted - precision;
    return number;
}

bool rounds_to_nearest() {
    volatile double one = 1;
    constexpr double LITTLE = 1e-30;
    return one + LITTLE == one && one - LITTLE == one;
}

// For most numbers, without snprintf and its text.
bool fixed_number(const FormatConversion &conversion, double value, DoubleText &room, Number &number) {
    constexpr int DEFAULT_PRECISION = 6;
    const int wanted = conversion.precision.value < 0 ? DEFAULT_PRECISION : conversion.precision.value,
              precision = std::min(wanted, MOST_DOUBLE_DIGITS);
    FixedDigits digits;
    if (!rounds_to_nearest() || !fixed_digits(fabs(value), precision, room, digits)) return false;
    put_sign(number, conversion, signbit(value) != 0);
    number.digits = digits.whole;
    number.fraction = digits.fraction;
    number.has_point = wanted > 0 || (conversion.flags & ALTERNATE) != 0;
    number.more_zeros = wanted - precision;
    return true;
}

} // namespace

Number real_number(const FormatConversion &conversion, double value, DoubleText &room) {
    if (conversion.letter == 'f' || conversion.letter == 'F') {
        Number number;
        if (fixed_number(conversion, value, room, number)) return number;
    }
    return real_parts(conversion, value, "", MOST_DOUBLE_DIGITS, room);
}

Number real_number(const FormatConversion &conversion, long double value, LongDoubleText &room) {
    return real_parts(conversion, value, "L", MOST_LONG_DOUBLE_DIGITS, room);
}

} // namespace qbgl
