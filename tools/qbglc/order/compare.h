// Where two locales order the same texts differently.
#pragma once

#include "order/locale.h"

#include <cstdint>
#include <string>
#include <vector>

namespace qbgl::compiler {

// Two texts that follow each other in the order of the old locale (which < 0, or = 0), and how the new one has them.
struct OrderChange {
    size_t first, second; // indexes of the texts
    int old_order, new_order;
};

struct OrderChanges {
    std::vector<OrderChange> neighbours; // empty: all pairs are ordered the same
    uint64_t pairs = 0, changed_pairs = 0;
    std::vector<size_t> keys; // texts whose sort keys differ, in the order of the old locale
};

// Looks at all pairs of the texts, which must be texts of both.
OrderChanges compare_order(const OrderLocale &before, const OrderLocale &after, const std::vector<std::string> &texts);

// What two locales' rules have not in common. Where they have all of this in common, texts of any length are ordered the same:
// every weight of a pass then has one weight in the place of it, in the same order.
struct RuleChange {
    enum class What { PASSES, DIRECTION, COUNT, WEIGHTS } what;
    int pass = 0;                 // from 0
    size_t first = 0, second = 0; // COUNT: a text that has another number of weights; WEIGHTS: two whose weights change places
};

// At most one for each pass. The rules of both must stand in tables.
std::vector<RuleChange> compare_rules(const OrderLocale &before, const OrderLocale &after, const std::vector<std::string> &texts);

} // namespace qbgl::compiler
