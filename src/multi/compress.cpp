// Letting nodes share equal arrays.
#include "multi/table.h"
#include "util/owned.h"

#include <string.h>

using namespace qbgl;

namespace {

uint32_t hash_bytes(const uint8_t *bytes, size_t size) { // FNV-1a, 32 bits
    uint32_t hash = 2166136261U;
    for (size_t i = 0; i < size; ++i) hash = (hash ^ bytes[i]) * 16777619U;
    return hash;
}

// Gives equal byte arrays one number, by open addressing. `places` has a power of two of slots, at least twice the number of
// arrays, all -1.
class Interner {
  public:
    Interner(int32_t *places, uint32_t mask, size_t size) : places_(places), mask_(mask), size_(size) {}

    // The number of `array` among those seen; `array_of(n)` is the array numbered n, `count` the next free number.
    template <class ArrayOf> int32_t number_of(const uint8_t *array, int32_t count, ArrayOf array_of) {
        for (uint32_t at = hash_bytes(array, size_) & mask_;; at = (at + 1) & mask_) {
            if (places_[at] < 0) return places_[at] = count;
            if (memcmp(array_of(places_[at]), array, size_) == 0) return places_[at];
        }
    }

  private:
    int32_t *places_;
    uint32_t mask_;
    size_t size_;
};

bool all_default(const gl_multi &table, const uint8_t *data) {
    for (size_t i = 0; i < 256; ++i)
        if (memcmp(data + (i << table.element_shift), table.default_entry, table.element_size) != 0) return false;
    return true;
}

// Moves each node's arrays into the shared lists, or frees them when an equal one is there.
class Compressor {
  public:
    Compressor(gl_multi &table, Interner flags, Interner data) : table_(table), flags_(flags), data_(data) {}

    void share(MultiNode &node) {
        share_flags(node);
        if (node.data != nullptr) share_data(node);
        for (int32_t i = 0; i < node.child_count; ++i) share(*node.next[i]);
    }

  private:
    // Equal flags number the children alike only when the children stand in byte order.
    static void order_children(MultiNode &node) {
        MultiNode *ordered[256];
        int32_t count = 0;
        for (int byte = 0; byte < 256; ++byte) {
            if (node.flags[byte] != FLAG_CHILD) continue;
            ordered[count] = child_of(node, static_cast<uint8_t>(byte));
            node.offsets[byte] = static_cast<uint8_t>(count++);
        }
        if (count > 0) memcpy(static_cast<void *>(node.next), ordered, static_cast<size_t>(count) * sizeof *ordered);
    }

    void share_flags(MultiNode &node) {
        order_children(node);
        const int32_t number =
            flags_.number_of(node.flags, table_.flag_array_count, [this](int32_t n) { return table_.shared_flags[n].flags; });
        if (number == table_.flag_array_count) {
            table_.shared_flags[table_.flag_array_count++] = {node.flags, node.offsets, node.child_count};
            if (node.offsets != nullptr) ++table_.offset_array_count;
        } else {
            _gl_free_ptr(node.flags);
            _gl_free_ptr(node.offsets);
        }
        node.flag_index = number;
        node.flags = table_.shared_flags[number].flags;
        node.offsets = table_.shared_flags[number].offsets;
    }

    void share_data(MultiNode &node) {
        if (all_default(table_, node.data)) {
            _gl_free_ptr(node.data);
            node.data = nullptr;
            return;
        }
        const int32_t number =
            data_.number_of(node.data, table_.data_array_count, [this](int32_t n) { return table_.shared_data[n]; });
        if (number == table_.data_array_count)
            table_.shared_data[table_.data_array_count++] = node.data;
        else
            _gl_free_ptr(node.data);
        node.data_index = number;
        node.data = table_.shared_data[number];
    }

    gl_multi &table_;
    Interner flags_, data_;
};

} // namespace

int _gl_compress_multi(gl_multi *table) {
    if (table->shared_flags != nullptr) return 0;
    const auto nodes = static_cast<uint32_t>(_gl_multi_node_count(table));
    uint32_t slots = 4;
    while (slots < nodes * 2) slots *= 2;
    Owned<SharedFlags> shared_flags = Owned<SharedFlags>::allocate(nodes);
    Owned<uint8_t *> shared_data = Owned<uint8_t *>::allocate(nodes);
    Owned<int32_t> places = Owned<int32_t>::allocate(slots * 2);
    if (!shared_flags || !shared_data || !places) return -1;
    memset(places.get(), -1, static_cast<size_t>(slots) * 2 * sizeof(int32_t));
    table->shared_flags = shared_flags.release();
    table->shared_data = shared_data.release();
    table->flag_array_count = table->data_array_count = table->offset_array_count = 0;
    table->flags |= GL_MULTI_COMPRESSED;
    Compressor(*table, Interner(places.get(), slots - 1, 256),
               Interner(places.get() + slots, slots - 1, size_t{256} << table->element_shift))
        .share(*table->root);
    return 0;
}
