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

    std::string place() const; // "FILE:LINE"
    DataError error(std::string_view what) const;
    // A word as a number of the given base; throws error() unless it is one, at most `limit`.
    unsigned number(size_t word, int base, unsigned limit) const;
};

// The lines of a recipe that hold words. A # begins a comment at the start of a word.
std::vector<RecipeLine> read_recipe(const std::filesystem::path &path);
std::vector<RecipeLine> parse_recipe(std::string_view text, const std::string &file);

// Calls read(line) with every line, and throws one DataError with those of all lines.
template <class Function> void for_each_line(const std::vector<RecipeLine> &lines, Function read) {
    ErrorList errors;
    for (const RecipeLine &line : lines) errors.collect([&] { read(line); });
    errors.throw_if_any();
}

} // namespace qbgl::compiler
