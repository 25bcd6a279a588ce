#include "sort/line_store.h"

#include <algorithm>
#include <cstring>

namespace qbgl {

namespace {

// The vector of entries is up to twice as long as what it holds, and sorting takes half as much again.
constexpr size_t ENTRY_OVERHEAD = 3;
constexpr size_t SMALLEST_BLOCK = 1 << 10, LARGEST_BLOCK = 1 << 20;

uint64_t head_of(std::string_view key) {
    uint64_t head = 0;
    for (size_t i = 0; i < sizeof head; ++i) head = head << 8 | (i < key.size() ? static_cast<uint8_t>(key[i]) : 0);
    return head;
}

} // namespace

LineStore::LineStore(size_t limit) : limit_(limit), block_size_(std::clamp(limit / 16, SMALLEST_BLOCK, LARGEST_BLOCK)) {}

KeyedLine LineStore::Entry::line() const {
    Sizes sizes;
    std::memcpy(&sizes, bytes, sizeof sizes);
    return {{bytes + sizeof sizes, sizes.key}, {bytes + sizeof sizes + sizes.key, sizes.text}};
}

bool LineStore::add(const KeyedLine &line) {
    const Sizes sizes{line.key.size(), line.text.size()};
    const size_t size = sizeof sizes + sizes.key + sizes.text;
    const size_t block = size > room_ ? std::max(size, block_size_) : 0;
    const size_t entries = (entries_.size() + 1) * sizeof(Entry) * ENTRY_OVERHEAD;
    if (!empty() && used_ + block + entries > limit_) return false;
    if (block > 0) {
        blocks_.emplace_back(new char[block]);
        free_ = blocks_.back().get();
        used_ += room_ = block;
    }
    std::memcpy(free_, &sizes, sizeof sizes);
    char *const end = std::copy(line.key.begin(), line.key.end(), free_ + sizeof sizes);
    entries_.push_back({head_of(line.key), free_});
    free_ = std::copy(line.text.begin(), line.text.end(), end);
    room_ -= size;
    return true;
}

void LineStore::clear() {
    blocks_.clear();
    entries_.clear();
    used_ = room_ = 0;
}

void LineStore::sort(const SortOrder &order) {
    std::stable_sort(entries_.begin(), entries_.end(), [&](const Entry &a, const Entry &b) {
        return a.head != b.head ? a.head < b.head : order.compare(a.line(), b.line()) < 0;
    });
}

} // namespace qbgl
