// A file without a name: whatever ends the program, a signal included, nothing of it stays.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace qbgl {

// The system refused a temporary file; what() is "cannot ... DIRECTORY: REASON".
struct TemporaryFileError : std::runtime_error {
    TemporaryFileError(std::string_view doing, const std::string &where, int error); // `doing` completes "cannot ..."
    std::string directory, reason;
};

// Whatever fails throws TemporaryFileError.
class TemporaryFile {
  public:
    explicit TemporaryFile(const std::string &directory);
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;
    ~TemporaryFile();

    void append(std::string_view bytes);
    size_t read(uint64_t offset, char *buffer, size_t size) const;
    uint64_t size() const { return size_; }

    // TMPDIR, or else /tmp.
    static std::string default_directory();

  private:
    std::string directory_;
    int descriptor_ = -1;
    uint64_t size_ = 0;
};

} // namespace qbgl
