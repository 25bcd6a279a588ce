// What a person wants to see instead of characters that a codeset lacks.
#pragma once

#include "text/shown_text.h"

#include <map>
#include <optional>

namespace qbgl {

class Replacements {
  public:
    // Substitutions are CHARACTER=TEXT in UTF-8. What is missing beyond them becomes `missing`, "&#x20AC;" for "html" and "\u20AC"
    // for "escape". Throws Failure.
    Replacements(const std::string &source, bool stateful_source, const std::string &target,
                 const std::vector<std::string> &substitutions, const std::optional<std::string> &missing);

    bool empty() const { return substitutions_.empty() && !missing_; }
    // Instead of a character of the source, in the target; empty when nothing is. An approximation gives way to substitutions only.
    std::string of(std::string_view character, bool has_approximation);

  private:
    std::string wanted(const std::string &character, bool has_approximation) const;

    bool stateful_source_;
    std::string target_;
    TextView view_;
    std::map<std::string, std::string> substitutions_; // by the character in UTF-8
    std::optional<std::string> missing_;
    std::map<std::string, std::string, std::less<>> known_[2];
};

} // namespace qbgl
