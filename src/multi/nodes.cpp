#include "multi/nodes.h"

#include "util/owned.h"

#include <algorithm>
#include <string.h>

namespace qbgl {

MultiNode *new_node(gl_multi &table, int32_t depth, bool own_flags) {
    Owned<MultiNode> node = Owned<MultiNode>::allocate();
    if (!node) return nullptr;
    *node = {depth, 0, 0, -1, -1, nullptr, nullptr, {nullptr, 0, 0}, nullptr};
    if (own_flags) {
        node->flags = static_cast<uint8_t *>(_gl_alloc_ptr(256));
        if (node->flags == nullptr) return nullptr;
        memset(node->flags, FLAG_NONE, 256);
        ++table.flag_array_count;
    }
    return node.release();
}

namespace {

void free_one(MultiNode *node) {
    _gl_free_ptr(node->next);
    if (node->flag_index < 0) {
        _gl_free_ptr(node->flags);
        _gl_free_ptr(node->offsets);
    }
    if (node->data_index < 0) _gl_free_ptr(node->data.entries);
    _gl_free_ptr(node);
}

} // namespace

void free_node(MultiNode *node) {
    if (node == nullptr) return;
    for (int32_t i = 0; node->next != nullptr && i < node->child_count; ++i) free_node(node->next[i]);
    free_one(node);
}

void free_nodes(gl_multi &table) {
    if (table.nodes == nullptr)
        free_node(table.root);
    else
        for (int32_t i = 0; i < table.node_count; ++i) free_one(table.nodes[i]);
    _gl_free_ptr(table.nodes);
    table.nodes = nullptr;
    table.node_count = 0;
    table.root = nullptr;
    for (int32_t i = 0; table.shared_flags != nullptr && i < table.flag_array_count; ++i) {
        _gl_free_ptr(table.shared_flags[i].flags);
        _gl_free_ptr(table.shared_flags[i].offsets);
    }
    for (int32_t i = 0; table.shared_data != nullptr && i < table.data_array_count; ++i) _gl_free_ptr(table.shared_data[i].entries);
    _gl_free_ptr(table.shared_flags);
    _gl_free_ptr(table.shared_data);
    table.shared_flags = nullptr;
    table.shared_data = nullptr;
    table.flag_array_count = table.data_array_count = table.offset_array_count = 0;
}

DataArray new_data_array(gl_multi &table, int32_t first, int32_t count) {
    auto *entries = static_cast<uint8_t *>(_gl_alloc_ptr(static_cast<uint32_t>(count) << table.element_shift));
    if (entries == nullptr) return {nullptr, 0, 0};
    fill_with_default(table, entries, count);
    ++table.data_array_count;
    return {entries, first, count};
}

void fill_with_default(const gl_multi &table, uint8_t *entries, int32_t count) {
    const size_t stride = size_t{1} << table.element_shift;
    memset(entries, 0, static_cast<size_t>(count) * stride);
    for (int32_t i = 0; i < count; ++i) memcpy(entries + static_cast<size_t>(i) * stride, table.default_entry, table.element_size);
}

bool make_room_for_children(gl_multi &table, MultiNode &node, int32_t count) {
    if (node.offsets == nullptr) {
        node.offsets = static_cast<uint8_t *>(_gl_alloc_ptr(256));
        if (node.offsets == nullptr) return false;
        memset(node.offsets, 0, 256);
        ++table.offset_array_count;
    }
    if (node.next == nullptr) {
        node.next = Owned<MultiNode *>::allocate(static_cast<uint32_t>(count)).release();
        if (node.next == nullptr) return false;
        std::fill_n(node.next, count, nullptr);
    }
    return true;
}

int32_t number_children(const uint8_t *flags, uint8_t *offsets) {
    int32_t count = 0;
    for (int byte = 0; byte < 256; ++byte) offsets[byte] = flags[byte] == FLAG_CHILD ? static_cast<uint8_t>(count++) : uint8_t{0};
    return count;
}

} // namespace qbgl
