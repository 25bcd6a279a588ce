// Which characters fill two columns of a terminal.
#pragma once

#include "charmap/codeset.h"

#include <vector>

namespace qbgl::compiler {

// The WIDTH section of a charmap.
struct WidthSection {
    std::vector<Charmap::Width> widths;
    bool by_code = false; // ranges run over codes, not over bytes
};
WidthSection width_section(const Charmap &charmap);

// What the platform's charmap of UTF-8 tells. A character that it does not know fills two columns where ideographs and pictures
// stand.
std::shared_ptr<const KnownUnicode> known_unicode(const Charmap &charmap);

// Of every character of codeset.read(), by a WIDTH section that uses the codeset's own order, or that of UTF-8.
std::vector<bool> full_width(const Codeset &codeset, const WidthSection &section);

} // namespace qbgl::compiler
