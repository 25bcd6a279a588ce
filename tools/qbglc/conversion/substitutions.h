// Approximations: characters that may stand for one that the target codeset lacks.
#pragma once

#include "system/fingerprint.h"

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace qbgl::compiler {

class Substitutions {
  public:
    // The transliteration tables of the platform's locales that a recipe names, in its order of preference; see data/substitutions.
    // Throws DataError with file and line.
    static Substitutions load(const std::filesystem::path &recipe);

    void add(char32_t code, char32_t alternative) { alternatives_[code].push_back(alternative); }
    // Adds the single characters of a locale definition's transliteration section; with `both_ways` their reverse at the very end,
    // too.
    void add_locale_text(std::string_view text, const std::string &file, bool both_ways);
    void drop(char32_t code) { alternatives_.erase(code); }

    // In order of preference; null for none.
    const std::vector<char32_t> *find(char32_t code) const {
        const auto place = alternatives_.find(code);
        return place == alternatives_.end() ? nullptr : &place->second;
    }
    const Fingerprint &fingerprint() const { return fingerprint_; }

  private:
    std::map<char32_t, std::vector<char32_t>> alternatives_;
    std::vector<std::pair<char32_t, char32_t>> reverse_;
    Fingerprint fingerprint_;
};

} // namespace qbgl::compiler
