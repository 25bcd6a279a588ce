// Where the separators of a grouped number stand.
#pragma once

#include "qbgl.h"

namespace qbgl {

// The sizes of a number's groups, from the one of its last digits on. The last size of the list is that of all further groups; a
// size below 1, and an empty list, leave the rest of the digits together.
class GroupSizes {
  public:
    explicit GroupSizes(const gl_grouping &grouping)
        : at_(grouping.sizes), last_(at_ + grouping.count - 1), size_(grouping.count > 0 ? size_at(at_) : UNLIMITED) {}

    int current() const { return size_; }
    void advance() {
        if (at_ < last_) ++at_;
        size_ = size_at(at_);
    }

  private:
    static constexpr int UNLIMITED = INT32_MAX;
    static int size_at(const int32_t *size) { return *size < 1 ? UNLIMITED : *size; }

    const int32_t *at_, *last_;
    int size_;
};

inline int count_separators(const gl_grouping &grouping, int digits) {
    int count = 0;
    for (GroupSizes sizes(grouping); digits > sizes.current(); sizes.advance()) {
        digits -= sizes.current();
        ++count;
    }
    return count;
}

} // namespace qbgl
