// Whole files: read, fingerprinted, replaced.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace qbgl::compiler {

// Throws SystemError.
std::string read_file(const std::filesystem::path &path);

// Puts a new file in the old one's place in one step: a reader sees the one or the other, and an interrupted run leaves the old
// one. The temporary file stands beside it and ends in TEMPORARY_SUFFIX. Throws SystemError.
void replace_file(const std::filesystem::path &path, std::string_view content);
inline constexpr std::string_view TEMPORARY_SUFFIX = ".new";

// A 64-bit FNV-1a hash, to tell one version of a source from another.
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
