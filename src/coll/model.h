// What the reader of the collation category derives from its rows.
#pragma once

#include "util/growing.h"

namespace qbgl {

inline constexpr int KIND_AS_SPECIFIED = 1, KIND_THAI = 2; // gl_collate_info.kind

inline constexpr uint16_t WEIGHT_IGNORED = 1;
inline constexpr uint16_t WEIGHT_SPECIAL = 0x8000;   // the code value of the character decides
inline constexpr uint16_t WEIGHT_EXPANSION = 0x4000; // without WEIGHT_SPECIAL: the other bits are an index of the expansions
inline constexpr uint16_t WEIGHT_VALUE = 0x3FFF;

constexpr bool is_expansion(uint16_t weight) { return (weight & (WEIGHT_SPECIAL | WEIGHT_EXPANSION)) == WEIGHT_EXPANSION; }

// What has equal weights, by row. A row is in one group at most.
struct RowGroups {
    static constexpr int32_t NONE = -1, ALL_ONE = -2;

    Owned<int32_t> group;            // for each row a class from 0 on, ALL_ONE or NONE
    int32_t class_count = 0;         // in the order of their first members' second ones
    bool has_all_one = false;        // rows whose weight is 1 on every pass
    Growing<int32_t> expansion_rows; // rows that stand for one expansion, and which: row, index, row, index, ...

    bool any() const { return class_count > 0 || has_all_one; }
};

// False when memory is out.
bool classify_rows(const gl_collate_info &info, RowGroups &groups);

// Gathers the characters of the groups into the handle's all-1 list and equivalence pairs, each one block of memory. 0, or -1 with
// the handle's error.
int gather_characters(gl_locale *locale, const RowGroups &groups);

// Lookup tables by one-byte characters. 0, or -1 with GL_ENOMEM. The table of the elements is there already.
int set_exp_candidates(gl_locale *locale);
void set_elem_candidates(gl_locale *locale);

} // namespace qbgl
