#include "system/lock.h"

#include "system/error.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace qbgl::compiler {

DirectoryLock::DirectoryLock(const std::filesystem::path &directory, Kind kind, const std::function<void()> &waits)
    : descriptor_(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    const auto fail = [&] {
        const std::string reason = std::strerror(errno);
        if (descriptor_ >= 0) close(descriptor_);
        throw SystemError(fmt::format("{}: cannot be locked: {}", directory.string(), reason));
    };
    if (descriptor_ < 0) fail();
    const int operation = kind == Kind::WRITER ? LOCK_EX : LOCK_SH;
    if (flock(descriptor_, operation | LOCK_NB) == 0) return;
    if (errno == EWOULDBLOCK) waits();
    while (flock(descriptor_, operation) != 0)
        if (errno != EINTR) fail();
}

DirectoryLock::~DirectoryLock() { close(descriptor_); }

} // namespace qbgl::compiler
