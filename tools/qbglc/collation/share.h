// What a codeset takes of an order: its characters, and the collating elements that it can spell.
#pragma once

#include "charmap/codeset.h"
#include "collation/order.h"

#include <string>
#include <vector>

namespace qbgl::compiler {

struct CollationShare {
    static constexpr size_t LONGEST_TEXT = 15; // characters of an element or an expansion

    // A character or an element.
    struct Member {
        std::vector<uint32_t> wide; // the values of its characters as the library has them
        uint32_t item;              // NONE for a character that the order does not have
        Sequence bytes;             // of a character, as they lie in memory
        std::u32string text;
    };

    CollationShare(const CollationOrder &order, const Codeset &codeset);

    std::vector<Member> members; // characters, then elements: the longest first
    size_t character_count = 0;
    std::vector<Sequence> unlisted; // characters that neither the order has nor the codeset lists
    // Values of sequences that are no characters, and do not get in the way of one. A single-byte codeset may have none: it has
    // controls here, too.
    std::vector<uint32_t> spares;
    std::vector<std::string> warnings;
};

// U+XXXX for each character, and a note of those that are too many to be listed.
std::string codes_of(const std::vector<std::u32string> &texts);

} // namespace qbgl::compiler
