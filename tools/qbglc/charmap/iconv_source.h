// A codeset as the platform's iconv program knows it.
#pragma once

#include "charmap/codeset.h"

#include <string>

namespace qbgl::compiler {

// Which characters of a stateful codeset: those of both states, or one state's as a codeset of its own.
enum class IconvPart { ALL, SINGLE, DOUBLE };

// Asks iconv for every character of planes 0 to 2 in both directions. Takes codesets with characters of one to three bytes, or of
// one byte and, between shift-out and shift-in, two. Throws DataError when iconv does not know the codeset or answers
// inconsistently.
CodesetPtr codeset_from_iconv(const std::string &iconv_name, IconvPart part, const std::string &name);

// Adds to a single-byte codeset what iconv writes for further characters as a base and marks, each a character of the codeset.
void add_composed_from_iconv(const std::string &iconv_name, Codeset &codeset);

// Names the version of the platform's iconv.
std::string iconv_version();

} // namespace qbgl::compiler
