// What the tables of collation rules say: weights and directions.
#pragma once

#include "qbgl.h"

namespace qbgl {

inline constexpr uint16_t WEIGHT_IGNORED = GL_WEIGHT_IGNORED, WEIGHT_SPECIAL = GL_WEIGHT_SPECIAL,
                          WEIGHT_EXPANSION = GL_WEIGHT_EXPANSION, WEIGHT_VALUE = GL_WEIGHT_VALUE;

constexpr bool is_expansion(uint16_t weight) { return (weight & (WEIGHT_SPECIAL | WEIGHT_EXPANSION)) == WEIGHT_EXPANSION; }

inline bool is_forward(const gl_collate_info &rules, int pass) { return (rules.directions[pass] & GL_PASS_FORWARD) != 0; }

} // namespace qbgl
