// Symbols: "<", a name in which a backslash takes the next character literally, ">".
#pragma once

#include "syms/charmap.h"

namespace qbgl {

// Room for the symbol of any name with its terminator.
inline constexpr int LONGEST_SYMBOL = 2 * LONGEST_RANGE_NAME + 3;

// The character at s, at most n bytes. 0; GL_EILSEQ for none, GL_EINVAL for one that n bytes cut.
int recognize_charmap_char(const gl_charmap &cm, const char *s, int n, gl_desc &character);

// The name of a character, empty for none. It stands in the charmap or in `buffer`.
std::string_view name_of_character(const gl_charmap &cm, const gl_desc &character, RangeName &buffer);

// Writes the symbol of a name. Returns its length, or -1 when it does not fit with its terminator; then nothing is written.
int string_to_symbol(std::string_view name, char *out, int room);

// Reads the symbol at the text's beginning. Returns its length; -1 when it is none, or its name has no character.
int symbol_to_descriptor(const gl_charmap &cm, const char *text, gl_desc &character);

} // namespace qbgl
