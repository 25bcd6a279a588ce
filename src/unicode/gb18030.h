// What GB18030 has by a rule: its characters of four bytes beyond the first plane, and 24 private ones, whose places of two bytes
// other characters have, and which have those that these left. The rest has no rule that would be shorter than a table.
#pragma once

#include <stdint.h>

namespace qbgl {

// The length of the character that begins a text of `remaining` bytes; 0 for none.
int decode_gb18030(const uint8_t *in, uint32_t remaining, uint32_t &code);

// The length of what is written for a scalar value; 0 where the rule has no bytes.
int encode_gb18030(uint32_t code, uint8_t *out);

// Whether bytes, four at most, are in the ranges of those of four-byte characters.
bool has_shape_of_gb18030(const uint8_t *in, int count);

} // namespace qbgl
