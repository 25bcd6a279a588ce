// LC_COLLATE's rules, worked out: what every character and collating element weighs on every level, whatever the codeset.
#pragma once

#include "definition/definition.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace qbgl::compiler {

class CollationOrder {
  public:
    // A weight's value is the place of its symbol, character or element in the order.
    using Ordinal = uint32_t;
    static constexpr uint32_t NONE = ~uint32_t(0);
    static constexpr uint32_t EMPTY = 0; // the string of something that a level ignores

    struct Level {
        bool backward = false;
        bool position = false; // what is ignored still counts by its place
    };
    struct Element {
        std::u32string text;
        uint32_t item;
    };

    // Throws DataError with file and line. The rules may go afterwards.
    explicit CollationOrder(const CollationRules &rules);

    // No rule counts: characters compare by their codes.
    bool by_code() const { return by_code_; }
    const std::vector<Level> &levels() const { return levels_; }
    // Collating elements in the order.
    const std::vector<Element> &elements() const { return elements_; }
    // The item of a character; NONE when the order does not have it.
    uint32_t find(char32_t code) const { return code < items_by_code_.size() ? items_by_code_[code] : NONE; }
    // Weights of an item on a level, by number: equal strings have equal numbers.
    uint32_t string_of(uint32_t item, size_t level) const { return strings_of_items_[item * levels_.size() + level]; }
    std::span<const Ordinal> string(uint32_t number) const {
        return {pool_.data() + strings_[number].first, strings_[number].count};
    }
    size_t string_count() const { return strings_.size(); }

    // Where characters stand that the order does not have, and the item that tells their weights, if one does.
    Ordinal undefined_ordinal() const { return undefined_ordinal_; }
    uint32_t undefined_item() const { return undefined_item_; }

    const std::vector<std::string> &warnings() const { return warnings_; }

  private:
    friend class CollationResolver;
    struct String {
        uint32_t first, count;
    };

    bool by_code_ = false;
    std::vector<Level> levels_;
    std::vector<Element> elements_;
    std::vector<uint32_t> items_by_code_, strings_of_items_;
    std::vector<String> strings_;
    std::vector<Ordinal> pool_;
    Ordinal undefined_ordinal_ = 0;
    uint32_t undefined_item_ = NONE;
    std::vector<std::string> warnings_;
};

using CollationOrderPtr = std::shared_ptr<const CollationOrder>;

// The rules that a definition's amount to: those of the last definition in a chain that does nothing but copy.
const CollationRules &without_copying(const CollationRules &rules);

} // namespace qbgl::compiler
