// Where one is in a source text.
#pragma once

#include "frame/finding.h"
#include "text/conversion.h"

namespace qbgl {

// Lines end at the source codeset's line feed (EBCDIC: also at its new line). Of columns, shift bytes are none.
class Position {
  public:
    explicit Position(const Conversion &conversion) : conversion_(&conversion) {}

    const Place &place() const { return place_; }
    // Passes over converted text; `state` is the source's at its beginning.
    void advance(gl_cv_state state, std::string_view text);
    // Passes over bytes that stand for nothing.
    void skip(size_t length) { place_.offset += length; }
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
