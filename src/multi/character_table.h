// The tables of a locale object: characters with 16-bit values.
#pragma once

#include "multi/table.h"
#include "util/tokens.h"

#include <string.h>

namespace qbgl {

// A value is four hexadecimal digits.
bool ub2_reader(ByteReader &in, void *value, uint32_t size, void *);

// Reads a table for the handle, whose own one it becomes when all of it could be read. Returns 0, or a failure with the handle's
// error number.
int read_character_table(ByteReader &in, gl_locale *locale, gl_multi *&table);

// Whether all values, that of characters without one of their own included, are at most `limit`.
bool values_within(const gl_multi &table, unsigned limit);

// The value of an entry: a class mask, the index of a case pair, a row of weights.
inline uint16_t value_at(const void *entry) {
    uint16_t value;
    memcpy(&value, entry, sizeof value);
    return value;
}

// Calls visit(length, value) for each character that has a value of its own, but for those below a node that repeats another one.
template <class Visit> void for_each_value(const gl_multi &table, Visit visit) {
    for_each_node(table, [&table, &visit](const MultiNode &node) {
        for (int32_t i = 0; i < node.data.count; ++i)
            if (node.flags[node.data.first + i] == FLAG_END)
                visit(node.depth, value_at(node.data.entries + (i << table.element_shift)));
    });
}

} // namespace qbgl
