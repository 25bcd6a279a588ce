// The decimal digits of the numbers below 100.
#pragma once

namespace qbgl {

struct DigitPairs {
    unsigned char of[100][2];
    constexpr DigitPairs() : of() {
        for (int i = 0; i < 100; ++i) {
            of[i][0] = static_cast<unsigned char>('0' + i / 10);
            of[i][1] = static_cast<unsigned char>('0' + i % 10);
        }
    }
};
inline constexpr DigitPairs DIGIT_PAIRS;

} // namespace qbgl
