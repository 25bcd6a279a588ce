// Where one is in a source text.
#pragma once

#include "conversion.h"

#include <cstdint>

namespace qbgl {

// Lines end at the source codeset's line feed (EBCDIC: also at its new line). Columns count characters, those of no width included;
// shift bytes are none.
struct Place {
    uint64_t line = 1, column = 1;
    uint64_t offset = 0; // bytes before it
};

class Position {
  public:
    explicit Position(const Conversion &conversion) : conversion_(&conversion) {}

    const Place &place() const { return place_; }
    // Passes over converted text; `state` is the source's at its beginning.
    void advance(gl_cv_state state, std::string_view text);
    // Passes over the bytes of one character, or of what stands for one.
    void advance_one(size_t length);

  private:
    bool is_newline(std::string_view character) const;
    // Behind the last newline of the text, 0 when there is none; the line count goes up.
    size_t pass_newlines(std::string_view text);

    const Conversion *conversion_;
    Place place_;
};

} // namespace qbgl
