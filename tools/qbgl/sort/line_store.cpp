#include "sort/line_store.h"

#include <algorithm>
#include <cstring>

namespace qbgl {

namespace {

// The vector of entries is up to twice as long as what it holds, and sorting takes half as much again.
constexpr size_t ENTRY_OVERHEAD = 3;
constexpr size_t SMALLEST_BLOCK = 1 << 10, LARGEST_BLOCK = 1 << 20;

uint64_t head_of(std::string_view key, size_t depth = 0) {
    uint64_t head = 0;
    for (size_t i = 0; i < sizeof head; ++i) {
        const size_t at = depth * sizeof head + i;
        head = head << 8 | (at < key.size() ? static_cast<uint8_t>(key[at]) : 0);
    }
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

void LineStore::sort(const SortOrder &order) { sort(entries_.data(), entries_.data() + entries_.size(), 0, order); }

// By eight bytes of the keys at a time, which stand in the entries themselves: the keys are looked at only to take the next ones of
// those that are alike so far.
void LineStore::sort(Entry *begin, Entry *end, size_t depth, const SortOrder &order) {
    constexpr ptrdiff_t FEW = 16;
    constexpr size_t DEEPEST = 8;
    const size_t taken = depth * sizeof begin->head;
    const bool exhausted =
        depth > 0 && std::any_of(begin, end, [taken](const Entry &entry) { return entry.line().key.size() < taken; });
    if (end - begin <= FEW || depth == DEEPEST || exhausted) {
        std::stable_sort(begin, end, [&](const Entry &a, const Entry &b) { return order.compare(a.line(), b.line()) < 0; });
        return;
    }
    if (depth > 0) std::for_each(begin, end, [depth](Entry &entry) { entry.head = head_of(entry.line().key, depth); });
    std::stable_sort(begin, end, [](const Entry &a, const Entry &b) { return a.head < b.head; });
    while (begin != end) {
        Entry *const group = std::find_if(begin, end, [begin](const Entry &entry) { return entry.head != begin->head; });
        if (group - begin > 1) sort(begin, group, depth + 1, order);
        begin = group;
    }
}

} // namespace qbgl
