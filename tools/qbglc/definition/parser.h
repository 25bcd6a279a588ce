// The parsers of a definition's categories, and what they need of other files.
#pragma once

#include "definition/lexer.h"

#include <set>

namespace qbgl::compiler {

using Sources = std::vector<std::filesystem::path>; // files, in the order in which they were met

struct ParsedTypes {
    CharacterTypes types;
    Sources sources;
};

struct ParsedRules {
    CollationRulesPtr rules;
    std::set<std::string, std::less<>> defined; // after its last line
    Sources sources;
};

struct ParsedKeywords {
    Keywords keywords;
    Sources sources;
};

// Categories of other definitions, by the name that stands behind a `copy` or `include` in `place`.
class CopiedCategories {
  public:
    virtual ~CopiedCategories() = default;
    virtual const ParsedTypes &types(const std::string &name, const Place &place) = 0;
    virtual const ParsedRules &rules(const std::string &name, const Place &place,
                                     const std::set<std::string, std::less<>> &defined) = 0;
    virtual const ParsedKeywords &keywords(const std::string &name, const Place &place, std::string_view category) = 0;
};

ParsedTypes parse_types(const DefinitionSource &source, CopiedCategories &copied);
ParsedRules parse_rules(const DefinitionSource &source, CopiedCategories &copied, std::set<std::string, std::less<>> defined);
// LC_NUMERIC, LC_MONETARY, LC_TIME or LC_MESSAGES.
ParsedKeywords parse_keywords(const DefinitionSource &source, std::string_view category, CopiedCategories &copied);

} // namespace qbgl::compiler
