// What tells one version of a source from another.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qbgl::compiler {

// A 64-bit FNV-1a hash.
class Fingerprint {
  public:
    Fingerprint &add(std::string_view text) {
        for (const char c : text) mix(static_cast<uint8_t>(c));
        mix(0xFF); // a boundary, so that "ab" "c" and "a" "bc" differ
        return *this;
    }
    Fingerprint &add(const Fingerprint &other) { return add(other.hex()); }
    std::string hex() const;

  private:
    void mix(uint8_t byte) { value_ = (value_ ^ byte) * 0x100000001B3; }

    uint64_t value_ = 0xCBF29CE484222325;
};

} // namespace qbgl::compiler
