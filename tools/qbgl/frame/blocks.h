// The frame of the commands that turn texts into others: all inputs are looked at before the output is touched, and each is read
// block by block.
#pragma once

#include "frame/files.h"
#include "frame/progress.h"

#include <cstring>
#include <utility>

namespace qbgl {

// A file's blocks. Of what a block cuts in two, the beginning is kept and stands before the next one.
class Blocks {
  public:
    Blocks(const std::string &file, const Messages &messages, const OutputFile &output)
        : input_(file), progress_(input_.size(), messages, output.is_terminal()) {}

    // Reads on, as soon as something is there; false behind the end. At the end there is an empty read, with what was kept.
    bool next() {
        if (std::exchange(peeked_, false)) return true;
        if (at_end_) return false;
        const size_t count = input_.read(buffer_.data() + kept_, BLOCK - kept_);
        at_end_ = count == 0;
        text_ = {buffer_.data(), kept_ + count};
        progress_.add(count);
        return true;
    }
    std::string_view text() const { return text_; }
    bool at_end() const { return at_end_; }

    // What the text begins with, `size` bytes or all that there are; the next call of next() delivers it. For a file's beginning.
    std::string_view peek(size_t size) {
        while (next() && text_.size() < size && !at_end_) keep(text_);
        peeked_ = true;
        return text_.substr(0, size);
    }

    // `rest` is the text's end.
    void keep(std::string_view rest) {
        kept_ = rest.size();
        if (kept_ > 0) std::memmove(buffer_.data(), rest.data(), kept_);
    }

    Progress &progress() { return progress_; }

  private:
    static constexpr size_t BLOCK = 64 << 10, SLACK = 4; // who looks for a character may read so far behind the text

    InputFile input_;
    Progress progress_;
    std::vector<char> buffer_ = std::vector<char>(BLOCK + SLACK);
    std::string_view text_;
    size_t kept_ = 0;
    bool at_end_ = false, peeked_ = false;
};

// Hands each file to `work(file, output)` until one fails.
template <typename Work>
ExitStatus for_each_file(const std::vector<std::string> &files, const std::string &output_name, const Work &work) {
    check_readable(files);
    OutputFile output(output_name, files);
    ExitStatus status = ExitStatus::OK;
    for (size_t i = 0; i < files.size() && status == ExitStatus::OK; ++i) status = work(files[i], output);
    output.close();
    return status;
}

} // namespace qbgl
