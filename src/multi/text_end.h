// Where text ends: at the terminator, as many zero bytes as the shortest character has.
#pragma once

#include "multi/table.h"

namespace qbgl {

// The lengths of the shortest and the longest key, as they are and not as the table declares them; both 0 without keys.
struct KeyLengths {
    int shortest, longest;
};
KeyLengths key_lengths(const gl_multi &table);

// Whether no walk through the table steps over, or looks behind, a terminator of `unit` bytes: all keys consist of whole units, and
// only a key of one unit may be nothing but zero bytes.
bool stops_at_terminator(const gl_multi &table, int unit);

// The entry of the key of `unit` zero bytes; null when the table does not have it.
const uint8_t *terminator_entry(const gl_multi &table, int unit);

} // namespace qbgl
