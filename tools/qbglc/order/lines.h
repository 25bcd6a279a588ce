// Where two locales order the lines of a file differently.
#pragma once

#include "order/locale.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace qbgl::compiler {

struct Line {
    std::string text;
    uint64_t number = 0;
};

// Lines that follow each other in the order of the old locale (which < 0, or = 0), and how the new one has them.
struct LineChange {
    Line first, second;
    int old_order, new_order;
};

struct LineChanges {
    std::vector<LineChange> shown; // the first ones
    uint64_t lines = 0, neighbours = 0, keys = 0;
};

struct LineLimits {
    size_t shown;               // changes to be kept
    size_t memory = 64U << 20U; // bytes of lines in memory; more are sorted in temporary files
    size_t runs_to_merge = 64;  // temporary files at a time
};

// Reads a file of any size, "-" for standard input. A last line needs no newline. Throws SystemError; DataError for a line that is
// no text of both locales.
LineChanges compare_lines(const OrderLocale &before, const OrderLocale &after, const std::filesystem::path &file,
                          const LineLimits &limits);

} // namespace qbgl::compiler
