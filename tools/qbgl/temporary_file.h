// A file without a name: whatever ends the program, a signal included, nothing of it stays.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qbgl {

class TemporaryFile {
  public:
    explicit TemporaryFile(const std::string &directory); // throws Failure
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;
    ~TemporaryFile();

    void append(std::string_view bytes);                           // throws Failure
    size_t read(uint64_t offset, char *buffer, size_t size) const; // throws Failure
    uint64_t size() const { return size_; }

    // TMPDIR, or else /tmp.
    static std::string default_directory();

  private:
    std::string directory_;
    int descriptor_ = -1;
    uint64_t size_ = 0;
};

} // namespace qbgl
