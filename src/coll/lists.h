// Lists that are derived from the rows of collation rules while loading.
#pragma once

#include "util/growing.h"

namespace qbgl {

// Which rows no text can be told apart by: rows with the same weights on every pass form a class, and so do an expansion and a row
// that stands for nothing but it. Rows that every pass ignores are apart.
struct RowGroups {
    static constexpr int32_t NONE = -1, ALL_ONE = -2;

    Owned<int32_t> group;            // of each row: NONE, ALL_ONE, or the number of its class
    int32_t class_count = 0;         // numbered by where the second member, or the row of the expansion, stands
    bool has_all_one = false;        // there are rows of weight 1 on every pass
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
