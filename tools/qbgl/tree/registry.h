// The codeset names of the installation tree.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace qbgl {

struct Registry {
    std::vector<std::string> names;                         // in the file's order
    std::map<uint16_t, std::vector<std::string>> by_number; // each number's names, in the file's order

    // What to call a codeset: a name, or its number where it has none.
    std::string name_of(uint16_t number) const;
};

// Reads the tree's registry file; empty where there is none.
Registry read_registry();

} // namespace qbgl
