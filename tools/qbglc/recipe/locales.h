// The recipe for the locales of an installation.
#pragma once

#include "recipe/catalogue.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace qbgl::compiler {

// One object.
struct LocaleTask {
    std::filesystem::path file; // below the directory of locale objects
    std::string definition;     // a name, or a file with its directory
    size_t codeset;
    std::string codeset_name; // as the recipe calls it
    std::string calendar;
    std::string collation; // in place of the definition's rules; empty for those
    std::string place;     // "FILE:LINE" of the recipe
};

// The name of an object's file: "ll_tt" or "ll_tt@mod" and the codeset's number, or "default". Throws DataError for a name that no
// locale specification can have.
std::filesystem::path locale_file(const std::string &name, uint16_t codeset_number);

// In the recipe's order, each file once. `file` is the recipe: a definition of one's own is looked for in its directory. Throws
// DataError with all that is wrong.
std::vector<LocaleTask> parse_locales(const Catalogue &catalogue, std::string_view text, const std::string &file);

} // namespace qbgl::compiler
