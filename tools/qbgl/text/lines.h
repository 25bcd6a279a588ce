// The lines of a text, however long they are and wherever blocks of input cut them.
#pragma once

#include "qbgl.h"

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace qbgl {

// What ends a line of a locale's text: its line feed, or its NUL character.
std::string line_end(const gl_locale &locale, bool zero_terminated);

struct Line {
    std::string_view text; // without what ends it; valid until the next line is read
    uint64_t number;       // from 1 on
    uint64_t offset;       // bytes before it
};

class LineReader {
  public:
    // Reads at most so many bytes to a place, and returns how many there were; 0 at the end.
    using Source = std::function<size_t(char *, size_t)>;

    LineReader(Source source, std::string end, size_t block = 64 << 10)
        : source_(std::move(source)), end_(std::move(end)), buffer_(block) {}

    // False at the end of the text. The last line may lack its end.
    bool next(Line &line) {
        if (end_.size() == 1) {
            if (const void *found = std::memchr(buffer_.data() + begin_, end_[0], filled_ - begin_)) {
                hand_out(line, static_cast<size_t>(static_cast<const char *>(found) - buffer_.data()), 1);
                return true;
            }
        }
        return read_on(line);
    }
    // The last line and those behind it that are in memory, as they stand, some `size` bytes of them; the last one alone where ends
    // of lines have several bytes.
    std::string_view at_hand(const Line &last, size_t size) const;

  private:
    void hand_out(Line &line, size_t end, size_t end_size) {
        line = {{buffer_.data() + begin_, end - begin_}, ++number_, offset_};
        offset_ += end + end_size - begin_;
        begin_ = end + end_size;
    }
    bool read_on(Line &line);
    size_t find_end(size_t from) const;
    bool fill();

    Source source_;
    std::string end_;
    std::vector<char> buffer_;
    size_t begin_ = 0, filled_ = 0; // what of the buffer is not handed out yet
    uint64_t number_ = 0, offset_ = 0;
    bool at_end_ = false;
};

} // namespace qbgl
