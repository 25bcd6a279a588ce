// A line on the terminal that tells how far a long conversion is.
#pragma once

#include "frame/messages.h"

#include <chrono>

namespace qbgl {

class Progress {
  public:
    // `total` is the size of the input, 0 when it is not known. Silent unless standard error is a terminal and what is written
    // meanwhile does not go to one.
    Progress(uint64_t total, const Messages &messages, bool writes_to_terminal);
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;
    ~Progress() { clear(); }

    void add(uint64_t bytes);
    // Takes the line away, to make room for a message.
    void clear();

  private:
    using Clock = std::chrono::steady_clock;
    uint64_t total_, done_ = 0;
    bool wanted_, shown_ = false;
    Clock::time_point last_ = Clock::now();
};

} // namespace qbgl
