// What ends a command: the message goes to standard error, the kind decides the exit status.
#pragma once

#include <stdexcept>

namespace qbgl::compiler {

// Wrong data: a charmap, a recipe, an answer of iconv. The message names file and line where there are any.
struct DataError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The system refused a file, a child process or memory.
struct SystemError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

} // namespace qbgl::compiler
