// The case of characters as the locale's tables tell it.
#pragma once

#include "mbwc/maps.h"
#include "multi/character_table.h"

namespace qbgl {

enum class Case { UPPER, LOWER };

// The character in the other case, or 0 where it has none, as pair 0 has.
template <Case TO> gl_wchar in_case(const gl_case_pair &pair) { return TO == Case::UPPER ? pair.upper : pair.lower; }

template <Case TO> const uint8_t *byte_map(const gl_locale *locale) { return TO == Case::UPPER ? locale->upper : locale->lower; }

template <Case TO> const uint8_t *byte_map(const CodesetMaps &maps) {
    return TO == Case::UPPER ? maps.upper_byte : maps.lower_byte;
}

// Arrays without a character, for handles that have none.
inline constexpr uint16_t NO_PAGES[1] = {};
inline constexpr uint32_t NO_VALUES[8] = {};
inline constexpr gl_character_cell NO_CELLS[1] = {};
inline constexpr CodesetMaps NO_MAPS = [] {
    CodesetMaps maps = {};
    maps.page_blocks = NO_PAGES;
    maps.valid = NO_VALUES;
    maps.cells = NO_CELLS;
    return maps;
}();

// The place of a wide character in the arrays; its page is one of theirs.
inline uint32_t place_of(const uint16_t *page_blocks, gl_wchar wc) { return page_blocks[wc >> 8] * 256u + (wc & 255); }

inline bool is_valid(const uint32_t *valid, uint32_t place) { return (valid[place >> 5] >> (place & 31) & 1) != 0; }

} // namespace qbgl
