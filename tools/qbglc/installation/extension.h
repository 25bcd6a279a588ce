// The extension library over ICU in an installation: the library itself, and the files that it reads.
#pragma once

#include "recipe/catalogue.h"

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace qbgl::compiler {

inline constexpr const char *EXTENSION_FILE = "qbgl_icu.so";
inline constexpr const char *EXTENSION_MODIFIER = "icu"; // of the locales that it serves in any codeset

// What it tells of its ICU. Throws SystemError for a library that cannot be loaded into this program.
class IcuExtension {
  public:
    explicit IcuExtension(const std::filesystem::path &file);

    // What its file icudata is to hold. Throws DataError for a data file beside it that the library would not load, or where
    // icudata is somebody's own.
    std::string data(const std::filesystem::path &icudata) const;
    // Whether it can serve locales in a codeset.
    bool has(const Catalogue::Codeset &codeset) const;
    // How many of the locales, by their names, are served under a map. Throws DataError for a map that the library would not load.
    size_t served(const std::filesystem::path &map, const std::vector<std::string> &names) const;
    // ICU's names of its locales.
    const std::vector<std::string> &locales() const { return locales_; }

  private:
    // Throws DataError with what the library says during a call that fails.
    template <class Call> void have_done(const std::filesystem::path &file, Call call) const;

    void *library_;
    std::vector<std::string> locales_;
};

// The map: the codesets of the catalogue that ICU may have, every locale in UTF-8 and those with the modifier in any codeset, and
// all conversions.
std::string extension_map(const Catalogue &catalogue);
// A map without this first line is somebody's own, and stays.
inline constexpr std::string_view MAP_HEADING = "# Written by qbglc tree --icu, which keeps a map without this line.\n";

// The registry of extensions with this one. One that has it stays as it is. Throws DataError, which begins with the registry's
// name, where it has others only: the library takes the last, so a further line would put that one out of use.
std::string extension_registry(const std::string &older, const std::string &name);
bool has_extension(const std::string &registry);
// Whether this is the extension that the library takes.
bool is_taken(const std::string &registry);

// ICU's name for a codeset, empty where there is none.
std::string icu_name(const Catalogue::Codeset &codeset);

// Whether a file among the locales is there because of the extension.
bool is_served_locale(const std::filesystem::path &path);

} // namespace qbgl::compiler
