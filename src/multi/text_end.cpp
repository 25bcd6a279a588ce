#include "multi/text_end.h"

#include <bit>
#include <string.h>

namespace qbgl {

namespace {

// Adds a bit for each length of a key that ends in the node or below it, where keys of `length` bytes end.
void gather_lengths(const MultiNode &node, int length, unsigned &lengths) {
    if (memchr(node.flags, FLAG_END, 256) != nullptr) lengths |= 1U << length;
    for (int32_t i = 0; i < node.child_count; ++i) gather_lengths(*node.next[i], length + 1, lengths);
}

unsigned lengths_of(const gl_multi &table) {
    unsigned lengths = 0;
    gather_lengths(*table.root, 1, lengths);
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

// Whether none of the keys goes on with a unit of zeros. `behind` bytes of a unit lead to the node.
bool lacks_zero_units(const MultiNode &node, int unit, int behind) {
    if (behind == 0) {
        const MultiNode *const last = behind_zeros(&node, unit);
        if (last != nullptr && last->flags[0] != FLAG_NONE) return false;
    }
    for (int32_t i = 0; i < node.child_count; ++i)
        if (!lacks_zero_units(*node.next[i], unit, (behind + 1) % unit)) return false;
    return true;
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
    if (last != nullptr && last->flags[0] == FLAG_CHILD) return false;
    for (int32_t i = 0; i < table.root->child_count; ++i)
        if (!lacks_zero_units(*table.root->next[i], unit, 1 % unit)) return false;
    return true;
}

const uint8_t *terminator_entry(const gl_multi &table, int unit) {
    const MultiNode *const last = behind_zeros(table.root, unit);
    return last != nullptr && last->flags[0] == FLAG_END ? entry_of(table, *last, 0) : nullptr;
}

} // namespace qbgl
