// The text of a charmap object file.
#pragma once

#include "recipe/library.h"

#include <string>
#include <string_view>
#include <vector>

namespace qbgl::compiler {

// A name of a character. Where a name has several sequences, the first counts that is not `decode_only`; where a sequence has
// several names, the first.
struct SymbolicName {
    std::string name;
    Sequence bytes;
    bool decode_only = false;
};

// All names of a charmap in its order, and the names of the portable character set that it leaves out. Codes from `below` on are
// left out. Throws DataError with file and line for a name that an object cannot hold.
std::vector<SymbolicName> symbolic_names(const Charmap &charmap, char32_t below = CODE_LIMIT);
// Those of a codeset of the catalogue. Where its characters are taken from iconv, for it knows more of them than the charmap, each
// has the name <Uxxxx> of what it is converted to. Throws DataError for a codeset without a charmap.
std::vector<SymbolicName> symbolic_names(Library &library, size_t codeset);

// The header: the fixed lines, the number of lines, the codeset, and the given lines. An object with the same header has the same
// content when the lines name everything that the content depends on, as those of a codeset of the catalogue do.
std::string charmap_header(const std::string &codeset, const std::vector<std::string> &lines);
std::string charmap_header(Library &library, size_t codeset);

// Header, seal and body.
std::string charmap_object(const std::vector<SymbolicName> &names, const std::string &header);

} // namespace qbgl::compiler
