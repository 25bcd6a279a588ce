#include "common/spool.h"

#include <algorithm>
#include <cstring>

namespace qbgl {

void Spool::append(std::string_view bytes) {
    while (!bytes.empty() && in_memory_ < memory_) {
        const size_t at = in_memory_ % BLOCK, count = std::min(bytes.size(), BLOCK - at);
        if (at == 0) blocks_.emplace_back(new char[BLOCK]);
        std::memcpy(blocks_.back().get() + at, bytes.data(), count);
        in_memory_ += count;
        bytes.remove_prefix(count);
    }
    if (bytes.empty()) return;
    if (!file_) file_.emplace(directory_);
    file_->append(bytes);
}

size_t Spool::read(uint64_t offset, char *buffer, size_t size) const {
    if (offset >= in_memory_) return file_ ? file_->read(offset - in_memory_, buffer, size) : 0;
    const auto from = static_cast<size_t>(offset), at = from % BLOCK;
    const size_t count = std::min({size, BLOCK - at, in_memory_ - from});
    std::memcpy(buffer, blocks_[from / BLOCK].get() + at, count);
    return count;
}

} // namespace qbgl
