// Parts of lines to sort by, as POSIX sort selects them: -k FIELD[.CHARACTER][OPTIONS][,FIELD[.CHARACTER][OPTIONS]]. The options
// are letters of bfhnrV.
#pragma once

#include "qbgl.h"

#include <optional>
#include <string>
#include <string_view>

namespace qbgl {

// Where a part begins or ends. Both count from 0.
struct FieldPlace {
    size_t field = 0, character = 0;
    bool skip_blanks = false; // characters are counted behind the field's leading blanks
};

enum class PartOrder { TEXT, NUMBERS, SIZES, VERSIONS };

struct SortPart {
    FieldPlace begin = {};
    // Where the part ends: before this character, or when that is 0, at the end of the field before; without one, with the line.
    std::optional<FieldPlace> end = {};
    bool reverse = false;
    bool fold = false; // text in any case is alike
    PartOrder order = PartOrder::TEXT;
};

// Parts without options of their own take those of `common`. Throws Failure.
SortPart sort_part(const std::string &text, const SortPart &common);

class FieldCutter {
  public:
    // A separator is one character of the codeset; an empty one lets a field begin with the blanks before it.
    FieldCutter(const gl_locale &locale, std::string separator) : locale_(locale), separator_(std::move(separator)) {}

    // The part of a line that consists of characters.
    std::string_view cut(std::string_view line, const SortPart &part) const;

  private:
    size_t length_at(std::string_view line, size_t at, bool &blank) const;
    size_t pass(std::string_view line, size_t at, bool blanks) const;
    size_t field_begin(std::string_view line, size_t fields, bool at_separator) const;
    size_t pass_characters(std::string_view line, size_t at, size_t count) const;

    const gl_locale &locale_;
    std::string separator_;
};

} // namespace qbgl
