#include "text/lines.h"

#include "text/encoded.h"
#include "tree/locale_handle.h"

#include <algorithm>
#include <cstring>

namespace qbgl {

namespace {

constexpr unsigned LINE_FEED = 0x0A;

// Most codesets are ASCII or more; the conversions know of the others.
bool has_ascii_line_feed(const gl_multi *characters) {
    const auto *classes = static_cast<const uint16_t *>(_gl_retrieve_wchar_multi_nl(nullptr, LINE_FEED, characters));
    return classes != nullptr && (*classes & GL_CLASS_SPACE) != 0;
}

} // namespace

std::string line_end(const gl_locale &locale, bool zero_terminated) {
    const gl_multi *characters = locale.ctype.codeset_table;
    const auto shortest = static_cast<size_t>(_gl_multi_min_length(characters));
    if (zero_terminated) return std::string(shortest, '\0');
    if (shortest == 1 && has_ascii_line_feed(characters)) return "\n";
    return encoded("\n", category_codeset(locale, GL_CAT_CTYPE));
}

// The place of the first line end that stands on a character's boundary, the end of what was read when there is none.
size_t LineReader::find_end(size_t from) const {
    const size_t unit = end_.size();
    if (unit == 1) {
        const void *found = std::memchr(buffer_.data() + from, end_[0], filled_ - from);
        return found != nullptr ? static_cast<size_t>(static_cast<const char *>(found) - buffer_.data()) : filled_;
    }
    for (size_t at = begin_ + (from - begin_) / unit * unit; at + unit <= filled_; at += unit) {
        if (std::memcmp(buffer_.data() + at, end_.data(), unit) == 0) return at;
    }
    return filled_;
}

bool LineReader::fill() {
    if (begin_ > 0) {
        std::memmove(buffer_.data(), buffer_.data() + begin_, filled_ - begin_);
        filled_ -= begin_;
        begin_ = 0;
    }
    if (filled_ == buffer_.size()) buffer_.resize(buffer_.size() * 2);
    const size_t count = source_(buffer_.data() + filled_, buffer_.size() - filled_);
    filled_ += count;
    return count > 0;
}

bool LineReader::read_on(Line &line) {
    size_t end = find_end(begin_);
    while (end == filled_ && !at_end_) {
        const size_t searched = filled_ - begin_;
        at_end_ = !fill();
        end = find_end(begin_ + searched);
    }
    if (begin_ == filled_) return false;
    hand_out(line, end, end == filled_ ? 0 : end_.size());
    return true;
}

std::string_view LineReader::at_hand(const Line &last, size_t size) const {
    const char *const begin = buffer_.data() + begin_;
    const void *found = end_.size() == 1 ? memrchr(begin, end_[0], std::min(filled_ - begin_, size)) : nullptr;
    if (found == nullptr) return last.text;
    return {last.text.data(), static_cast<size_t>(static_cast<const char *>(found) + 1 - last.text.data())};
}

} // namespace qbgl
