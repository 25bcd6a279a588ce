// The order of lines: by the locale's rules, or as numbers, for each part; then, unless equal lines are to stay as they are, by all
// that a line has, and by its bytes.
#pragma once

#include "sort/fields.h"
#include "text/collation_key.h"

#include <functional>
#include <vector>

namespace qbgl {

struct SortRules {
    std::vector<SortPart> parts = {}; // at least one
    std::string separator = {};       // of fields, in the locale's codeset
    bool reverse = false;             // what follows the parts
    bool by_lines = false;            // behind the parts the whole line is compared as text
    bool by_bytes = true;             // and then its bytes
    // Whether a line is no text, and so stands behind all that are, by its bytes; without it all are.
    std::function<bool(std::string_view)> is_bad = {};
};

// A line with what it is sorted by.
struct KeyedLine {
    std::string_view key, text;
};

class SortOrder {
  public:
    SortOrder(gl_locale &locale, const SortRules &rules);

    // What the parts of a line give, such that keys compare as unsigned bytes, the shorter first; valid until the next call. A line
    // is compared with some twenty others and more while it is sorted, but transformed once. Throws Failure.
    std::string_view key(std::string_view line);

    // The order of lines whose keys are known.
    int compare(const KeyedLine &a, const KeyedLine &b) const {
        const int order = a.key.compare(b.key);
        return order != 0 ? order : compare_behind_parts(a.text, b.text);
    }
    // The same without keys: for lines that are compared once or twice. Throws Failure.
    int compare(std::string_view a, std::string_view b) const;

  private:
    int compare_behind_parts(std::string_view a, std::string_view b) const;
    int compare_parts(std::string_view a, std::string_view b, const SortPart &part) const;
    int collate(std::string_view a, std::string_view b) const;
    std::string_view text_key(std::string_view text) const;
    size_t characters_length(std::string_view text) const;
    std::string_view upper(std::string_view text) const;
    std::string part_key(std::string_view text, const SortPart &part) const;
    void append(std::string_view key, bool reverse);

    gl_locale &locale_;
    const SortRules &rules_;
    bool by_text_;                  // the line itself is the only part
    bool by_extension_;             // the extension library compares, of which only the keys are known
    std::string point_, separator_; // of numbers
    mutable CollationKeys keys_;
    FieldCutter cutter_;
    mutable std::string upper_;
    std::string key_;
};

} // namespace qbgl
