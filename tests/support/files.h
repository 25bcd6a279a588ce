// Files and environment for the length of a test.
#pragma once

#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace qbgl_test {

// An empty directory, removed with all that is in it.
class TempDir {
  public:
    TempDir();
    TempDir &operator=(TempDir &&) = delete;
    ~TempDir();

    const std::filesystem::path &path() const { return path_; }
    std::string operator/(std::string_view name) const { return (path_ / name).string(); }

  private:
    std::filesystem::path path_;
};

// Missing directories are made. Both throw when the file cannot be written or read.
void write_file(const std::filesystem::path &path, std::string_view content);
std::string read_file(const std::filesystem::path &path);

using File = std::unique_ptr<FILE, int (*)(FILE *)>;

// A stream that delivers a text. release() it where the library closes it.
File stream_of(std::string_view content);
// What is left to read of a stream.
std::string rest_of(FILE *stream);

// A variable of the process's environment, set (or unset, for null) until the end of the scope.
class ScopedEnv {
  public:
    ScopedEnv(const char *name, const char *value);
    ScopedEnv(const char *name, const std::string &value) : ScopedEnv(name, value.c_str()) {}
    ScopedEnv &operator=(ScopedEnv &&) = delete;
    ~ScopedEnv();

  private:
    const char *name_;
    std::optional<std::string> before_;
};

// The process's current directory until the end of the scope.
class ScopedDirectory {
  public:
    explicit ScopedDirectory(const std::filesystem::path &directory) { std::filesystem::current_path(directory); }
    ScopedDirectory &operator=(ScopedDirectory &&) = delete;
    ~ScopedDirectory() { std::filesystem::current_path(before_); }

  private:
    const std::filesystem::path before_ = std::filesystem::current_path();
};

} // namespace qbgl_test
