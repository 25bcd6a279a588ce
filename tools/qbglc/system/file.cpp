#include "system/file.h"

#include "system/error.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace qbgl::compiler {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void fail(const fs::path &path, int error) {
    throw SystemError(fmt::format("{}: {}", path.string(), std::strerror(error)));
}

class File {
  public:
    File(fs::path path, int flags) : path_(std::move(path)), descriptor_(::open(path_.c_str(), flags | O_CLOEXEC, 0666)) {}
    File(const File &) = delete;
    File &operator=(const File &) = delete;
    ~File() {
        if (descriptor_ >= 0) ::close(descriptor_);
    }

    bool is_open() const { return descriptor_ >= 0; }
    int get() const { return descriptor_; }

    // These return false, with errno, as the system does.
    bool write(std::string_view bytes) {
        while (!bytes.empty()) {
            const ssize_t count = ::write(descriptor_, bytes.data(), bytes.size());
            if (count < 0 && errno != EINTR) return false;
            if (count > 0) bytes.remove_prefix(static_cast<size_t>(count));
        }
        return true;
    }
    bool close() { return ::close(std::exchange(descriptor_, -1)) == 0; }

  private:
    fs::path path_;
    int descriptor_;
};

} // namespace

std::string read_file(const fs::path &path) {
    File file(path, O_RDONLY);
    struct stat status;
    if (!file.is_open() || fstat(file.get(), &status) != 0) fail(path, errno);
    constexpr size_t LEAST = 4096;
    std::string content;
    for (size_t filled = 0;;) {
        // One byte more than a regular file has: the end shows without another buffer.
        content.resize(filled == 0 ? static_cast<size_t>(std::max<off_t>(status.st_size, 0)) + 1 : 2 * filled + LEAST);
        for (;;) {
            const ssize_t count = ::read(file.get(), content.data() + filled, content.size() - filled);
            if (count < 0 && errno != EINTR) fail(path, errno);
            if (count > 0) filled += static_cast<size_t>(count);
            if (count == 0) {
                content.resize(filled);
                return content;
            }
            if (filled == content.size()) break;
        }
    }
}

void replace_file(const fs::path &path, std::string_view content) {
    fs::path temporary = path;
    temporary += fmt::format(".{}{}", getpid(), TEMPORARY_SUFFIX);
    // What a stopped process of the same number left is ours to remove; what others put there meanwhile is not taken.
    ::unlink(temporary.c_str());
    File file(temporary, O_WRONLY | O_CREAT | O_EXCL);
    if (!file.is_open()) fail(path, errno);
    // Who may read the old file may read the new one, and nobody else, at no time.
    struct stat old;
    const bool has_mode = ::stat(path.c_str(), &old) != 0 || fchmod(file.get(), old.st_mode & 0777) == 0;
    if (!has_mode || !file.write(content) || fsync(file.get()) != 0 || !file.close() ||
        std::rename(temporary.c_str(), path.c_str()) != 0) {
        const int error = errno;
        ::unlink(temporary.c_str());
        fail(path, error);
    }
}

void write_named_file(const fs::path &path, std::string_view content) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (fs::is_regular_file(status) || !fs::exists(status)) {
        // A link may lead nowhere yet.
        fs::path place = path;
        for (int links = 0; fs::is_symlink(fs::symlink_status(place, error)); ++links) {
            if (links == 40) fail(path, ELOOP);
            place = place.parent_path() / fs::read_symlink(place);
        }
        return replace_file(place, content);
    }
    File file(path, O_WRONLY);
    if (!file.is_open() || !file.write(content) || !file.close()) fail(path, errno);
}

} // namespace qbgl::compiler
