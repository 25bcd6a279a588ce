// Letting nodes share equal arrays.
#include "multi/table.h"
#include "util/owned.h"

#include <algorithm>
#include <string.h>

using namespace qbgl;

namespace {

uint32_t hash_bytes(const uint8_t *bytes, size_t size) { // FNV-1a, 32 bits
    uint32_t hash = 2166136261U;
    for (size_t i = 0; i < size; ++i) hash = (hash ^ bytes[i]) * 16777619U;
    return hash;
}

// Gives equal arrays one number, by open addressing. `places` has a power of two of slots, at least twice the number of arrays, all
// -1.
class Interner {
  public:
    Interner(int32_t *places, uint32_t mask) : places_(places), mask_(mask) {}

    // The number of the array with this hash among those seen, or `next`, which it then has; `equals(n)` compares with the array
    // numbered n.
    template <class Equals> int32_t number_of(uint32_t hash, int32_t next, Equals equals) {
        for (uint32_t at = hash & mask_;; at = (at + 1) & mask_) {
            if (places_[at] < 0) return places_[at] = next;
            if (equals(places_[at])) return places_[at];
        }
    }

  private:
    int32_t *places_;
    uint32_t mask_;
};

// Leaves out the default entries at either end, which the runs of a file may or may not have covered.
void trim(const gl_multi &table, DataArray &data) {
    const auto at = [&](int32_t i) { return data.entries + (static_cast<size_t>(i) << table.element_shift); };
    const auto is_default = [&](int32_t i) { return memcmp(at(i), table.default_entry, table.element_size) == 0; };
    int32_t begin = 0, end = data.count;
    while (end > 0 && is_default(end - 1)) --end;
    while (begin < end && is_default(begin)) ++begin;
    memmove(data.entries, at(begin), static_cast<size_t>(end - begin) << table.element_shift);
    data.first += begin;
    data.count = end - begin;
}

// Moves each node's arrays into the shared lists, or frees them when an equal one is there.
class Compressor {
  public:
    Compressor(gl_multi &table, Interner flags, Interner data) : table_(table), flags_(flags), data_(data) {}

    void share(MultiNode &node) {
        share_flags(node);
        if (node.data.entries != nullptr) share_data(node);
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
        const int32_t number = flags_.number_of(hash_bytes(node.flags, 256), table_.flag_array_count, [&](int32_t n) {
            return memcmp(table_.shared_flags[n].flags, node.flags, 256) == 0;
        });
        if (number == table_.flag_array_count) {
            table_.shared_flags[table_.flag_array_count++] = {
                node.flags, node.offsets, node.child_count,
                static_cast<int32_t>(std::count(node.flags, node.flags + 256, FLAG_END))};
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
        trim(table_, node.data);
        if (node.data.count == 0) {
            _gl_free_ptr(node.data.entries);
            node.data = {nullptr, 0, 0};
            return;
        }
        const size_t size = static_cast<size_t>(node.data.count) << table_.element_shift;
        const int32_t number = data_.number_of(hash_bytes(node.data.entries, size), table_.data_array_count, [&](int32_t n) {
            const DataArray &seen = table_.shared_data[n];
            return seen.first == node.data.first && seen.count == node.data.count &&
                   memcmp(seen.entries, node.data.entries, size) == 0;
        });
        if (number == table_.data_array_count)
            table_.shared_data[table_.data_array_count++] = node.data;
        else
            _gl_free_ptr(node.data.entries);
        node.data_index = number;
        node.data = table_.shared_data[number];
    }

    gl_multi &table_;
    Interner flags_, data_;
};

} // namespace

int _gl_compress_multi(gl_multi *table) {
    if (table->shared_flags != nullptr || table == &empty_table) return 0;
    const auto nodes = static_cast<uint32_t>(_gl_multi_node_count(table));
    uint32_t slots = 4;
    while (slots < nodes * 2) slots *= 2;
    Owned<SharedFlags> shared_flags = Owned<SharedFlags>::allocate(nodes);
    Owned<DataArray> shared_data = Owned<DataArray>::allocate(nodes);
    Owned<int32_t> places = Owned<int32_t>::allocate(slots * 2);
    if (!shared_flags || !shared_data || !places) return -1;
    memset(places.get(), -1, static_cast<size_t>(slots) * 2 * sizeof(int32_t));
    table->shared_flags = shared_flags.release();
    table->shared_data = shared_data.release();
    table->flag_array_count = table->data_array_count = table->offset_array_count = 0;
    table->flags |= GL_MULTI_COMPRESSED;
    Compressor(*table, Interner(places.get(), slots - 1), Interner(places.get() + slots, slots - 1)).share(*table->root);
    return 0;
}
