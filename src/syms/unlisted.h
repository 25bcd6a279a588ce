// Characters of Unicode that a charmap has by a rule: too many to be listed, with the names <Uxxxx> and <Uxxxxxxxx>.
#pragma once

#include "qbgl.h"

#include <string_view>

namespace qbgl {

enum class Unlisted : uint8_t { NONE, UTF8, GB18030 };

// The rule that the header of a charmap object names.
Unlisted unlisted_of(std::string_view rule);

// False for what the rule has no bytes for. That of GB18030 has them for what lies beyond the first plane, and for 24 private
// characters: other characters have their places of two bytes, and they what these have left.
bool encode_unlisted(Unlisted rule, uint32_t code, gl_desc &character);

// The character at the beginning of a text of n bytes. 0, GL_EILSEQ for none, GL_EINVAL for one that is cut.
int decode_unlisted(Unlisted rule, const char *s, int n, uint32_t &code, gl_desc &character);

} // namespace qbgl
