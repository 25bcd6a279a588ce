// Child processes that filter data.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qbgl::compiler {

struct ProcessResult {
    int status = 0; // exit status; 128 and the signal's number after a signal
    std::string output, errors;
};

// Runs a program found in PATH, in the C locale, without a shell: feeds `input` to it and collects what it writes. Throws
// SystemError when it cannot be run. Safe in several threads at once.
ProcessResult run_process(const std::vector<std::string> &arguments, std::string_view input = {});

} // namespace qbgl::compiler
