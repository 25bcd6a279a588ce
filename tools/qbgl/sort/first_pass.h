// Lines compared on the first pass alone. Most comparisons are decided there, by characters whose weight does not depend on what
// stands around them. The library looks at both texts to their ends, which may be no text; of lines that were checked that is
// known.
#pragma once

#include "qbgl.h"

#include <array>
#include <bitset>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace qbgl {

class FirstPass {
  public:
    explicit FirstPass(gl_locale &locale);

    // How texts without bad bytes stand, as strcmp tells it; 0 where it takes the library to say.
    int compare(std::string_view a, std::string_view b) const;

  private:
    // Weights of up to 14 bits, and what stands beside them: the text has ended, the character counts nothing on this pass, it has
    // no weight of its own, nobody has asked yet (for characters of two bytes, which are looked up when they are met). A weight
    // with the bit STARTS is the character's own unless an element begins with it.
    static constexpr uint16_t END = 0, IGNORED = 1, NONE = 0x4000, STARTS = 0x8000, UNKNOWN = 0xFFFF;

    uint16_t weight_of(std::string_view character) const;
    uint16_t next(const uint8_t *&at, const uint8_t *end) const;

    gl_locale &locale_;
    std::unordered_set<gl_wchar> starts_; // characters that begin elements
    std::bitset<256> followers_;          // the first bytes of those that stand second in one
    std::array<uint16_t, 256> bytes_;
    mutable std::vector<uint16_t> pairs_ = std::vector<uint16_t>(1 << 16, UNKNOWN);
};

} // namespace qbgl
