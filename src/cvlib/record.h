// What the conversion tables hold for each character of the source codeset.
//
//   byte 0      control: bits 0-2  number of output bytes
//                        bit 3     the string terminator
//                        bit 4     mapped; every mapping has at least one of the bits 3 to 7
//                        bit 5     substituted, an approximate mapping
//                        bit 6     the target's shift state in which the output bytes stand
//                        bit 7     the input toggles the source's shift state
//   byte 1 ...  output bytes
#pragma once

#include <stdint.h>

namespace qbgl {

inline constexpr uint8_t RECORD_TERMINATOR = 0x08;
inline constexpr uint8_t RECORD_MAPPED = 0x10;
inline constexpr uint8_t RECORD_SUBSTITUTED = 0x20;
inline constexpr uint8_t RECORD_TARGET_SHIFTED = 0x40;
inline constexpr uint8_t RECORD_TOGGLES_SOURCE = 0x80;

// A record inside a table; a view.
class Record {
  public:
    explicit Record(const uint8_t *bytes) : bytes_(bytes) {}

    int length() const { return bytes_[0] & 7; }
    const uint8_t *output() const { return bytes_ + 1; }
    bool unmapped() const { return bytes_[0] < RECORD_TERMINATOR; }
    bool terminator() const { return (bytes_[0] & RECORD_TERMINATOR) != 0; }
    bool substituted() const { return (bytes_[0] & RECORD_SUBSTITUTED) != 0; }
    int target_shift() const { return (bytes_[0] & RECORD_TARGET_SHIFTED) != 0 ? 1 : 0; }
    bool toggles_source() const { return (bytes_[0] & RECORD_TOGGLES_SOURCE) != 0; }
    // A mapping that needs no thought: write the bytes and go on.
    bool plain() const { return (bytes_[0] & ~7) == RECORD_MAPPED; }

  private:
    const uint8_t *bytes_;
};

} // namespace qbgl
