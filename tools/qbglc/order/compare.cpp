#include "order/compare.h"

#include <algorithm>
#include <numeric>

namespace qbgl::compiler {

namespace {

uint64_t pairs_of(uint64_t count) { return count * (count - 1) / 2; }

// The place of each text in a locale's order; equal texts have the same.
std::vector<uint32_t> ranks_of(const OrderLocale &locale, const std::vector<std::string> &texts) {
    std::vector<uint32_t> sorted(texts.size()), ranks(texts.size());
    std::iota(sorted.begin(), sorted.end(), 0);
    std::stable_sort(sorted.begin(), sorted.end(), [&](uint32_t a, uint32_t b) { return locale.compare(texts[a], texts[b]) < 0; });
    for (size_t i = 1, rank = 0; i < sorted.size(); ++i) {
        if (locale.compare(texts[sorted[i - 1]], texts[sorted[i]]) != 0) ++rank;
        ranks[sorted[i]] = static_cast<uint32_t>(rank);
    }
    return ranks;
}

// Pairs that stand the wrong way round; sorts the values.
uint64_t count_inversions(std::vector<uint32_t> &values, std::vector<uint32_t> &scratch, size_t begin, size_t end) {
    if (end - begin < 2) return 0;
    const size_t middle = begin + (end - begin) / 2;
    uint64_t count = count_inversions(values, scratch, begin, middle) + count_inversions(values, scratch, middle, end);
    size_t left = begin, right = middle;
    for (size_t at = begin; at < end; ++at) {
        const bool from_left = right == end || (left < middle && values[left] <= values[right]);
        if (!from_left) count += middle - left;
        scratch[at] = values[from_left ? left++ : right++];
    }
    std::copy(scratch.begin() + static_cast<ptrdiff_t>(begin), scratch.begin() + static_cast<ptrdiff_t>(end),
              values.begin() + static_cast<ptrdiff_t>(begin));
    return count;
}

// Pairs of the sorted items that a predicate, true for neighbours only of a run, calls equal.
template <class Equal> uint64_t count_ties(const std::vector<uint32_t> &sorted, Equal equal) {
    uint64_t count = 0;
    for (size_t begin = 0, end; begin < sorted.size(); begin = end) {
        end = begin + 1;
        while (end < sorted.size() && equal(sorted[begin], sorted[end])) ++end;
        count += pairs_of(end - begin);
    }
    return count;
}

} // namespace

OrderChanges compare_order(const OrderLocale &before, const OrderLocale &after, const std::vector<std::string> &texts) {
    const std::vector<uint32_t> old_ranks = ranks_of(before, texts), new_ranks = ranks_of(after, texts);
    OrderChanges changes;
    std::vector<uint32_t> sorted(texts.size());
    std::iota(sorted.begin(), sorted.end(), 0);
    const auto by_new = [&](uint32_t a, uint32_t b) { return new_ranks[a] < new_ranks[b]; };
    const auto by_old = [&](uint32_t a, uint32_t b) {
        return old_ranks[a] != old_ranks[b] ? old_ranks[a] < old_ranks[b] : by_new(a, b);
    };
    const auto same_new = [&](uint32_t a, uint32_t b) { return new_ranks[a] == new_ranks[b]; };
    const auto same_old = [&](uint32_t a, uint32_t b) { return old_ranks[a] == old_ranks[b]; };
    std::sort(sorted.begin(), sorted.end(), by_new);
    const uint64_t new_ties = count_ties(sorted, same_new);
    std::sort(sorted.begin(), sorted.end(), by_old);
    const uint64_t old_ties = count_ties(sorted, same_old);
    const uint64_t ties = count_ties(sorted, [&](uint32_t a, uint32_t b) { return same_old(a, b) && same_new(a, b); });

    std::vector<uint32_t> sequence(texts.size()), scratch(texts.size());
    for (size_t i = 0; i < sorted.size(); ++i) {
        sequence[i] = new_ranks[sorted[i]];
        if (before.key(texts[sorted[i]]) != after.key(texts[sorted[i]])) changes.keys.push_back(sorted[i]);
        if (i == 0) continue;
        const uint32_t a = sorted[i - 1], b = sorted[i];
        const int old_order = same_old(a, b) ? 0 : -1, new_order = same_new(a, b) ? 0 : new_ranks[a] < new_ranks[b] ? -1 : 1;
        if (old_order != new_order) changes.neighbours.push_back({a, b, old_order, new_order});
    }
    changes.pairs = pairs_of(texts.size());
    changes.changed_pairs = count_inversions(sequence, scratch, 0, sequence.size()) + (old_ties - ties) + (new_ties - ties);
    return changes;
}

} // namespace qbgl::compiler
