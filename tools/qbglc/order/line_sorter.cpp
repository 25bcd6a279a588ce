#include "order/line_sorter.h"

#include "system/error.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <queue>
#include <unistd.h>

namespace qbgl::compiler {

namespace {

constexpr size_t LINE_OVERHEAD = 2 * sizeof(Line); // the record, and the allocator's share

[[noreturn]] void fail(const char *what) { throw SystemError(fmt::format("temporary file: {}: {}", what, std::strerror(errno))); }

// A file without a name: it goes with the process, however that ends.
FILE *temporary_file() {
    const char *directory = std::getenv("TMPDIR");
    std::string name = fmt::format("{}/qbglc.XXXXXX", directory != nullptr && *directory != '\0' ? directory : "/tmp");
    const int descriptor = mkstemp(name.data());
    if (descriptor < 0) fail(name.c_str());
    unlink(name.c_str());
    FILE *file = fdopen(descriptor, "w+b");
    if (file == nullptr) fail(name.c_str());
    return file;
}

void write_line(FILE *file, const Line &line) {
    const uint64_t head[] = {line.number, line.text.size()};
    if (std::fwrite(head, sizeof head, 1, file) != 1 ||
        std::fwrite(line.text.data(), 1, line.text.size(), file) != line.text.size())
        fail("cannot be written");
}

bool read_line(FILE *file, Line &line) {
    uint64_t head[2];
    if (std::fread(head, sizeof head, 1, file) != 1) {
        if (std::ferror(file) != 0) fail("cannot be read");
        return false;
    }
    line.number = head[0];
    line.text.resize(static_cast<size_t>(head[1]));
    if (std::fread(line.text.data(), 1, line.text.size(), file) != line.text.size()) fail("cannot be read");
    return true;
}

} // namespace

bool LineSorter::before(const Line &a, const Line &b) const {
    const int order = compare_(a.text, b.text);
    return order != 0 ? order < 0 : a.number < b.number;
}

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
    Run run(temporary_file());
    for (const Line &line : lines_) write_line(run.get(), line);
    lines_.clear();
    memory_ = 0;
    runs_.push_back(std::move(run));
    if (runs_.size() < limits_.runs_to_merge) return;
    Run merged(temporary_file());
    merge_runs([&](const Line &line) { write_line(merged.get(), line); });
    runs_.clear();
    runs_.push_back(std::move(merged));
}

void LineSorter::merge_runs(const std::function<void(const Line &)> &visit) {
    std::vector<Line> heads(runs_.size());
    const auto later = [&](size_t a, size_t b) { return before(heads[b], heads[a]); };
    std::priority_queue<size_t, std::vector<size_t>, decltype(later)> next(later);
    for (size_t i = 0; i < runs_.size(); ++i) {
        if (std::fflush(runs_[i].get()) != 0) fail("cannot be written");
        std::rewind(runs_[i].get());
        if (read_line(runs_[i].get(), heads[i])) next.push(i);
    }
    while (!next.empty()) {
        const size_t first = next.top();
        next.pop();
        visit(heads[first]);
        if (read_line(runs_[first].get(), heads[first])) next.push(first);
    }
}

void LineSorter::for_each(const std::function<void(const Line &)> &visit) {
    if (runs_.empty()) {
        sort_memory();
        for (const Line &line : lines_) visit(line);
        return;
    }
    if (!lines_.empty()) flush();
    merge_runs(visit);
}

} // namespace qbgl::compiler
