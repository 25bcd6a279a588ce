// A definition file cut into its categories.
#pragma once

#include "definition/definition.h"

#include <array>
#include <map>

namespace qbgl::compiler {

struct DefinitionSource {
    struct Category {
        std::string_view body; // the lines between the category's name and its END
        unsigned line;         // of the name
        char comment_char, escape_char;
    };

    std::shared_ptr<const std::string> file;
    std::shared_ptr<const std::string> text;
    std::map<std::string, Category, std::less<>> categories;

    // Throws DataError when the file lacks the category.
    const Category &category(std::string_view name) const;
};
using DefinitionSourcePtr = std::shared_ptr<const DefinitionSource>;

// Throws SystemError for a file that cannot be read, DataError when its categories do not stand one behind the other.
DefinitionSourcePtr load_definition(const std::filesystem::path &path);

} // namespace qbgl::compiler
