// A hash of 64 bits (FNV-1a) of contents that have to be told apart, but by nobody who wants them alike.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qbgl::icu {

class Hash {
  public:
    void add(const void *bytes, size_t size) {
        const auto *const at = static_cast<const uint8_t *>(bytes);
        for (size_t i = 0; i < size; ++i) value_ = (value_ ^ at[i]) * 0x100000001B3;
    }
    uint64_t value() const { return value_; }

  private:
    uint64_t value_ = 0xCBF29CE484222325;
};

} // namespace qbgl::icu
