// The recipes for codesets and conversions: which codesets there are, what they are made from, and which pairs are wanted.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qbgl::compiler {

struct CodesetSource {
    enum class Kind { CHARMAP, CHARMAP_ICONV, ICONV, ICONV_SINGLE, ICONV_DOUBLE, UNICODE, NONE };

    Kind kind = Kind::NONE;
    std::string argument;      // charmap, name for iconv, form of Unicode
    uint32_t below = 0x110000; // codes from here on are left out of a charmap
    std::string text() const;  // as the recipe writes it
};

class Catalogue {
  public:
    struct Name {
        std::string name;
        uint16_t number;
        size_t codeset; // index in codesets()
    };
    struct Codeset {
        std::string name; // the first of its names
        uint16_t number;
        std::string iconv; // what the platform's iconv calls it; empty when it does not know it
        CodesetSource source;
        std::string reason; // why there is no source
        bool available() const { return source.kind != CodesetSource::Kind::NONE; }
    };
    using Pair = std::pair<size_t, size_t>; // source and target, indexes in codesets()

    // Reads DIRECTORY/codesets, and checks it. Throws DataError with file and line.
    static Catalogue load(const std::filesystem::path &directory);
    static Catalogue parse(std::string_view text, const std::string &file);

    const std::vector<Name> &names() const { return names_; }
    const std::vector<Codeset> &codesets() const { return codesets_; }
    // The codeset of a name or number; nothing when there is none.
    std::optional<size_t> find(std::string_view name) const;

    // The pairs of a conversions recipe, without repetitions, in the order of their numbers.
    std::vector<Pair> parse_conversions(std::string_view text, const std::string &file) const;

    // The registry file: every name with its number, in the recipe's order.
    std::string registry() const;

  private:
    std::vector<Name> names_;
    std::vector<Codeset> codesets_;
};

} // namespace qbgl::compiler
