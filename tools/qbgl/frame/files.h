// Input and output by file descriptor, so that a block goes on as soon as it is there.
#pragma once

#include "frame/messages.h"

#include <vector>

namespace qbgl {

// The file name that stands for standard input or output.
inline constexpr const char *STANDARD_STREAM = "-";

// A failure of the system at a file; `doing` completes "cannot ...".
Failure file_failure(std::string_view doing, const std::string &name);

// The input files of a call: standard input when it names none.
std::vector<std::string> inputs_of(const std::vector<std::string> &files);

// Throws the failure of the first file that cannot be read, so that it is found before anything is written.
void check_readable(const std::vector<std::string> &files);

// Throws what is in the way of writing a file later on, where that can be known before.
void check_writable(const std::string &name);

// An input file's name as messages show it.
std::string shown_name(const std::string &file);

// Writes a whole text to standard output; a full disk is not missed.
ExitStatus print(const std::string &text, const Messages &messages);

class InputFile {
  public:
    explicit InputFile(const std::string &name); // throws Failure
    InputFile(const InputFile &) = delete;
    InputFile &operator=(const InputFile &) = delete;
    ~InputFile();

    // Reads what is there, at most `size` bytes; 0 at the end. Throws Failure.
    size_t read(char *buffer, size_t size);
    uint64_t size() const { return size_; } // 0 when it is not known

  private:
    std::string name_;
    int descriptor_ = 0;
    uint64_t size_ = 0;
};

// Opened, and so emptied, only when the conversion is sure to begin.
class OutputFile {
  public:
    OutputFile(std::string name, const std::vector<std::string> &inputs); // throws Failure
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;
    ~OutputFile();

    void write(std::string_view bytes); // throws Failure
    void close();                       // throws Failure
    bool is_terminal() const;

  private:
    std::string name_;
    int descriptor_ = 1;
};

} // namespace qbgl
