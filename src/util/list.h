// Deleting from the doubly linked list.
#pragma once

#include "qbgl.h"

namespace qbgl {

// Unlinks and frees a node, not its data, whose release belongs to whoever inserted it. Returns the node that followed.
gl_list_node *list_delete(gl_list_node *node, gl_list *list);
void list_clear(gl_list *list);

} // namespace qbgl
