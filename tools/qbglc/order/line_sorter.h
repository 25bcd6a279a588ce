// Sorts more lines than fit into memory.
#pragma once

#include "order/lines.h"

#include <cstdio>
#include <functional>
#include <memory>
#include <vector>

namespace qbgl::compiler {

class LineSorter {
  public:
    using Compare = std::function<int(const std::string &, const std::string &)>;

    LineSorter(Compare compare, const LineLimits &limits) : compare_(std::move(compare)), limits_(limits) {}

    // Both throw SystemError when a temporary file (in TMPDIR, or /tmp) cannot be written or read.
    void add(Line line);
    // Ends adding. Calls with every line in order; lines that compare equal stay as they were added.
    void for_each(const std::function<void(const Line &)> &visit);

  private:
    struct Close {
        void operator()(FILE *file) const { std::fclose(file); }
    };
    using Run = std::unique_ptr<FILE, Close>;

    bool before(const Line &a, const Line &b) const;
    void sort_memory();
    void flush();
    void merge_runs(const std::function<void(const Line &)> &visit);

    Compare compare_;
    LineLimits limits_;
    std::vector<Line> lines_;
    size_t memory_ = 0;
    std::vector<Run> runs_; // sorted lines
};

} // namespace qbgl::compiler
