#include "sort/merge.h"

#include <algorithm>

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
    std::vector<SortedText *> heap;
    const auto later = [&](const SortedText *a, const SortedText *b) {
        const int result = order.compare(a->keyed(), b->keyed());
        return result != 0 ? result > 0 : a > b;
    };
    for (SortedText &text : texts) {
        if (text.next()) heap.push_back(&text);
    }
    std::make_heap(heap.begin(), heap.end(), later);
    while (!heap.empty()) {
        std::pop_heap(heap.begin(), heap.end(), later);
        writer.put(heap.back()->keyed());
        if (heap.back()->next())
            std::push_heap(heap.begin(), heap.end(), later);
        else
            heap.pop_back();
    }
    writer.flush();
}

} // namespace qbgl
