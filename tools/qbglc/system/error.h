// What ends a command: the message goes to standard error, the kind decides the exit status.
#pragma once

#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace qbgl::compiler {

// Wrong data: a charmap, a definition, a recipe, an answer of iconv. The message names file, line and column where there are any;
// it has a line for each error when there are several.
struct DataError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The system refused a file, a child process or memory.
struct SystemError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Gathers errors, so that a run tells all of them. Safe in several threads.
class ErrorList {
  public:
    // Calls the function, and keeps its DataError.
    template <class Function> void collect(Function function) {
        try {
            function();
        } catch (const DataError &error) {
            add(error.what());
        }
    }
    void add(const std::string &message);
    // All messages in the order of their places, a line each; empty when there are none.
    std::string text() const;
    // Throws a DataError with the text.
    void throw_if_any() const;

  private:
    mutable std::mutex mutex_;
    std::vector<std::string> messages_; // each once, as many as are shown
    size_t more_ = 0;
};

// Bytes that are no printable text as \xNN; an excerpt has no more of its input than helps a message.
std::string printable(std::string_view input);
std::string excerpt(std::string_view input);
// Throws DataError when a text file begins with a byte order mark, which would be taken for a part of its first word.
void refuse_byte_order_mark(std::string_view text, const std::string &file);

} // namespace qbgl::compiler
