#include "util/decimal_digits.h"

#include "util/digit_pairs.h"

#include <bit>
#include <string.h>

namespace qbgl {

namespace {

char *put_pair(char *end, uint32_t pair) {
    end[-2] = static_cast<char>(DIGIT_PAIRS.of[pair][0]);
    end[-1] = static_cast<char>(DIGIT_PAIRS.of[pair][1]);
    return end - 2;
}

// Adds one to the number that the digits are. False when all of them were 9; they are 0 then.
bool increment(char *begin, char *end) {
    while (end != begin) {
        if (*--end != '9') {
            ++*end;
            return true;
        }
        *end = '0';
    }
    return false;
}

} // namespace

char *decimal(char *end, uint32_t value) {
    for (; value >= 100; value /= 100) end = put_pair(end, value % 100);
    if (value >= 10) return put_pair(end, value);
    *--end = static_cast<char>('0' + value);
    return end;
}

// Numbers of more than 32 bits go in pieces that divide quickly.
char *decimal(char *end, uint64_t value) {
    while (value > UINT32_MAX) {
        constexpr uint32_t PIECE = 100'000'000;
        auto rest = static_cast<uint32_t>(value % PIECE);
        value /= PIECE;
        for (int i = 0; i < 4; ++i, rest /= 100) end = put_pair(end, rest % 100);
    }
    return decimal(end, static_cast<uint32_t>(value));
}

bool fixed_digits(double magnitude, int fraction, char *room, FixedDigits &digits) {
    constexpr int MANTISSA_BITS = 52, BIAS = 1023;
    // What is before the point stays within 64 bits, and so do ten times what is behind it.
    constexpr int MOST_SHIFT = 60, LEAST_SHIFT = -11;
    const auto bits = std::bit_cast<uint64_t>(magnitude);
    const bool is_zero = bits == 0;
    const int shift = is_zero ? 0 : BIAS + MANTISSA_BITS - static_cast<int>(bits >> MANTISSA_BITS);
    if (shift > MOST_SHIFT || shift < LEAST_SHIFT) return false;

    const uint64_t hidden = uint64_t{1} << MANTISSA_BITS, mantissa = is_zero ? 0 : (bits & (hidden - 1)) | hidden;
    const int behind_point = shift > 0 ? shift : 0; // the bits that are
    const uint64_t one = uint64_t{1} << behind_point;
    uint64_t whole = shift > 0 ? mantissa >> shift : mantissa << -shift;
    uint64_t part = mantissa & (one - 1);
    char *const point = room + MOST_WHOLE_DIGITS, *const end = point + fraction;
    char *at = point;
    for (; at != end && part != 0; part &= one - 1) {
        part *= 10;
        *at++ = static_cast<char>('0' + (part >> behind_point));
    }
    memset(at, '0', static_cast<size_t>(end - at));
    const bool odd = (fraction == 0 ? whole : static_cast<uint64_t>(end[-1])) % 2 != 0;
    if ((2 * part > one || (2 * part == one && odd)) && !increment(point, end)) ++whole;

    at = decimal(point, whole);
    digits = {{at, static_cast<size_t>(point - at)}, {point, static_cast<size_t>(fraction)}};
    return true;
}

} // namespace qbgl
