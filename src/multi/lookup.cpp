// Finding the character at a position, and its entry.
#include "ext/error.h"
#include "multi/table.h"

using namespace qbgl;

namespace {

struct Walk {
    const MultiNode *node;
    int length; // bytes examined
    uint8_t last;
    bool complete; // a key ends here; otherwise the bytes are no key, or `limit` cut them
    bool cut;
};

// Descends from the root for as long as keys continue, over at most `limit` bytes (at least 1) that `byte_at` delivers in key
// order.
template <class ByteAt> Walk walk(const gl_multi &table, int limit, ByteAt byte_at) {
    const MultiNode *node = table.root;
    for (int i = 0;; ++i) {
        const uint8_t byte = byte_at(i);
        const uint8_t flag = node->flags[byte];
        if (flag != FLAG_CHILD) return {node, i + 1, byte, flag == FLAG_END, false};
        if (i + 1 == limit) return {node, i + 1, byte, false, true};
        node = child_of(*node, byte);
    }
}

Walk walk_text(const gl_multi &table, const char *bytes, int limit = MAX_KEY + 1) {
    return walk(table, limit, [bytes](int i) { return static_cast<uint8_t>(bytes[i]); });
}

// The entry where the walk ended, or null with the error that fits.
void *entry_at(const gl_multi &table, const Walk &at, void *ctx) {
    if (at.complete) return const_cast<uint8_t *>(entry_of(table, *at.node, at.last));
    set_error(ctx, at.cut ? GL_EINVAL : GL_EILSEQ);
    return nullptr;
}

} // namespace

void *_gl_retrieve_text_multi(const char *bytes, const gl_multi *table, int *length, void *ctx) {
    const Walk at = walk_text(*table, bytes);
    *length = at.length;
    return entry_at(*table, at, ctx);
}

void *_gl_retrieve_text_multi_nl(const char *bytes, const gl_multi *table, void *ctx) {
    return entry_at(*table, walk_text(*table, bytes), ctx);
}

int _gl_retrieve_text_multi_nv(const char *bytes, const gl_multi *table, void *ctx) {
    const Walk at = walk_text(*table, bytes);
    return entry_at(*table, at, ctx) != nullptr ? at.length : 0;
}

void *_gl_retrieve_text_multi_limit(const char *bytes, const gl_multi *table, int limit, int *length, void *ctx) {
    if (limit < 1) {
        *length = 0;
        set_error(ctx, GL_EINVAL);
        return nullptr;
    }
    const Walk at = walk_text(*table, bytes, limit);
    *length = at.length;
    return entry_at(*table, at, ctx);
}

void *_gl_retrieve_text_multi_limit_nl(const char *bytes, const gl_multi *table, int limit, void *ctx) {
    int length;
    return _gl_retrieve_text_multi_limit(bytes, table, limit, &length, ctx);
}

void *_gl_retrieve_desc_multi(const gl_desc *key, const gl_multi *table) {
    const auto length = static_cast<int>(key->count);
    if (length < 1 || length > MAX_KEY) return nullptr;
    const Walk at = walk_text(*table, reinterpret_cast<const char *>(key->bytes), length);
    return at.length == length ? entry_at(*table, at, nullptr) : nullptr;
}

void *_gl_retrieve_little_endian_unicode_limit(const char *bytes, const gl_multi *table, int limit, gl_cv *context) {
    const int unit = context != nullptr && context->source_min_len == 4 && context->source_max_len == 4 ? 4 : 2;
    if (limit < unit) {
        set_error(context, GL_EINVAL);
        return nullptr;
    }
    Walk at = walk(*table, unit, [bytes, unit](int i) { return static_cast<uint8_t>(bytes[unit - 1 - i]); });
    at.complete = at.complete && at.length == unit;
    at.cut = false;
    return entry_at(*table, at, context);
}

void *_gl_retrieve_wchar_multi_nl(void *ctx, gl_wchar value, const gl_multi *table) {
    int length = table->min_length;
    if (value > 0xFFFFFF)
        length = 4;
    else if (value > 0xFFFF && length < 3)
        length = 3;
    else if (value > 0xFF && length < 2)
        length = 2;
    Walk at = {};
    if (length >= 1 && length <= MAX_KEY) {
        at = walk(*table, length, [value, length](int i) { return static_cast<uint8_t>(value >> (8 * (length - 1 - i))); });
        at.complete = at.complete && at.length == length;
        at.cut = false;
    }
    return entry_at(*table, at, ctx);
}

int _gl_multi_max_length(const gl_multi *table) { return table->max_length; }
int _gl_multi_min_length(const gl_multi *table) { return table->min_length; }
int _gl_multi_err(const gl_multi *table) { return table->error; }
int _gl_multi_node_count(const gl_multi *table) {
    int count = 0;
    for_each_node(*table, [&count](const MultiNode &) { ++count; });
    return count;
}
