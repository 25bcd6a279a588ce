// The installation tree.
#pragma once

#include "recipe/library.h"

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace qbgl::compiler {

struct TreeReport {
    size_t conversions = 0, links = 0, locales = 0, charmaps = 0; // wanted
    size_t written = 0, removed = 0;
    size_t inexact = 0;                // warnings of orders that were made
    std::vector<std::string> left_out; // locales that their codeset cannot carry, and why
};

// Brings DIRECTORY up to date with the recipes: vrn/cm3 with the registry and the charmap of every codeset that has one, vrn/cv9
// with an object for every pair of the conversions recipe and links to it for every pair of names, vrn/lc11 with the locales of the
// locales recipe, if there is one, and the other directories of an installation. Objects that are up to date are left alone;
// objects and links that the recipes do not name are removed. `progress` is called with the number done and to do, by one thread at
// a time.
TreeReport build_tree(Library &library, const std::filesystem::path &directory, unsigned threads,
                      const std::function<void(size_t, size_t)> &progress);

// The name of the object of a pair: the numbers in hexadecimal.
std::string object_name(const Catalogue &catalogue, Catalogue::Pair pair);

} // namespace qbgl::compiler
