// Finding the rows of equal weights.
#include "coll/lists.h"
#include "coll/rules.h"

#include <algorithm>

namespace qbgl {

namespace {

constexpr int32_t NOT_ORDINARY = -1; // rows with special weights, and all-1 rows

// The weights of a row on all passes.
class Rows {
  public:
    explicit Rows(const gl_collate_info &info) : info_(info) {}

    template <class Predicate> bool all(int32_t row, Predicate predicate) const {
        for (int32_t pass = 0; pass < info_.pass_count; ++pass)
            if (!predicate(info_.weights[pass][row])) return false;
        return true;
    }
    bool all_one(int32_t row) const {
        return all(row, [](uint16_t weight) { return weight == 1; });
    }
    bool special(int32_t row) const {
        return !all(row, [](uint16_t weight) { return (weight & WEIGHT_SPECIAL) == 0; });
    }
    // The expansion that the row stands for on every pass, or -1.
    int32_t expansion(int32_t row) const {
        const uint16_t first = info_.weights[0][row];
        const bool same = is_expansion(first) && all(row, [first](uint16_t weight) { return weight == first; });
        return same ? first & WEIGHT_VALUE : -1;
    }
    // Different for most different rows.
    uint32_t hash(int32_t row) const {
        uint32_t hash = 0;
        for (int32_t pass = 0; pass < info_.pass_count; ++pass) hash = (hash ^ info_.weights[pass][row]) * 0x9E3779B1;
        return hash;
    }
    // Negative, 0 or positive.
    int compare(int32_t a, int32_t b) const {
        for (int32_t pass = 0; pass < info_.pass_count; ++pass) {
            const int difference = info_.weights[pass][a] - info_.weights[pass][b];
            if (difference != 0) return difference;
        }
        return 0;
    }

  private:
    const gl_collate_info &info_;
};

// Takes out of a list of rows those that have a weight in some pass which no other row of the list has there: the rows of a
// compiler all differ, and nearly all in such a way. Returns how many are left, in their order.
uint32_t keep_alike(const gl_collate_info &info, int32_t *list, uint32_t count) {
    constexpr uint32_t WORDS = (UINT16_MAX + 1) / 32;
    for (int32_t pass = 0; pass < info.pass_count; ++pass) {
        const uint16_t *const weights = info.weights[pass];
        uint32_t found[WORDS] = {}, repeated[WORDS] = {};
        for (uint32_t i = 0; i < count; ++i) {
            const uint16_t weight = weights[list[i]];
            repeated[weight / 32] |= found[weight / 32] & 1U << weight % 32;
            found[weight / 32] |= 1U << weight % 32;
        }
        uint32_t kept = 0;
        for (uint32_t i = 0; i < count; ++i) {
            const int32_t row = list[i];
            list[kept] = row;
            kept += repeated[weights[row] / 32] >> weights[row] % 32 & 1;
        }
        count = kept;
    }
    return count;
}

struct HashedRow {
    uint32_t hash;
    int32_t row;
};

// For each of `count` rows the first one with its weights. Sorting: equal rows stand together then. The hashes decide nearly
// always.
void find_first_equals_sorted(const Rows &rows, HashedRow *list, uint32_t count, int32_t *first) {
    std::sort(list, list + count, [&rows](const HashedRow &a, const HashedRow &b) {
        if (a.hash != b.hash) return a.hash < b.hash;
        const int difference = rows.compare(a.row, b.row);
        return difference != 0 ? difference < 0 : a.row < b.row;
    });
    for (uint32_t i = 0; i < count; ++i) {
        const bool equal = i > 0 && list[i - 1].hash == list[i].hash && rows.compare(list[i - 1].row, list[i].row) == 0;
        first[list[i].row] = equal ? first[list[i - 1].row] : list[i].row;
    }
}

// The same by a table of the rows that are the first of their kind. False when memory is out, or where so many hashes are alike as
// weights that were made for it have them.
bool find_first_equals(const Rows &rows, const HashedRow *list, uint32_t count, int32_t *first) {
    constexpr uint32_t MOST_STEPS = 64;
    uint32_t slots = 4;
    while (slots < count * 2) slots *= 2;
    const Owned<HashedRow> found = Owned<HashedRow>::allocate(slots);
    if (!found) return false;
    std::fill_n(found.get(), slots, HashedRow{0, NOT_ORDINARY});
    for (uint32_t i = 0; i < count; ++i) {
        const auto &[hash, row] = list[i];
        for (uint32_t step = 0;; ++step) {
            HashedRow &slot = found[((hash ^ hash >> 15) + step) & (slots - 1)];
            if (slot.row == NOT_ORDINARY) slot = list[i];
            first[row] = slot.row;
            if (slot.row == row || (slot.hash == hash && rows.compare(slot.row, row) == 0)) break;
            if (step == MOST_STEPS) return false;
        }
    }
    return true;
}

} // namespace

bool classify_rows(const gl_collate_info &info, RowGroups &groups) {
    const Rows rows(info);
    const auto count = static_cast<uint32_t>(info.row_count) + 1;
    groups.group = Owned<int32_t>::allocate(count);
    const Owned<int32_t> ordinary_rows = Owned<int32_t>::allocate(count);
    const Owned<int32_t> first_equals = Owned<int32_t>::allocate(count);
    const Owned<uint8_t> expansions_seen = Owned<uint8_t>::allocate(WEIGHT_VALUE + 1);
    if (!groups.group || !ordinary_rows || !first_equals || !expansions_seen) return false;
    int32_t *const group = groups.group.get(), *const first = first_equals.get(), *const ordinary = ordinary_rows.get();
    uint8_t *const seen = expansions_seen.get();
    memset(seen, 0, WEIGHT_VALUE + 1);

    uint32_t ordinary_count = 0;
    for (int32_t row = 0; row <= info.row_count; ++row) {
        const bool all_one = rows.all_one(row);
        group[row] = all_one ? RowGroups::ALL_ONE : RowGroups::NONE;
        first[row] = NOT_ORDINARY;
        groups.has_all_one = groups.has_all_one || all_one;
        if (all_one || rows.special(row)) continue;
        first[row] = row;
        ordinary[ordinary_count++] = row;
    }
    const uint32_t alike_count = keep_alike(info, ordinary, ordinary_count);
    const Owned<HashedRow> alike = Owned<HashedRow>::allocate(alike_count + 1);
    if (!alike) return false;
    std::transform(ordinary, ordinary + alike_count, alike.get(), [&rows](int32_t row) { return HashedRow{rows.hash(row), row}; });
    if (!find_first_equals(rows, alike.get(), alike_count, first)) find_first_equals_sorted(rows, alike.get(), alike_count, first);
    for (int32_t row = 0; row <= info.row_count; ++row) {
        if (first[row] == NOT_ORDINARY) continue;
        if (first[row] != row) {
            int32_t &joined = group[first[row]];
            if (joined == RowGroups::NONE) joined = groups.class_count++;
            group[row] = joined;
        }
        const int32_t expansion = rows.expansion(row);
        if (expansion < 0 || seen[expansion] != 0) continue;
        seen[expansion] = 1;
        if (!groups.expansion_rows.append(row) || !groups.expansion_rows.append(expansion)) return false;
        if (group[row] == RowGroups::NONE) group[row] = groups.class_count++;
    }
    return true;
}

} // namespace qbgl
