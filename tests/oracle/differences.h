// A checked-in table of known differences between us and the platform; see differences.txt and locale_differences.txt for its form.
#pragma once

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace qbgl_test {

// Where the two differ for one character of a conversion, or of a locale (its name and its codeset), or for a field of a locale.
struct Difference {
    std::string source, target;
    std::string codes; // as the platform reads it, U+XXXXXX; empty when it does not
    std::string bytes; // the character in hexadecimal; or the field's name
    std::string kind;
    std::string ours, theirs; // what is written, in hexadecimal
    std::string_view peer = "iconv";

    std::string text() const;
};

class Differences {
  public:
    explicit Differences(const std::filesystem::path &file);

    // Counts a difference; false when no line of the table covers it. Safe in several threads.
    bool covers(const Difference &difference);
    // The lines that did not meet as many differences as they say, or other ones.
    std::vector<std::string> mismatched() const;

  private:
    struct Rule {
        std::string text, source, target, first, last, kind;
        size_t count = 0, met = 0;
        uint32_t digest = 0, met_digest = 0; // of the differences, in any order
    };
    std::vector<Rule> rules_;
    std::mutex mutex_;
};

} // namespace qbgl_test
