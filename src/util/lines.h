// Telling whole lines from cut ones.
#pragma once

#include "qbgl.h"

namespace qbgl {

// Whether a line ends with a newline, as fgets leaves it when it read the whole line: 0 if so, otherwise 1. replace_nl also removes
// it.
int check_nl(const char *line);
int replace_nl(char *line);

// The next line of an object file, without its newline. False at the end of the file, and for a line without one that is no more
// than `size` - 1 bytes away.
bool read_line(FILE *file, char *line, uint32_t size);

} // namespace qbgl
