// The nodes of a string cache: a trie with the alternatives of one position in a chain.
#pragma once

#include "qbgl.h"

namespace qbgl {

struct CacheNode {
    uint32_t key;      // a byte of a folded multibyte character, or a folded wide character
    int32_t value;     // of the word that ends here
    int32_t terminal;  // 1 when a word ends here
    CacheNode *across; // the first alternative of the next position
    CacheNode *down;   // the next alternative of this position
};

// The root, the next position and the next alternative; where there is none yet, one with this key. Null with GL_ENOMEM.
CacheNode *get_root(gl_locale *locale, void **root, uint32_t key);
CacheNode *next_node_across(gl_locale *locale, CacheNode *node, uint32_t key);
CacheNode *next_node_down(gl_locale *locale, CacheNode *node, uint32_t key);

// The alternative with this key among `node` and those below it, or null.
CacheNode *find_down(CacheNode *node, uint32_t key);

void free_cache_nodes(CacheNode *root);

} // namespace qbgl
