// Characters of Unicode that a charmap has by a rule: too many to be listed, with the names <Uxxxx> and <Uxxxxxxxx>.
#pragma once

#include "qbgl.h"
#include "unicode/form.h"

namespace qbgl {

// False for what the rule has no bytes for.
bool encode_unlisted(UnicodeForm rule, uint32_t code, gl_desc &character);

// The character at the beginning of a text of n bytes. 0, GL_EILSEQ for none, GL_EINVAL for one that is cut.
int decode_unlisted(UnicodeForm rule, const char *s, int n, uint32_t &code, gl_desc &character);

} // namespace qbgl
