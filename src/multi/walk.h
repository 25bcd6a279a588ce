// Decoding and encoding one character by the walk through the nodes of the codeset's table.
#pragma once

#include "multi/table.h"

#include <stddef.h>

namespace qbgl {

struct Decoded {
    gl_wchar value;
    int length; // bytes taken, or one of the two below
};
inline constexpr int INVALID = 0, CUT = -1;

// Reads a byte behind the first only when the ones before it ask for it and fewer than `limit` are taken.
inline Decoded decode(const MultiNode *node, const uint8_t *s, ptrdiff_t limit) {
    gl_wchar value = s[0];
    uint8_t flag = node->flags[s[0]];
    int length = 1;
    while (flag == FLAG_CHILD) {
        if (length >= limit) return {value, CUT};
        node = child_of(*node, s[length - 1]);
        const uint8_t byte = s[length++];
        value = value << 8 | byte;
        flag = node->flags[byte];
    }
    return {value, flag == FLAG_END ? length : INVALID};
}

// The bytes that a value is encoded with, if it is a character: those that it has, and zero bytes before them up to the codeset's
// shortest length.
inline int encoded_length(int32_t shortest, gl_wchar wc) {
    if (wc <= 0xFF) return shortest;
    const int significant = wc <= 0xFFFF ? 2 : wc <= 0xFFFFFF ? 3 : 4;
    return shortest > significant ? shortest : significant;
}

// Writes the bytes as far as they lead through the table; false when they are no character.
inline bool encode(const MultiNode *node, uint8_t *s, gl_wchar wc, int length) {
    if (length < 1 || length > MAX_KEY) return false;
    for (int left = length - 1; left > 0; --left) {
        const auto byte = static_cast<uint8_t>(wc >> (8 * left));
        if (node->flags[byte] != FLAG_CHILD) return false;
        *s++ = byte;
        node = child_of(*node, byte);
    }
    const auto last = static_cast<uint8_t>(wc);
    if (node->flags[last] != FLAG_END) return false;
    *s = last;
    return true;
}

// The same for a value of which the length is not known yet: the length, or 0 when it is no character.
inline int encode(const gl_multi &table, uint8_t *s, gl_wchar wc) {
    const int length = encoded_length(table.min_length, wc);
    return encode(table.root, s, wc, length) ? length : 0;
}

} // namespace qbgl
