#include "icu/file.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <qbgl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qbgl::icu {

bool File::read(const char *path, int &status) {
    status = GL_ENOFILE;
    const int file = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK); // a FIFO would wait for somebody who writes
    if (file < 0) return false;
    struct stat about = {};
    bool whole = fstat(file, &about) == 0 && S_ISREG(about.st_mode);
    if (whole) {
        status = GL_ENOMEM;
        bytes_ = about.st_size < UINT32_MAX ? static_cast<char *>(allocate(static_cast<size_t>(about.st_size) + 1)) : nullptr;
        whole = bytes_ != nullptr;
    }
    if (whole) {
        status = GL_EBADFILE;
        const size_t size = static_cast<size_t>(about.st_size);
        while (size_ < size) {
            const ssize_t part = ::read(file, bytes_ + size_, size - size_);
            if (part > 0)
                size_ += static_cast<size_t>(part);
            else if (part == 0 || errno != EINTR)
                break;
        }
        whole = size_ == size;
        bytes_[size_] = '\0';
    }
    close(file);
    return whole;
}

// FNV-1a by words of eight bytes, for a file of 31 MB is summed at each start: the high half of each product is folded into the low
// one, where FNV-1a has the next byte do that.
uint64_t File::sum() const {
    uint64_t value = 0xCBF29CE484222325 ^ size_, word = 0;
    for (size_t at = 0; at < size_; at += sizeof word) {
        word = 0;
        memcpy(&word, bytes_ + at, size_ - at < sizeof word ? size_ - at : sizeof word);
        value = (value ^ word) * 0x100000001B3;
        value ^= value >> 32;
    }
    return value;
}

} // namespace qbgl::icu
