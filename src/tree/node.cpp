#include "tree/node.h"

#include "ext/error.h"

namespace qbgl {

namespace {

CacheNode *existing_or_new(gl_locale *locale, CacheNode *&place, uint32_t key) {
    if (place != nullptr) return place;
    auto *node = static_cast<CacheNode *>(_gl_alloc_ptr(sizeof(CacheNode)));
    if (node == nullptr) {
        set_error(locale, GL_ENOMEM);
        return nullptr;
    }
    *node = {key, 0, 0, nullptr, nullptr};
    return place = node;
}

} // namespace

CacheNode *get_root(gl_locale *locale, void **root, uint32_t key) {
    auto *node = static_cast<CacheNode *>(*root);
    *root = existing_or_new(locale, node, key);
    return node;
}

CacheNode *next_node_across(gl_locale *locale, CacheNode *node, uint32_t key) { return existing_or_new(locale, node->across, key); }

CacheNode *next_node_down(gl_locale *locale, CacheNode *node, uint32_t key) { return existing_or_new(locale, node->down, key); }

CacheNode *find_down(CacheNode *node, uint32_t key) {
    while (node != nullptr && node->key != key) node = node->down;
    return node;
}

// Words and chains may be of any length: what is across moves up in front of its node until there is nothing, without recursion.
void free_cache_nodes(CacheNode *root) {
    while (root != nullptr) {
        if (CacheNode *across = root->across; across != nullptr) {
            root->across = across->down;
            across->down = root;
            root = across;
        } else {
            CacheNode *down = root->down;
            _gl_free_ptr(root);
            root = down;
        }
    }
}

} // namespace qbgl
