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

// What becomes of text that nobody has looked at yet.
struct LineCheck {
    std::function<bool(std::string_view)> are_sound = {}; // whole lines with their ends; of others each is looked at
    std::function<void(const Line &)> look = {};
};

// The lines of a sorted text, one at a time.
class SortedText {
  public:
    explicit SortedText(LineReader reader, LineCheck check = {}) : reader_(std::move(reader)), check_(std::move(check)) {}

    bool next() {
        if (!reader_.next(line_)) return false;
        if (check_.look && (line_.offset >= known_until_ || !sound_)) check();
        return true;
    }
    const Line &line() const { return line_; }

  private:
    void check();

    LineReader reader_;
    LineCheck check_;
    Line line_{};
    uint64_t known_until_ = 0; // the offset up to which all lines are sound, or some are not
    bool sound_ = false;
};

// Of equal lines, those of the earlier text come first.
void merge(std::vector<SortedText> &texts, const SortOrder &order, LineWriter &writer);

} // namespace qbgl
