#include "multi/text_end.h"

#include <bit>
#include <string.h>

namespace qbgl {

namespace {

// A bit for each length of a key.
unsigned lengths_of(const gl_multi &table) {
    unsigned lengths = 0;
    for_each_node(table, [&lengths](const MultiNode &node) {
        if (memchr(node.flags, FLAG_END, 256) != nullptr) lengths |= 1U << node.depth;
    });
    return lengths;
}

// The node where the last of `unit` zero bytes is looked up, or null when no key continues so far.
const MultiNode *behind_zeros(const MultiNode *node, int unit) {
    for (int left = unit - 1; left > 0; --left) {
        if (node->flags[0] != FLAG_CHILD) return nullptr;
        node = child_of(*node, 0);
    }
    return node;
}

// Whether none of the keys goes on with a unit of zeros behind its first unit.
bool lacks_zero_units(const gl_multi &table, int unit) {
    bool lacks = true;
    for_each_node(table, [&lacks, unit](const MultiNode &node) {
        if (node.depth == 1 || (node.depth - 1) % unit != 0) return;
        const MultiNode *const last = behind_zeros(&node, unit);
        if (last != nullptr && last->flags[0] != FLAG_NONE) lacks = false;
    });
    return lacks;
}

} // namespace

KeyLengths key_lengths(const gl_multi &table) {
    const unsigned lengths = lengths_of(table);
    return lengths == 0 ? KeyLengths{0, 0} : KeyLengths{std::countr_zero(lengths), static_cast<int>(std::bit_width(lengths)) - 1};
}

bool stops_at_terminator(const gl_multi &table, int unit) {
    const unsigned lengths = lengths_of(table);
    for (int length = 1; length <= MAX_KEY; ++length)
        if ((lengths >> length & 1) != 0 && length % unit != 0) return false;
    const MultiNode *const last = behind_zeros(table.root, unit);
    return (last == nullptr || last->flags[0] != FLAG_CHILD) && lacks_zero_units(table, unit);
}

const uint8_t *terminator_entry(const gl_multi &table, int unit) {
    const MultiNode *const last = behind_zeros(table.root, unit);
    return last != nullptr && last->flags[0] == FLAG_END ? entry_of(table, *last, 0) : nullptr;
}

} // namespace qbgl
