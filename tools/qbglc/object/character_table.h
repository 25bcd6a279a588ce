// The tables of a locale object: characters with 16-bit values.
#pragma once

#include "charmap/sequence.h"

#include <cstdint>
#include <string>
#include <vector>

namespace qbgl::compiler {

// Nodes with the same characters and values below them are written once. So a table can have all of the code space, of which most
// is alike.
class CharacterTable {
  public:
    // The value of `default_value` costs nothing.
    explicit CharacterTable(uint16_t default_value) : default_(default_value) {}

    void insert(const Sequence &character, uint16_t value);
    // Ends inserting. Throws DataError when one character begins another.
    std::string text();

  private:
    friend class CharacterTableText;
    // A character, and those behind it up to the one with the last byte.
    struct Item {
        uint32_t key; // the bytes of the first, from the high one on
        uint8_t length, last_byte;
        uint16_t value;
    };

    uint16_t default_;
    std::vector<Item> items_;
};

} // namespace qbgl::compiler
