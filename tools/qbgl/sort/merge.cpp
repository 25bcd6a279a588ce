#include "sort/merge.h"

#include "common/merge.h"

namespace qbgl {

void LineWriter::put(std::string_view line) {
    constexpr size_t BLOCK = 64 << 10;
    if (unique_ && any_ && order_.compare(last_, line) == 0) return;
    if (unique_) last_ = line;
    any_ = true;
    buffer_.append(line).append(end_);
    if (buffer_.size() >= BLOCK) flush();
}

void LineWriter::flush() {
    target_(buffer_);
    buffer_.clear();
}

bool SortedText::next() {
    if (!reader_.next(line_)) return false;
    if (check_) check_(line_);
    return true;
}

void merge(std::vector<SortedText> &texts, const SortOrder &order, LineWriter &writer) {
    merge_sorted(
        texts, [&](const SortedText &a, const SortedText &b) { return order.compare(a.line().text, b.line().text); },
        [&](const SortedText &first) { writer.put(first.line().text); });
    writer.flush();
}

} // namespace qbgl
