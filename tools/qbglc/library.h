// The codesets of a run, each read once, when it is first asked for, and shared by the threads.
#pragma once

#include "catalogue.h"
#include "codeset.h"
#include "file.h"
#include "substitutions.h"

#include <deque>
#include <mutex>
#include <optional>
#include <string>

namespace qbgl::compiler {

class Library {
  public:
    // The recipes of a data directory: codesets, conversions, substitutions.
    explicit Library(const std::filesystem::path &directory);

    const Catalogue &catalogue() const { return catalogue_; }
    const Substitutions &substitutions() const { return substitutions_; }
    const std::filesystem::path &directory() const { return directory_; }

    // A codeset of the catalogue. Throws DataError when it has no source. Safe in several threads.
    CodesetPtr codeset(size_t index);
    // The header lines of the object of a pair: they change whenever a source, a recipe or the compiler does.
    std::vector<std::string> header_lines(Catalogue::Pair pair);

    std::vector<std::string> take_warnings();

  private:
    struct Item {
        std::once_flag loaded, marked;
        CodesetPtr codeset;
        std::string mark; // fingerprint of the source
    };
    const std::string &mark(size_t index);
    CodesetPtr load(const Catalogue::Codeset &codeset);
    // A charmap beside the recipes, or the platform's.
    std::filesystem::path charmap_path(const std::string &name) const;

    std::filesystem::path directory_;
    Catalogue catalogue_;
    Substitutions substitutions_;
    std::deque<Item> items_;
    std::once_flag iconv_asked_;
    std::string iconv_version_;
    std::mutex warnings_mutex_;
    std::vector<std::string> warnings_;
};

// A codeset from a charmap file of the user's own.
CodesetPtr load_own_codeset(const std::filesystem::path &path, std::string &warning);

} // namespace qbgl::compiler
