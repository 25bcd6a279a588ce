#include "common/temporary_file.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

namespace qbgl {

TemporaryFileError::TemporaryFileError(std::string_view doing, const std::string &where, int error)
    : std::runtime_error(fmt::format("cannot {} {}: {}", doing, where, std::strerror(error))), directory(where),
      reason(std::strerror(error)) {}

TemporaryFile::TemporaryFile(const std::string &directory) : directory_(directory) {
    std::string name = directory + "/qbglXXXXXX";
    // The name is gone before a signal can end the program.
    sigset_t all, before;
    sigfillset(&all);
    sigprocmask(SIG_BLOCK, &all, &before);
    descriptor_ = mkostemp(name.data(), O_CLOEXEC);
    const int error = errno;
    if (descriptor_ >= 0) unlink(name.c_str());
    sigprocmask(SIG_SETMASK, &before, nullptr);
    errno = error;
    if (descriptor_ < 0) throw TemporaryFileError("make a temporary file in", directory, error);
}

TemporaryFile::~TemporaryFile() { ::close(descriptor_); }

void TemporaryFile::append(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(descriptor_, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR) throw TemporaryFileError("write a temporary file in", directory_, errno);
        if (count <= 0) continue;
        bytes.remove_prefix(static_cast<size_t>(count));
        size_ += static_cast<uint64_t>(count);
    }
}

size_t TemporaryFile::read(uint64_t offset, char *buffer, size_t size) const {
    for (;;) {
        const ssize_t count = ::pread(descriptor_, buffer, size, static_cast<off_t>(offset));
        if (count >= 0) return static_cast<size_t>(count);
        if (errno != EINTR) throw TemporaryFileError("read a temporary file in", directory_, errno);
    }
}

std::string TemporaryFile::default_directory() {
    const char *directory = std::getenv("TMPDIR");
    return directory != nullptr && *directory != '\0' ? directory : "/tmp";
}

} // namespace qbgl
