// The digits of a real number as they are read, and its value.
#pragma once

#include <algorithm>
#include <math.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

namespace qbgl {

enum class Special { NONE, INFINITE, NOT_A_NUMBER };

// The digits that can decide how a number is rounded; of those behind them counts only whether one is not 0.
inline constexpr int MOST_DOUBLE = 800, MOST_LONG_DOUBLE = 11600;

template <int MOST> class RealDigits {
  public:
    bool negative = false, hexadecimal = false, behind_point = false;
    Special special = Special::NONE;
    int64_t exponent = 0;

    void add(int digit) {
        if (behind_point) --scale_;
        if (count_ == 0 && digit == 0) return;
        if (count_ < MOST) {
            room_[PREFIX + count_++] = "0123456789abcdef"[digit];
        } else {
            ++scale_;
            more_ |= digit != 0;
        }
    }

    float float_value() { return value<float>(strtof); }
    double double_value() { return value<double>(strtod); }
    long double long_double_value() { return value<long double>(strtold); }

  private:
    static constexpr int PREFIX = 3, EXPONENT = 16; // "-0x"

    // Without a point there is nothing in the text that the host's locale could read differently.
    template <class Real> Real value(Real (*convert)(const char *, char **)) {
        if (special != Special::NONE) {
            const Real value = static_cast<Real>(special == Special::INFINITE ? INFINITY : NAN);
            return negative ? -value : value;
        }
        if (count_ == 0) return negative ? -Real{0} : Real{0};
        if (more_) {
            room_[PREFIX + count_++] = '1';
            --scale_;
        }
        constexpr int64_t FAR = 1'000'000; // beyond what any number of digits could make up for
        const int64_t sum = exponent + scale_ * (hexadecimal ? 4 : 1);
        snprintf(room_ + PREFIX + count_, EXPONENT, "%c%d", hexadecimal ? 'p' : 'e', static_cast<int>(std::clamp(sum, -FAR, FAR)));
        char *begin = room_ + PREFIX;
        if (hexadecimal) {
            *--begin = 'x';
            *--begin = '0';
        }
        if (negative) *--begin = '-';
        return convert(begin, nullptr);
    }

    char room_[PREFIX + MOST + 1 + EXPONENT];
    int count_ = 0;
    int64_t scale_ = 0;
    bool more_ = false;
};

} // namespace qbgl
