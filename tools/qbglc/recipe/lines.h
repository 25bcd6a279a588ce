// Recipes: lines of words, with # comments.
#pragma once

#include "system/error.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace qbgl::compiler {

struct RecipeLine {
    std::string file;
    unsigned line;
    std::vector<std::string> words;

    DataError error(std::string_view what) const;
    // A word as a number of the given base; throws error() unless it is one, at most `limit`.
    unsigned number(size_t word, int base, unsigned limit) const;
};

// The lines of a recipe that hold words. A # begins a comment at the start of a word.
std::vector<RecipeLine> read_recipe(const std::filesystem::path &path);
std::vector<RecipeLine> parse_recipe(std::string_view text, const std::string &file);

} // namespace qbgl::compiler
