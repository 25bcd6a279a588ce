// Text as bytes: characters of UTF-8, and bytes as people read them.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace qbgl_sqlite {

// The bytes of the character at the beginning of a text that is not empty; 1 for a byte that begins none.
size_t character_length(std::string_view text);

// Where the first byte stands that is of no character; the size of the text where there is none.
size_t first_bad(std::string_view text);

// The beginning of what should have been a name or another text, in quotation marks, to be shown.
std::string quoted(std::string_view text);

// " at offset 3 (bytes C5 AF)": the place of what an error is about.
std::string place(std::string_view text, size_t offset);

} // namespace qbgl_sqlite
