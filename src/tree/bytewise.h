// Codesets in which text need not be decoded.
#pragma once

#include "qbnxdl/served.h"

namespace qbgl {

// Whether each byte is a character, and its value the wide character.
inline bool bytes_are_characters(const gl_locale *locale) {
    return locale->single_byte != 0 && !served_by_extension(locale, GL_CAT_CTYPE);
}

} // namespace qbgl
