// Decoding one character with the look-up arrays.
#pragma once

#include "mbwc/maps.h"
#include "multi/walk.h"

#include <string.h>

namespace qbgl {

// Hands the character at `in` to `take` as its value and its length when it is plain, one that maps.plain has. False says that the
// walk has to tell. A byte behind the first is read when the ones before it ask for it and fewer than `limit` are taken.
//
// The length is a constant in each call of `take`: no character waits for the length of the one before it.
template <TextShape SHAPE, class Take> inline bool take_plain(const uint8_t *plain, const uint8_t *in, ptrdiff_t limit, Take take) {
    const unsigned first = in[0];
    if (SHAPE == TextShape::ONE_OR_TWO || first < 0x80) {
        if (plain[first] != 0) {
            take(first, 1);
            return true;
        }
    }
    if (SHAPE == TextShape::ONE_OR_TWO) {
        if (limit < 2) return false;
        const unsigned value = first << 8 | in[1];
        if (plain[value] == 0) return false;
        take(value, 2);
        return true;
    }
    const auto continues = [in](int at) { return static_cast<int8_t>(in[at]) < -0x40; }; // 80 to BF
    if (first - 0xE1 <= 0xEF - 0xE1) {
        if (limit < 3 || !continues(1) || !continues(2)) return false;
        uint16_t further;
        memcpy(&further, in + 1, sizeof further);
        const unsigned value = first << 16 | __builtin_bswap16(further);
        if (plain[continued_bits(value)] == 0) return false;
        take(value, 3);
        return true;
    }
    if (first - 0xC2 > 0xDF - 0xC2 || limit < 2 || !continues(1)) return false;
    const unsigned value = first << 8 | in[1];
    if (plain[continued_bits(value)] == 0) return false;
    take(value, 2);
    return true;
}

} // namespace qbgl
