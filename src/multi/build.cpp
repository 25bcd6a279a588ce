// Creating, filling and releasing a table.
#include "multi/nodes.h"
#include "util/owned.h"

#include <bit>
#include <string.h>

using namespace qbgl;

namespace {

// Entries larger than this are no entries of ours; it keeps 256 of them well below 32 bits.
constexpr uint32_t MAX_ELEMENT_SIZE = 1U << 16;

// The child of `node` for `byte`, made if need be; null when a key ends there or memory is out.
MultiNode *descend(gl_multi &table, MultiNode &node, uint8_t byte) {
    if (node.flags[byte] == FLAG_END) return nullptr;
    if (node.flags[byte] == FLAG_CHILD) return child_of(node, byte);
    if (!make_room_for_children(table, node)) return nullptr;
    MultiNode *child = new_node(table, node.depth + 1, true);
    if (child == nullptr) return nullptr;
    node.next[node.child_count] = child;
    node.offsets[byte] = static_cast<uint8_t>(node.child_count++);
    node.flags[byte] = FLAG_CHILD;
    return child;
}

// Gives a node entries for all 256 bytes, keeping those that it has. False when memory is out.
bool widen_data(gl_multi &table, MultiNode &node) {
    if (node.data.count == 256) return true;
    const DataArray wide = new_data_array(table, 0, 256);
    if (wide.entries == nullptr) return false;
    if (node.data.entries != nullptr) {
        memcpy(wide.entries + (static_cast<size_t>(node.data.first) << table.element_shift), node.data.entries,
               static_cast<size_t>(node.data.count) << table.element_shift);
        _gl_free_ptr(node.data.entries);
        --table.data_array_count;
    }
    node.data = wide;
    return true;
}

constexpr uint8_t NO_FLAGS[256] = {}, NO_VALUE[sizeof(uint16_t)] = {};
constexpr MultiNode NO_KEYS = {1, 0, 0, -1, -1, const_cast<uint8_t *>(NO_FLAGS), nullptr, {nullptr, 0, 0}, nullptr};

} // namespace

const gl_multi qbgl::empty_table = {.element_size = sizeof NO_VALUE,
                                    .max_length = 0,
                                    .min_length = 1,
                                    .flags = MULTI_MARKED,
                                    .data_array_count = 0,
                                    .flag_array_count = 1,
                                    .offset_array_count = 0,
                                    .error = 0,
                                    .root = const_cast<MultiNode *>(&NO_KEYS),
                                    .default_entry = const_cast<uint8_t *>(NO_VALUE),
                                    .element_shift = 1,
                                    .shared_flags = nullptr,
                                    .shared_data = nullptr,
                                    .nodes = nullptr,
                                    .node_count = 0};

gl_multi *_gl_create_multi(uint32_t element_size, int32_t flags, const void *default_entry) {
    if (element_size == 0 || element_size > MAX_ELEMENT_SIZE) return nullptr;
    Owned<gl_multi> table = Owned<gl_multi>::allocate();
    Owned<uint8_t> default_copy = Owned<uint8_t>::allocate(element_size);
    if (!table || !default_copy) return nullptr;
    memcpy(default_copy.get(), default_entry, element_size);
    *table = {};
    table->element_size = element_size;
    table->min_length = MAX_KEY;
    table->flags = flags | MULTI_MARKED;
    table->element_shift = std::bit_width(element_size - 1);
    table->root = new_node(*table, 1, true);
    if (table->root == nullptr) return nullptr;
    table->default_entry = default_copy.release();
    return table.release();
}

void _gl_free_multi(gl_multi *table) {
    if (table == nullptr || table == &empty_table) return;
    free_nodes(*table);
    _gl_free_ptr(table->default_entry);
    _gl_free_ptr(table);
}

int _gl_insert_desc_multi(const gl_desc *key, const void *entry, gl_multi *table) {
    const auto length = static_cast<int32_t>(key->count);
    if (length < 1 || length > MAX_KEY || table->shared_flags != nullptr || table == &empty_table) return -1;
    MultiNode *node = table->root;
    for (int32_t i = 0; i < length - 1; ++i) {
        node = descend(*table, *node, key->bytes[i]);
        if (node == nullptr) return -1;
    }
    const uint8_t last = key->bytes[length - 1];
    if (node->flags[last] == FLAG_CHILD) return -1;
    if (entry != nullptr) {
        if (!widen_data(*table, *node)) return -1;
        memcpy(node->data.entries + (static_cast<size_t>(last) << table->element_shift), entry, table->element_size);
    }
    node->flags[last] = FLAG_END;
    if (length > table->max_length) table->max_length = length;
    if (length < table->min_length) table->min_length = length;
    return 0;
}
