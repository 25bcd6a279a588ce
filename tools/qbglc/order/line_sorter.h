// Sorts more lines than fit into memory.
#pragma once

#include "common/runs.h"
#include "order/lines.h"

#include <functional>
#include <memory>
#include <vector>

namespace qbgl::compiler {

class LineSorter {
  public:
    using Compare = std::function<int(const std::string &, const std::string &)>;

    LineSorter(Compare compare, const LineLimits &limits) : compare_(std::move(compare)), limits_(limits) {}

    // Both throw TemporaryFileError.
    void add(Line line);
    // Ends adding. Calls with every line in order; lines that compare equal stay as they were added.
    void for_each(const std::function<void(const Line &)> &visit);

  private:
    void sort_memory();
    void flush();
    void merge_runs(const std::function<void(const Line &)> &visit);

    Compare compare_;
    LineLimits limits_;
    std::vector<Line> lines_;
    size_t memory_ = 0;
    std::unique_ptr<Runs> runs_; // sorted lines that are no longer in memory
};

} // namespace qbgl::compiler
