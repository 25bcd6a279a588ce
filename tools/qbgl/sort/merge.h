// Sorted texts become one.
#pragma once

#include "sort/order.h"
#include "text/lines.h"

#include <functional>
#include <vector>

namespace qbgl {

// Takes sorted lines, and leaves out those that are equal to the one before when only the first of equal ones counts.
class LineWriter {
  public:
    using Target = std::function<void(std::string_view)>;

    LineWriter(Target target, std::string end, const SortOrder &order, bool unique)
        : target_(std::move(target)), end_(std::move(end)), order_(order), unique_(unique) {}

    void put(std::string_view line);
    // To be called behind the last line.
    void flush();

  private:
    Target target_;
    std::string end_, buffer_, last_;
    const SortOrder &order_;
    bool unique_, any_ = false;
};

// The lines of a sorted text, one at a time.
class SortedText {
  public:
    using Check = std::function<void(const Line &)>; // of text that nobody has looked at yet

    explicit SortedText(LineReader reader, Check check = {}) : reader_(std::move(reader)), check_(std::move(check)) {}

    bool next();
    const Line &line() const { return line_; }

  private:
    LineReader reader_;
    Check check_;
    Line line_{};
};

// Of equal lines, those of the earlier text come first.
void merge(std::vector<SortedText> &texts, const SortOrder &order, LineWriter &writer);

} // namespace qbgl
