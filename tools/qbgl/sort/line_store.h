// Lines with their keys in memory, as many as the limit allows, and put in order.
#pragma once

#include "sort/order.h"

#include <cstdint>
#include <memory>

namespace qbgl {

class LineStore {
  public:
    explicit LineStore(size_t limit);

    // False when there is no room for the line; an empty store takes any.
    bool add(const KeyedLine &line);
    bool empty() const { return entries_.empty(); }
    void clear();
    // Equal lines keep the order in which they came.
    void sort(const SortOrder &order);

    template <typename Visitor> void for_each(const Visitor &visitor) const {
        for (const Entry &entry : entries_) visitor(entry.line());
    }

  private:
    // What stands before a line's bytes.
    struct Sizes {
        size_t key, text;
    };
    struct Entry {
        uint64_t head; // eight bytes of the key
        const char *bytes;
        KeyedLine line() const;
    };

    static void sort(Entry *begin, Entry *end, size_t depth, const SortOrder &order);

    size_t limit_, block_size_;
    size_t used_ = 0;                             // bytes of all blocks
    std::vector<std::unique_ptr<char[]>> blocks_; // the lines
    char *free_ = nullptr;                        // what is left of the last one
    size_t room_ = 0;                             // its size
    std::vector<Entry> entries_;
};

} // namespace qbgl
