// The header that every object file begins with:
//
//   FILE_TYPE=...
//   COMPILER_VERSION=...
//   KEY=N                the lines of the header, these three among them
#pragma once

#include "util/lines.h"

#include <string.h>

namespace qbgl {

inline constexpr long FIXED_HEADER_LINES = 3;

enum class Header { READ, OTHER_TYPE, OTHER_VERSION, MALFORMED };

// Reads a header whose first two lines are those given; the stream then stands behind it. `count_of` gets the third line and sets
// the number in it, `take` gets each line that follows; a false answer of theirs is a malformed header.
template <class CountOf, class Take>
Header read_object_header(FILE *file, const char *type, const char *version, CountOf count_of, Take take) {
    constexpr uint32_t LINE_SIZE = 128;
    char line[LINE_SIZE];
    if (!read_line(file, line, LINE_SIZE)) return Header::MALFORMED;
    if (strcmp(line, type) != 0) return Header::OTHER_TYPE;
    if (!read_line(file, line, LINE_SIZE)) return Header::MALFORMED;
    if (strcmp(line, version) != 0) return Header::OTHER_VERSION;
    long count = 0;
    if (!read_line(file, line, LINE_SIZE) || !count_of(line, count)) return Header::MALFORMED;
    for (long i = FIXED_HEADER_LINES; i < count; ++i)
        if (!read_line(file, line, LINE_SIZE) || !take(line)) return Header::MALFORMED;
    return Header::READ;
}

} // namespace qbgl
