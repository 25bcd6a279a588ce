// Bytes that are written once and read again: the first ones stay in memory, the others go into a temporary file.
#pragma once

#include "common/temporary_file.h"

#include <memory>
#include <optional>
#include <vector>

namespace qbgl {

// Whatever writes or reads throws TemporaryFileError.
class Spool {
  public:
    Spool(std::string directory, size_t memory) : directory_(std::move(directory)), memory_(memory / BLOCK * BLOCK) {}

    void append(std::string_view bytes);
    // At most `size` bytes from an offset on; 0 at the end.
    size_t read(uint64_t offset, char *buffer, size_t size) const;
    uint64_t size() const { return in_memory_ + (file_ ? file_->size() : 0); }

  private:
    static constexpr size_t BLOCK = 1 << 20;

    std::string directory_;
    size_t memory_, in_memory_ = 0;
    std::vector<std::unique_ptr<char[]>> blocks_;
    std::optional<TemporaryFile> file_; // made when it is needed
};

} // namespace qbgl
