// The doubly linked list.
#include "util/list.h"

#include "util/owned.h"

#include <string.h>

void _gl_list_create(gl_list *list) { *list = {nullptr, nullptr}; }

void _gl_list_dispose(gl_list *list) { qbgl::list_clear(list); }

gl_list_node *_gl_list_insert(const void *data, uint32_t size, gl_list_node *before, gl_list *list) {
    auto node = qbgl::Owned<gl_list_node>::allocate();
    auto copy = qbgl::Owned<char>::allocate(size);
    if (!node || (!copy && size > 0)) return nullptr;
    if (size > 0) memcpy(copy.get(), data, size);

    gl_list_node *const previous = before != nullptr ? before->prev : list->last;
    *node = {before, previous, copy.release()};
    (previous != nullptr ? previous->next : list->first) = node.get();
    (before != nullptr ? before->prev : list->last) = node.get();
    return node.release();
}

namespace qbgl {

gl_list_node *list_delete(gl_list_node *node, gl_list *list) {
    gl_list_node *const next = node->next;
    (node->prev != nullptr ? node->prev->next : list->first) = next;
    (next != nullptr ? next->prev : list->last) = node->prev;
    _gl_free_ptr(node);
    return next;
}

void list_clear(gl_list *list) {
    for (gl_list_node *node = list->first; node != nullptr;) node = list_delete(node, list);
}

} // namespace qbgl
