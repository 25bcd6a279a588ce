// The installation tree.
#pragma once

#include "recipe/library.h"

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace qbgl::compiler {

struct TreeOptions {
    unsigned threads = 1;
    // Replaces a locale whose order changed, and removes one that its codeset no longer carries. Databases that keep sort keys
    // must be told, so without it what is there stays.
    bool accept_changes = false;
    std::filesystem::path icu = {};                                       // the extension library to put in; empty: as it is
    std::function<void(size_t, size_t)> progress = [](size_t, size_t) {}; // number done and to do, by one thread at a time
    std::function<void()> waits = [] {};                                  // another run is at work on the directory
};

struct TreeReport {
    size_t conversions = 0, links = 0, locales = 0, charmaps = 0, served = 0; // wanted
    size_t written = 0, removed = 0;
    // Sentences that begin with a file.
    std::vector<std::string> damaged;  // objects that were not as they had been written, and were made anew
    std::vector<std::string> warnings; // on the orders that were made, and an extension that is not in use
    std::vector<std::string> changes;  // locales that their codeset cannot carry, and those whose order changed
};

// Brings DIRECTORY up to date with the recipes: vrn/cm3 with the registry and the charmap of every codeset that has one, vrn/cv9
// with an object for every pair of the conversions recipe and links to it for every pair of names, vrn/lc11 with the locales of the
// locales recipe, if there is one, and the other directories of an installation. Objects that are up to date, which their headers
// tell, and whole, which their seals tell, are left alone; objects and links that the recipes do not name are removed. With an
// extension library, vrn/dll has it and vrn/etc what it reads, and vrn/lc11 has links to objects for the locales that it serves by
// their modifier; a run without one leaves them alone. Runs on the same directory wait for one another. Throws DataError with all
// that is wrong, after it has made what can be made.
TreeReport build_tree(Library &library, const std::filesystem::path &directory, const TreeOptions &options);

// What build_tree would change, a sentence that begins with a file for each. Changes nothing.
std::vector<std::string> verify_tree(Library &library, const std::filesystem::path &directory, const TreeOptions &options);

// The name of the object of a pair: the numbers in hexadecimal.
std::string object_name(const Catalogue &catalogue, Catalogue::Pair pair);

} // namespace qbgl::compiler
