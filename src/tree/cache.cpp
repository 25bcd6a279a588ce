// Entering words into a string cache, and finding the one that a text begins with.
#include "tree/fold.h"
#include "tree/node.h"

using namespace qbgl;

namespace {

// The node with this key among `node` and its alternatives; a new last one where there is none.
CacheNode *find_or_append(gl_locale *locale, CacheNode *node, uint32_t key) {
    while (node != nullptr && node->key != key) node = next_node_down(locale, node, key);
    return node;
}

// An empty word is a first position with the key 0.
int cache_empty(gl_locale *locale, void **root, int value) {
    CacheNode *node = get_root(locale, root, 0);
    if (node != nullptr) node = find_or_append(locale, node, 0);
    if (node == nullptr) return -1;
    node->terminal = 1;
    node->value = value;
    return 0;
}

template <class Keys, class Char> int cache_string(gl_locale *locale, void **root, const Char *s, int value) {
    if (s == nullptr) return -1;
    if (Keys::at_end(locale, s)) return cache_empty(locale, root, value);
    CacheNode *node = nullptr;
    do {
        const Folded character = Keys::fold(locale, s);
        if (character.count < 1) return -1;
        for (int i = 0; i < character.count; ++i) {
            const uint32_t key = character.keys[i];
            node = node == nullptr ? get_root(locale, root, key) : next_node_across(locale, node, key);
            if (node != nullptr) node = find_or_append(locale, node, key);
            if (node == nullptr) return -1;
        }
        s += character.length;
    } while (!Keys::at_end(locale, s));
    node->terminal = 1;
    node->value = value;
    return 0;
}

// The node of the shortest word that the text begins with, and its length; null without one.
template <class Keys, class Char> CacheNode *find_word(gl_locale *locale, CacheNode *node, const Char *input, int &length) {
    length = 0;
    while (node != nullptr) {
        const Folded character = Keys::fold(locale, input + length);
        if (character.count < 1) return nullptr;
        node = find_down(node, character.keys[0]);
        for (int i = 1; i < character.count && node != nullptr; ++i) node = find_down(node->across, character.keys[i]);
        if (node == nullptr) return nullptr;
        length += character.length;
        if (node->terminal != 0) return node;
        node = node->across;
    }
    return nullptr;
}

template <class Keys, class Char> int validate_string(gl_locale *locale, void *root, const Char *input, int *length, int *value) {
    if (input == nullptr || root == nullptr) return -1;
    auto *first = static_cast<CacheNode *>(root);
    int consumed;
    const CacheNode *word = find_word<Keys>(locale, first, input, consumed);
    if (word == nullptr) {
        word = find_down(first, 0);
        if (word == nullptr || word->terminal == 0) return -1;
        consumed = 0;
    }
    *length = consumed;
    *value = word->value;
    return 0;
}

} // namespace

int _gl_cache_mb_string(gl_locale *locale, void **root, const char *s, int value) {
    return cache_string<ByteKeys>(locale, root, s, value);
}
int _gl_cache_wc_string(gl_locale *locale, void **root, const char *s, int value) {
    return cache_string<WidenedKeys>(locale, root, s, value);
}

int _gl_validate_mb_string(gl_locale *locale, void *root, const char *input, int *length, int *value) {
    return validate_string<ByteKeys>(locale, root, input, length, value);
}
int _gl_validate_wc_string(gl_locale *locale, void *root, const gl_wchar *input, int *length, int *value) {
    return validate_string<WideKeys>(locale, root, input, length, value);
}

void _gl_free_mb_cache(gl_locale *, void *root) { free_cache_nodes(static_cast<CacheNode *>(root)); }
void _gl_free_wc_cache(gl_locale *, void *root) { free_cache_nodes(static_cast<CacheNode *>(root)); }
