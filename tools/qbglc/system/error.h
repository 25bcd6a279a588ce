// What ends a command: the message goes to standard error, the kind decides the exit status.
#pragma once

#include <mutex>
#include <stdexcept>
#include <string>
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
    // Throws one DataError with all messages, in the order of their places.
    void throw_if_any();

  private:
    std::mutex mutex_;
    std::vector<std::string> messages_; // each once
};

} // namespace qbgl::compiler
