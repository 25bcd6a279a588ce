// Lists that grow as their items are found, so that a count in a file alone cannot ask for memory.
#pragma once

#include "util/owned.h"

#include <algorithm>
#include <string.h>

namespace qbgl {

// Replaces a block by one with room for `capacity` values, which begins with the first `used` of it. False when memory is out, with
// the block as it was. The values need neither constructor nor destructor.
template <class T> bool enlarge(Owned<T> &block, uint32_t used, uint32_t capacity) {
    Owned<T> larger = Owned<T>::allocate(capacity);
    if (!larger) return false;
    if (used > 0) memcpy(static_cast<void *>(larger.get()), block.get(), used * sizeof(T));
    block = std::move(larger);
    return true;
}
// The same for a record's list, which the record owns.
template <class T> bool enlarge(T *&block, uint32_t used, uint32_t capacity) {
    Owned<T> owned(block);
    const bool done = enlarge(owned, used, capacity);
    block = owned.release();
    return done;
}

// The room for a list that has some and needs more: at least twice what it has. 0 when it would not fit 32 bits.
constexpr uint32_t larger_capacity(uint32_t capacity, uint64_t needed) {
    constexpr uint64_t FIRST_CAPACITY = 64;
    const uint64_t larger = std::max({FIRST_CAPACITY, needed, uint64_t{capacity} * 2});
    return larger <= UINT32_MAX ? static_cast<uint32_t>(larger) : 0;
}

// A list of items that need no destructor.
template <class T> class Growing {
  public:
    Growing() = default;
    // An empty list in a block with room for `capacity` items, which it takes over.
    Growing(T *block, uint32_t capacity) : items_(block), capacity_(block != nullptr ? capacity : 0) {}

    // False when memory is out, as of append.
    bool reserve(uint32_t capacity) {
        if (capacity <= capacity_) return true;
        if (!enlarge(items_, size_, capacity)) return false;
        capacity_ = capacity;
        return true;
    }
    bool append(const T *items, uint32_t count) {
        if (count > capacity_ - size_ && !grow(count)) return false;
        memcpy(static_cast<void *>(items_.get() + size_), items, count * sizeof(T));
        size_ += count;
        return true;
    }
    bool append(const T &item) { return append(&item, 1); }

    uint32_t size() const { return size_; }
    uint32_t capacity() const { return capacity_; }
    const T *begin() const { return items_.get(); }
    T &operator[](uint32_t i) const { return items_[i]; }

    // Gives back the room that is left over. False when memory is out.
    bool fit() {
        if (size_ == capacity_) return true;
        if (!enlarge(items_, size_, size_)) return false;
        capacity_ = size_;
        return true;
    }

    // The block, which is the caller's from then on; the list is empty.
    [[nodiscard]] T *release() {
        size_ = capacity_ = 0;
        return items_.release();
    }

  private:
    bool grow(uint32_t count) {
        const uint32_t larger = larger_capacity(capacity_, uint64_t{size_} + count);
        return larger != 0 && reserve(larger);
    }

    Owned<T> items_;
    uint32_t size_ = 0, capacity_ = 0;
};

} // namespace qbgl
