#include "order/line_sorter.h"

#include "common/merge.h"

#include <algorithm>
#include <cstring>

namespace qbgl::compiler {

namespace {

constexpr size_t LINE_OVERHEAD = 2 * sizeof(Line); // the record, and the allocator's share
constexpr size_t BLOCK = 64 << 10;

struct Head {
    uint64_t number, size;
};

class RunWriter {
  public:
    explicit RunWriter(Runs &runs) : runs_(runs), append_(runs.target()) {}

    void put(const Line &line) {
        const Head head{line.number, line.text.size()};
        buffer_.append(reinterpret_cast<const char *>(&head), sizeof head).append(line.text);
        if (buffer_.size() >= BLOCK) flush();
    }
    void close() {
        flush();
        runs_.close_run();
    }

  private:
    void flush() {
        append_(buffer_);
        buffer_.clear();
    }

    Runs &runs_;
    std::function<void(std::string_view)> append_;
    std::string buffer_;
};

class RunReader {
  public:
    RunReader(const Runs &runs, size_t run) : source_(runs.source(run)), buffer_(BLOCK, '\0') {}

    bool next() {
        Head head;
        if (!take(reinterpret_cast<char *>(&head), sizeof head)) return false;
        line_.number = head.number;
        line_.text.resize(static_cast<size_t>(head.size));
        return take(line_.text.data(), line_.text.size());
    }
    const Line &line() const { return line_; }

  private:
    bool take(char *to, size_t size) {
        while (size > 0) {
            if (begin_ == end_) {
                begin_ = 0;
                end_ = source_(buffer_.data(), buffer_.size());
                if (end_ == 0) return false;
            }
            const size_t count = std::min(size, end_ - begin_);
            std::memcpy(to, buffer_.data() + begin_, count);
            begin_ += count;
            to += count;
            size -= count;
        }
        return true;
    }

    std::function<size_t(char *, size_t)> source_;
    std::string buffer_;
    size_t begin_ = 0, end_ = 0; // what of the buffer is not taken yet
    Line line_;
};

} // namespace

void LineSorter::add(Line line) {
    memory_ += line.text.size() + LINE_OVERHEAD;
    lines_.push_back(std::move(line));
    if (memory_ > limits_.memory) flush();
}

void LineSorter::sort_memory() {
    std::stable_sort(lines_.begin(), lines_.end(), [this](const Line &a, const Line &b) { return compare_(a.text, b.text) < 0; });
}

void LineSorter::flush() {
    sort_memory();
    if (!runs_) runs_ = std::make_unique<Runs>();
    RunWriter writer(*runs_);
    for (const Line &line : lines_) writer.put(line);
    writer.close();
    lines_.clear();
    memory_ = 0;
    if (runs_->count() < limits_.runs_to_merge) return;
    auto merged = std::make_unique<Runs>();
    RunWriter longer(*merged);
    merge_runs([&](const Line &line) { longer.put(line); });
    longer.close();
    runs_ = std::move(merged);
}

void LineSorter::merge_runs(const std::function<void(const Line &)> &visit) {
    std::vector<RunReader> texts;
    for (size_t run = 0; run < runs_->count(); ++run) texts.emplace_back(*runs_, run);
    merge_sorted(
        texts, [this](const RunReader &a, const RunReader &b) { return compare_(a.line().text, b.line().text); },
        [&](const RunReader &first) { visit(first.line()); });
}

void LineSorter::for_each(const std::function<void(const Line &)> &visit) {
    if (!runs_) {
        sort_memory();
        for (const Line &line : lines_) visit(line);
        return;
    }
    if (!lines_.empty()) flush();
    merge_runs(visit);
}

} // namespace qbgl::compiler
