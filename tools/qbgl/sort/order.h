// The order of lines: by the locale's rules for each part, then, unless equal lines are to stay as they are, by bytes.
#pragma once

#include "sort/fields.h"
#include "text/collation_key.h"

#include <vector>

namespace qbgl {

struct SortRules {
    std::vector<SortPart> parts = {}; // at least one
    std::string separator = {};       // of fields, in the locale's codeset
    bool reverse = false;             // the comparison by bytes
    bool by_bytes = true;
};

// A line with what it is sorted by.
struct KeyedLine {
    std::string_view key, text;
};

class SortOrder {
  public:
    SortOrder(gl_locale &locale, const SortRules &rules) : rules_(rules), keys_(locale), cutter_(locale, rules.separator) {}

    // A line's key, such that keys compare as unsigned bytes; valid until the next call. A line is compared with some twenty others
    // and more while it is sorted, but transformed once. Throws Failure.
    std::string_view key(std::string_view line);

    int compare(const KeyedLine &a, const KeyedLine &b) const {
        const int order = a.key.compare(b.key);
        if (order != 0 || !rules_.by_bytes) return order;
        return rules_.reverse ? b.text.compare(a.text) : a.text.compare(b.text);
    }

  private:
    void append(std::string_view key, bool reverse);

    const SortRules &rules_;
    CollationKeys keys_;
    FieldCutter cutter_;
    std::string key_;
};

} // namespace qbgl
