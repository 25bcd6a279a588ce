// The codesets of a run, each read once, when it is first asked for, and shared by the threads.
#pragma once

#include "charmap/codeset.h"
#include "conversion/substitutions.h"
#include "locale/widths.h"
#include "recipe/catalogue.h"
#include "system/file.h"

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
    // Of every character of codeset(index)->read() whether it fills two columns. The platform's charmap of the codeset says so,
    // also where the characters are taken from elsewhere; that of UTF-8 where there is none, or none with a WIDTH section.
    const std::vector<bool> &full_width(size_t index);
    std::vector<bool> full_width(const Codeset &codeset, const WidthSection &own);
    // The platform's charmap, or one beside the recipes, that lists a codeset's characters; nothing when there is none.
    std::optional<std::filesystem::path> charmap(size_t index) const;
    // The rule by which a codeset writes what its charmap does not list: a name that charmap objects know, or nothing.
    std::string unlisted_rule(size_t index) const;
    // The header lines of the object of a pair: they change whenever a source, a recipe or the compiler does.
    std::vector<std::string> header_lines(Catalogue::Pair pair);
    // Name, number and source of a codeset; fingerprints of what its characters and what their widths are taken from.
    std::string description(size_t index) const;
    const std::string &mark(size_t index);
    std::string width_mark(size_t index);

    std::vector<std::string> take_warnings();

  private:
    struct Item {
        std::once_flag loaded, marked, measured;
        CodesetPtr codeset;
        std::string mark; // fingerprint of the source
        WidthSection widths;
        std::vector<bool> full_width;
    };
    CodesetPtr load(Item &item, const Catalogue::Codeset &codeset);
    CodesetPtr load_charmap_codeset(Item &item, const Catalogue::Codeset &codeset);
    // The platform's charmap of UTF-8: all that it knows of Unicode.
    struct Unicode {
        WidthSection widths;
        std::shared_ptr<const KnownUnicode> known;
    };
    const Unicode &unicode();
    // A charmap beside the recipes, or the platform's.
    std::filesystem::path charmap_path(const std::string &name) const;

    std::filesystem::path directory_;
    Catalogue catalogue_;
    Substitutions substitutions_;
    std::deque<Item> items_;
    std::once_flag iconv_asked_, unicode_loaded_, widths_marked_;
    std::string iconv_version_;
    Unicode unicode_;
    std::string utf8_width_mark_;
    std::mutex warnings_mutex_;
    std::vector<std::string> warnings_;
};

// A codeset from a charmap file of the user's own.
CodesetPtr load_own_codeset(const std::filesystem::path &path, std::string &warning);

} // namespace qbgl::compiler
