// Texts to be compared: words of the definitions and of the example texts, and made-up ones, many of them close to another one.
#pragma once

#include "charmap/codeset.h"
#include "collation/order.h"
#include "definition/definition.h"

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace qbgl_test {

// The words of these definitions' texts, and of the examples; each once, in code order.
std::vector<std::u32string> words_of(const std::vector<std::shared_ptr<const qbgl::compiler::Definition>> &definitions);

// Texts in a codeset, of characters that the order has. The same numbers are drawn on every machine.
class CollationTexts {
  public:
    CollationTexts(const qbgl::compiler::CollationOrder &order, const qbgl::compiler::Codeset &codeset,
                   const std::vector<std::u32string> &words, uint32_t seed);

    using Pair = std::pair<std::u32string, std::u32string>;
    Pair words();   // real ones, neighbours or one of them slightly changed
    Pair strings(); // made-up ones
    std::string encode(const std::u32string &text) const;

    bool has_words() const { return !words_.empty(); }

  private:
    size_t below(size_t limit) { return random_() % limit; }
    bool one_in(size_t count) { return below(count) == 0; }
    char32_t any() { return characters_[below(characters_.size())]; }
    char32_t near(char32_t code);
    char32_t alike(char32_t code);
    // Marks stand on letters, and seldom two of them.
    bool is_ignorable(char32_t code) const { return std::binary_search(ignorables_.begin(), ignorables_.end(), code); }
    char32_t ignorable() { return ignorables_.empty() ? any() : ignorables_[below(ignorables_.size())]; }
    std::u32string changed(std::u32string text);

    const qbgl::compiler::CollationOrder &order_;
    const qbgl::compiler::Codeset &codeset_;
    std::mt19937 random_;
    std::u32string characters_, ignorables_;           // in code order; the latter count on the last level only
    std::vector<std::pair<uint32_t, char32_t>> bases_; // characters by what they are on level 1
    std::vector<std::u32string> words_;
};

} // namespace qbgl_test
