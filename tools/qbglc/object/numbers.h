// The compact form of numbers in an object (src/util/tokens.h reads it).
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace qbgl::compiler {

// In digits of five bits from '0' on, the high ones first; all but the last have 32 added.
void put_number(std::string &text, uint32_t value);

// A difference as a number: 2 * d, or -2 * d - 1 where d is negative.
constexpr uint32_t coded(int32_t difference) {
    return difference < 0 ? ~(static_cast<uint32_t>(difference) << 1) : static_cast<uint32_t>(difference) << 1;
}
static_assert(coded(0) == 0 && coded(-1) == 1 && coded(1) == 2 && coded(-2) == 3 && coded(INT32_MIN) == UINT32_MAX);

// value - from, which wraps.
void put_difference(std::string &text, uint32_t value, uint32_t from);

// Writes lists of 16-bit values, each value by its difference from the one before it, over the ends of lists. A run of equal
// differences is one and their count.
class RunWriter {
  public:
    void put(std::string &text, std::span<const uint16_t> values);

  private:
    uint16_t last_ = 0;
};

} // namespace qbgl::compiler
