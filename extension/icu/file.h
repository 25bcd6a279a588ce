// The files that a load reads whole: ICU's data and the map.
#pragma once

#include "icu/host.h"

namespace qbgl::icu {

// The bytes of a file with a NUL behind them, in the host's memory.
class File {
  public:
    File() = default;
    File(const File &) = delete;
    File &operator=(const File &) = delete;
    ~File() { host.free(bytes_); }

    // False with an error number; what is no regular file is one, too.
    bool read(const char *path, int &status);

    const char *bytes() const { return bytes_; }
    size_t size() const { return size_; }
    // Of all the bytes: another one wherever a file differs by a few of them.
    uint64_t sum() const;
    [[nodiscard]] char *release() { return std::exchange(bytes_, nullptr); }

  private:
    char *bytes_ = nullptr;
    size_t size_ = 0;
};

} // namespace qbgl::icu
