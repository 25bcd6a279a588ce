// The locales of the built tree, as its recipe names them.
#pragma once

#include <string>
#include <vector>

namespace qbgl_test {

struct TreeLocale {
    std::string name, codeset; // as the tables of differences have them
    std::string spec, definition, charmap;
    size_t codeset_index; // in the catalogue
    bool has_rules;       // its order is that of the definition
};

std::vector<TreeLocale> tree_locales();

} // namespace qbgl_test
