// Room for a path or a message.
#pragma once

#include "qbgl.h"

namespace qbgl {

// A local buffer, or a block of a function set's when more room is needed. text() is null when there is no memory for that.
class Scratch {
  public:
    Scratch(const gl_file_functions &set, uint64_t size) : set_(set) {
        if (size <= sizeof local_)
            text_ = local_;
        else if (size <= UINT32_MAX)
            text_ = static_cast<char *>(set.alloc(static_cast<uint32_t>(size)));
    }
    Scratch(const Scratch &) = delete;
    Scratch &operator=(const Scratch &) = delete;
    ~Scratch() {
        if (text_ != nullptr && text_ != local_) set_.free(text_);
    }

    char *text() const { return text_; }

  private:
    const gl_file_functions &set_;
    char *text_ = nullptr;
    char local_[1024];
};

} // namespace qbgl
