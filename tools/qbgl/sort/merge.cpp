#include "sort/merge.h"

#include "common/merge.h"

namespace qbgl {

void LineWriter::put(const KeyedLine &line) {
    constexpr size_t BLOCK = 64 << 10;
    if (unique_ && any_ && last_key_ == line.key) return;
    if (unique_) last_key_ = line.key;
    any_ = true;
    buffer_.append(line.text).append(end_);
    if (buffer_.size() >= BLOCK) flush();
}

void LineWriter::flush() {
    target_(buffer_);
    buffer_.clear();
}

bool SortedText::next() {
    if (!reader_.next(line_)) return false;
    if (check_) check_(line_);
    key_ = order_.key(line_.text);
    return true;
}

void merge(std::vector<SortedText> &texts, const SortOrder &order, LineWriter &writer) {
    merge_sorted(
        texts, [&](const SortedText &a, const SortedText &b) { return order.compare(a.keyed(), b.keyed()); },
        [&](const SortedText &first) { writer.put(first.keyed()); });
    writer.flush();
}

} // namespace qbgl
