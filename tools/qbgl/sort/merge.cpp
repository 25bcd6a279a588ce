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

void SortedText::check() {
    constexpr size_t AT_ONCE = 16 << 10;
    if (line_.offset >= known_until_) {
        const std::string_view lines = reader_.at_hand(line_, AT_ONCE);
        known_until_ = line_.offset + lines.size();
        sound_ = check_.are_sound(lines);
    }
    if (!sound_) check_.look(line_);
}

void merge(std::vector<SortedText> &texts, const SortOrder &order, LineWriter &writer) {
    merge_sorted(
        texts, [&](const SortedText &a, const SortedText &b) { return order.compare(a.line().text, b.line().text); },
        [&](const SortedText &first) { writer.put(first.line().text); });
    writer.flush();
}

} // namespace qbgl
