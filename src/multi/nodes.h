// Making and releasing nodes.
#pragma once

#include "multi/table.h"

namespace qbgl {

// A node whose 256 flags are FLAG_NONE; `own_flags` false leaves the flag array to be a shared one. Null when memory is out.
MultiNode *new_node(gl_multi &table, int32_t depth, bool own_flags);

// Frees a node, its own arrays and everything below it. Null is fine.
void free_node(MultiNode *node);

// Frees all nodes and shared arrays; the table has no root then.
void free_nodes(gl_multi &table);

// `count` default entries for the bytes from `first` on. Without entries when memory is out.
DataArray new_data_array(gl_multi &table, int32_t first, int32_t count);

// Sets `count` entries to the default.
void fill_with_default(const gl_multi &table, uint8_t *entries, int32_t count);

// The arrays that a node needs for its first child, with room for `count` of them. False when memory is out.
bool make_room_for_children(gl_multi &table, MultiNode &node, int32_t count = 256);

// Numbers the children of a flag array in byte order into `offsets` and returns how many there are.
int32_t number_children(const uint8_t *flags, uint8_t *offsets);

} // namespace qbgl
