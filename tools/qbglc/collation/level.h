// The weights of one level in one codeset.
#pragma once

#include "coll/rules.h"
#include "collation/order.h"
#include "collation/share.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace qbgl::compiler {

// The expansions of all levels, each once.
class CollationExpansions {
  public:
    uint32_t index_of(const std::vector<uint32_t> &characters);
    const std::vector<std::vector<uint32_t>> &list() const { return list_; }

  private:
    std::map<std::vector<uint32_t>, uint32_t> indexes_;
    std::vector<std::vector<uint32_t>> list_;
};

// By the value of a character: what tells it apart, in place of the value, from others on its weight.
using CollationRanks = std::map<uint32_t, uint16_t>;

struct CollationLevel {
    static constexpr uint16_t IGNORED = WEIGHT_IGNORED, FIRST = 2, LAST = WEIGHT_VALUE, EXPANSION = WEIGHT_EXPANSION,
                              SPECIAL = WEIGHT_SPECIAL;
    static constexpr uint16_t LAST_OF_ONE_BYTE = 253; // in sort keys

    std::vector<uint16_t> weights; // by member of the share
    uint16_t undefined = IGNORED;  // of a character that the order does not have
    uint16_t largest = IGNORED;
    std::vector<uint16_t> spares; // of the share's spares, as many as are in use
    CollationRanks missing_ranks; // with which all would have room; then the rest is of no use
    std::vector<std::string> warnings;
};

// What of an item's string gets a number: the whole, or parts, of which each must be the string of a character or of a spare, so
// that the whole is an expansion.
using CollationParts = std::function<std::vector<std::span<const CollationOrder::Ordinal>>(uint32_t item)>;

// `ranks` are those of all levels. The level asks for some only where it is given none.
CollationLevel number_level(const CollationOrder &order, const CollationShare &share, size_t level, const CollationParts &parts,
                            const CollationRanks &ranks, CollationExpansions &expansions);

// A pass behind a level that counts positions: of texts in which the same weights follow each other, that one is less which has
// less of what the level ignores before the first of them. The letters that count on the level and on the first one stand over
// against each other by then, and need not be here. (The platform compares positions and weights in one go, and does not see what
// is ignored at a text's end. No weights say that: "ii" must be less than "xi" then, and "iix" greater than "xix".) None when the
// level ignores nothing.
std::optional<CollationLevel> number_positions(const CollationOrder &order, const CollationShare &share, size_t level);

} // namespace qbgl::compiler
