// The digits of an amount, rounded to so many behind the point.
#pragma once

#include "util/decimal_digits.h"

#include <algorithm>
#include <math.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <string_view>
#include <utility>

namespace qbgl {

// Behind the digits that are given there are zeros. They are not copied: an amount of any length needs no memory.
class Amount {
  public:
    Amount() = default;
    Amount(const Amount &) = delete;
    Amount &operator=(const Amount &) = delete;

    // A sign, digits, a "." and digits, of which either may be missing. Ties are rounded away from zero. False for other texts.
    bool read(std::string_view text, int fraction) {
        negative_ = text.starts_with('-');
        if (negative_ || text.starts_with('+')) text.remove_prefix(1);
        const size_t point = std::min(text.find('.'), text.size());
        whole_ = {text.data(), point};
        fraction_ = text;
        fraction_.remove_prefix(std::min(point + 1, text.size()));
        const auto is_number = [](std::string_view digits) {
            return std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; });
        };
        if (whole_.size() + fraction_.size() == 0 || !is_number(whole_) || !is_number(fraction_)) return false;
        whole_.remove_prefix(std::min(whole_.find_first_not_of('0'), whole_.size()));
        if (fraction_.size() > static_cast<size_t>(fraction)) {
            const bool up = fraction_[static_cast<size_t>(fraction)] >= '5';
            fraction_ = {fraction_.data(), static_cast<size_t>(fraction)};
            if (up) carry();
        }
        return true;
    }

    // The nearest decimal, of two the even one. False for what is no number.
    bool read(double value, int fraction) {
        if (!isfinite(value)) return false;
        constexpr int MOST_FRACTION = 1074; // all further digits are zeros
        const double magnitude = fabs(value);
        fraction = std::min(fraction, MOST_FRACTION);
        negative_ = signbit(value) != 0;
        if (FixedDigits digits; fixed_digits(magnitude, fraction, room_, digits)) {
            whole_ = digits.whole;
            fraction_ = digits.fraction;
            return true;
        }
        const int length = snprintf(room_, sizeof room_, "%.*f", fraction, magnitude);
        whole_ = {room_, strspn(room_, "0123456789")};
        // The point is that of the process.
        const char *behind = room_ + whole_.size();
        while (*behind != '\0' && (*behind < '0' || *behind > '9')) ++behind;
        fraction_ = {behind, static_cast<size_t>(room_ + length - behind)};
        whole_.remove_prefix(std::min(whole_.find_first_not_of('0'), whole_.size()));
        return true;
    }

    bool negative() const { return negative_; }
    // The digits before the point, at least one.
    int whole_digits() const { return std::max(static_cast<int>(whole_.size()) + more_, 1); }
    char whole_digit(int i) const {
        if (more_ != 0) return i == 0 ? '1' : '0';
        return whole_.empty() ? '0' : digit(whole_, i, 0);
    }
    char fraction_digit(int i) const {
        return i < static_cast<int>(fraction_.size()) ? digit(fraction_, i, static_cast<int>(whole_.size())) : '0';
    }

  private:
    static constexpr int NOWHERE = INT32_MAX;

    // The last digit that is no 9 grows, and those behind it are 0.
    void carry() {
        for (const auto &[digits, before] : {std::pair{fraction_, whole_.size()}, std::pair{whole_, size_t{0}}})
            if (const size_t at = digits.find_last_not_of('9'); at != digits.npos) {
                up_ = static_cast<int>(before + at);
                return;
            }
        up_ = -1;
        more_ = 1;
    }
    char digit(std::string_view digits, int i, int before) const {
        const int at = before + i;
        if (at < up_) return digits[static_cast<size_t>(i)];
        return at == up_ ? static_cast<char>(digits[static_cast<size_t>(i)] + 1) : '0';
    }

    std::string_view whole_, fraction_;
    bool negative_ = false;
    int up_ = NOWHERE, more_ = 0;
    char room_[309 + 1 + 1074 + 8];
};

} // namespace qbgl
