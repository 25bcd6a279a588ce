// UTF-8, the codeset of what the client shows.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace qbgl {

// The length of the character at the beginning of a non-empty text, 0 when there is none.
size_t utf8_length(std::string_view text);

// The place, from 1 on, of the first character of a text that is none; 0 for well-formed text.
size_t first_bad_character(std::string_view text);

// The code point of one well-formed character.
char32_t utf8_code_point(std::string_view character);
std::string utf8_of(char32_t code_point);

// The columns that a terminal needs for well-formed text, nearly: marks that combine with the character before them count, too.
size_t utf8_columns(std::string_view text);

} // namespace qbgl
