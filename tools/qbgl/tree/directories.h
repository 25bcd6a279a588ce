// Where the library finds its data.
#pragma once

#include "frame/messages.h"

#include <string>
#include <vector>

namespace qbgl {

// Without QUORBANEDIR, points it at the installation tree that lies beside this program: `quorbane` in its own directory (a build),
// or ../share/quorbane (an installation). To be called before the library is.
void use_tree_beside_program();

// The installation tree in use, as the library sees it.
std::string tree_directory();

// The directories in which the library looks for conversion objects, for locale objects and for charmaps, in its order.
std::vector<std::string> conversion_directories();
std::vector<std::string> locale_directories();
std::vector<std::string> charmap_directories();

// What to do where a tree lacks what every tree has.
std::string tree_advice();

// There is no codeset registry.
Failure no_tree();

} // namespace qbgl
