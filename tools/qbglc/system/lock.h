// One run at a time.
#pragma once

#include <filesystem>
#include <functional>

namespace qbgl::compiler {

// Keeps other runs out of a directory as long as it lives, by flock on the directory itself, so that no file is left. Readers share
// it. Goes with the process, however that ends.
class DirectoryLock {
  public:
    enum class Kind { READER, WRITER };

    // Calls `waits` before it waits for another run. Throws SystemError.
    DirectoryLock(const std::filesystem::path &directory, Kind kind, const std::function<void()> &waits);
    DirectoryLock(const DirectoryLock &) = delete;
    DirectoryLock &operator=(const DirectoryLock &) = delete;
    ~DirectoryLock();

  private:
    int descriptor_;
};

} // namespace qbgl::compiler
