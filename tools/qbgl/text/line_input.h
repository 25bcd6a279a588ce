// The lines of a file, while a terminal shows how far it is.
#pragma once

#include "frame/blocks.h"
#include "text/lines.h"

namespace qbgl {

class LineInput {
  public:
    // `before_reading` is called when no line is at hand, so that what the lines before gave can be written.
    LineInput(const std::string &file, std::string end, const Messages &messages, const OutputFile &output,
              std::function<void()> before_reading)
        : input_(file), progress_(input_.size(), messages, output.is_terminal()), before_reading_(std::move(before_reading)),
          reader_([this](char *buffer, size_t size) { return read(buffer, size); }, std::move(end)) {}
    LineInput(const LineInput &) = delete;
    LineInput &operator=(const LineInput &) = delete;

    // False at the end of the text. Throws Failure.
    bool next(Line &line) { return reader_.next(line); }
    Progress &progress() { return progress_; }

  private:
    size_t read(char *buffer, size_t size) {
        before_reading_();
        const size_t count = input_.read(buffer, size);
        progress_.add(count);
        return count;
    }

    InputFile input_;
    Progress progress_;
    std::function<void()> before_reading_;
    LineReader reader_;
};

} // namespace qbgl
