// What does not fit into memory: sorted pieces of a text, to be merged later.
#pragma once

#include "common/spool.h"

#include <algorithm>
#include <vector>

namespace qbgl {

// Runs stand behind one another, so many bytes of them in memory and what exceeds it in a temporary file. Whatever writes or reads
// throws TemporaryFileError.
class Runs {
  public:
    explicit Runs(const std::string &directory = TemporaryFile::default_directory(), size_t memory = 0)
        : bytes_(directory, memory) {}

    // A function that appends.
    auto target() {
        return [this](std::string_view bytes) { bytes_.append(bytes); };
    }
    // What was appended since the last call is a run.
    void close_run() { ends_.push_back(bytes_.size()); }
    size_t count() const { return ends_.size(); }
    uint64_t size() const { return bytes_.size(); }

    // A function that reads on in a run: at most `size` bytes, 0 at its end. The runs must outlive it.
    auto source(size_t run) const {
        return [this, at = run == 0 ? 0 : ends_[run - 1], end = ends_[run]](char *buffer, size_t size) mutable {
            const size_t count = bytes_.read(at, buffer, static_cast<size_t>(std::min<uint64_t>(size, end - at)));
            at += count;
            return count;
        };
    }

  private:
    Spool bytes_;
    std::vector<uint64_t> ends_;
};

} // namespace qbgl
