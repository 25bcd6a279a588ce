// The byte-sequence table: a trie with one 256-way level for each byte of a key.
#pragma once

#include "qbgl.h"

namespace qbgl {

// What a node says of a byte.
inline constexpr uint8_t FLAG_NONE = 0;  // no key continues with it
inline constexpr uint8_t FLAG_CHILD = 1; // keys continue in a child node
inline constexpr uint8_t FLAG_END = 4;   // a key ends with it

inline constexpr int MAX_KEY = 4;

// The entries of a node, (1 << element_shift) bytes apart. A table that is read keeps only those from the first to the last that
// differ from the default entry: leaves of four-byte codesets have as few as ten, and memory is what loading them costs.
struct DataArray {
    uint8_t *entries; // null without any
    int32_t first;    // the byte that entries[0] belongs to
    int32_t count;
};

struct MultiNode {
    int32_t depth;       // 1 for the root
    int32_t number;      // in gl_multi::nodes, 0 without that list
    int32_t child_count; // bytes with FLAG_CHILD; the next free index of `next`
    int32_t flag_index;  // place in the table's shared flag arrays, -1 when the node owns its own
    int32_t data_index;  // the same for the data array
    uint8_t *flags;      // 256
    uint8_t *offsets;    // 256: index in `next` of the child of a byte with FLAG_CHILD; null without children
    DataArray data;
    MultiNode **next;
};

// A flag array that several nodes share, with what follows from it.
struct SharedFlags {
    uint8_t *flags;
    uint8_t *offsets;
    int32_t child_count, end_count; // how many bytes have either flag
};

} // namespace qbgl

struct gl_multi {
    uint32_t element_size;
    int32_t max_length; // longest key, 0 when empty
    int32_t min_length; // shortest key, 4 when empty
    int32_t flags;      // bit value 1 always, GL_MULTI_COMPRESSED where arrays are shared
    int32_t data_array_count, flag_array_count, offset_array_count;
    int32_t error; // of the last read
    qbgl::MultiNode *root;
    uint8_t *default_entry;
    int32_t element_shift;
    qbgl::SharedFlags *shared_flags; // flag_array_count of them when compressed
    qbgl::DataArray *shared_data;    // data_array_count of them when compressed
    qbgl::MultiNode **nodes;         // each once, where the text form repeats some, which then have several parents; else null
    int32_t node_count;              // of `nodes`
};

namespace qbgl {

inline constexpr int32_t MULTI_MARKED = 1; // leaves are marked, as in every table
// With GL_MULTI_COMPRESSED: the text form names a node that stood before at the same depth in place of one like it, with all below
// it. Most of the code space is alike, so that a table has all of it in little more than what differs.
inline constexpr int32_t MULTI_REPEATS = 4;
// With GL_MULTI_COMPRESSED, and entries of two bytes: data arrays and nodes are in the compact form.
inline constexpr int32_t MULTI_RUNS = 8;
inline bool is_compact(const gl_multi &table) {
    constexpr int32_t COMPACT = GL_MULTI_COMPRESSED | MULTI_RUNS;
    return (table.flags & COMPACT) == COMPACT;
}

// The table of a category without data: it has no characters, and ends text at the first zero byte. Everyone shares it, so that no
// handle is ever without a table; it is not filled, and freeing it does nothing.
extern const gl_multi empty_table;

// The entry of a key that ends in `node` with `byte`.
inline const uint8_t *entry_of(const gl_multi &table, const MultiNode &node, uint8_t byte) {
    const auto place = static_cast<uint32_t>(byte - node.data.first);
    return place < static_cast<uint32_t>(node.data.count) ? node.data.entries + (place << table.element_shift)
                                                          : table.default_entry;
}

// Calls visit(node) for every node once, whatever number of keys leads through it. The root comes first.
template <class Visit> void for_each_node(const MultiNode &node, Visit &visit) {
    visit(node);
    for (int32_t i = 0; i < node.child_count; ++i) for_each_node(*node.next[i], visit);
}
template <class Visit> void for_each_node(const gl_multi &table, Visit visit) {
    if (table.nodes == nullptr) return for_each_node(*table.root, visit);
    for (int32_t i = 0; i < table.node_count; ++i) visit(*table.nodes[i]);
}

inline MultiNode *child_of(const MultiNode &node, uint8_t byte) { return node.next[node.offsets[byte]]; }

} // namespace qbgl
