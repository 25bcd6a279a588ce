// How the strings of weights of a level may be taken apart without a change of order.
#pragma once

#include "collation/order.h"
#include "collation/share.h"

#include <span>
#include <string>
#include <vector>

namespace qbgl::compiler {

// On a further level two texts are compared only when the first level found them equal. Then characters stand over against
// characters, and whole strings may be compared instead of the weights in them: unless one string begins another one, the first
// different weight lies within a pair; and if it does, what follows the shorter one must be less than what follows in the longer.
// So it is with "<BASE>" and "<BASE><ACUTE>", as every string begins with the least weight. The weights of a ligature can stand
// over against those of two letters: its strings are cut in two where letters have both halves, and else kept whole, if that is
// exact; spares have them if it is not.
class CollationAlignment {
  public:
    CollationAlignment(const CollationOrder &order, const CollationShare &share);

    // Cuts the strings of a level; to be asked for level 1, 2, ... (the first being 0) in this order. False when only single
    // weights give the right order.
    bool cut(size_t level);
    // The parts of a string after cut().
    std::vector<std::span<const CollationOrder::Ordinal>> parts(uint32_t item) const;

  private:
    using Ordinal = CollationOrder::Ordinal;
    using Weights = std::span<const Ordinal>;

    struct Item {
        uint32_t number;
        bool is_character = false;
        std::vector<uint32_t> groups; // for each weight of level 1: equal where the levels before cannot tell two apart
        std::vector<size_t> cuts;     // where the parts of the level end; empty for a whole string
        std::vector<size_t> former;   // the cuts of the level before
    };
    struct Part {
        uint32_t group;
        Weights weights, extent; // extent: the weights of level 1 that it stands for
    };

    Weights string(const Item &item) const { return order_.string(order_.string_of(item.number, level_)); }
    Weights base(const Item &item) const { return order_.string(order_.string_of(item.number, 0)); }
    std::vector<Part> parts(const Item &item) const;
    std::vector<size_t> find_cuts(const Item &item, const std::vector<bool> &begins) const;
    bool has_carriers(const Item &item, const std::vector<size_t> &cuts) const;
    bool is_exact() const;
    void regroup();

    const CollationOrder &order_;
    size_t level_ = 0;
    bool backward_ = false, uses_spares_ = false;
    std::vector<Item> items_;             // in the order of their numbers
    std::vector<std::u32string> carried_; // strings that characters of one weight on level 1 have, in order
};

} // namespace qbgl::compiler
