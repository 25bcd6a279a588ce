// What the tables of collation rules say: weights and directions.
#pragma once

#include "multi/character_table.h"

namespace qbgl {

inline constexpr uint16_t WEIGHT_IGNORED = GL_WEIGHT_IGNORED, WEIGHT_SPECIAL = GL_WEIGHT_SPECIAL,
                          WEIGHT_EXPANSION = GL_WEIGHT_EXPANSION, WEIGHT_VALUE = GL_WEIGHT_VALUE;

constexpr bool is_expansion(uint16_t weight) { return (weight & (WEIGHT_SPECIAL | WEIGHT_EXPANSION)) == WEIGHT_EXPANSION; }

inline constexpr gl_wchar ELEMENT_CHARACTER = 1; // what stands for a collating element's

inline bool is_forward(const gl_collate_info &rules, int pass) { return (rules.directions[pass] & GL_PASS_FORWARD) != 0; }

inline bool is_ranked(const gl_ranks &ranks, uint32_t row) { return row - 1 < static_cast<uint32_t>(ranks.row_count); }

// What tells characters with the same special weight apart: the ranks of those in ranked rows, the code values of others. No key
// can have a rank below the least one: what has such a rank, or none, counts as that.
inline constexpr uint16_t LEAST_RANK = 2;
inline gl_wchar told_by(const gl_ranks &ranks, uint32_t row, gl_wchar wc) {
    if (!is_ranked(ranks, row)) return wc;
    const void *entry = _gl_retrieve_wchar_multi_nl(nullptr, wc, ranks.table);
    const uint16_t rank = entry != nullptr ? value_at(entry) : 0;
    return rank < LEAST_RANK ? LEAST_RANK : rank;
}

} // namespace qbgl
