// The log's switches, and what the readers of object files ask of a line.
#pragma once

#include "qbgl.h"

namespace qbgl {

// Switches of the log; process-wide, set by gl_init_debug and never cleared.
extern int32_t vrn_debug_initialized, vrn_logging, vrn_popups;

// Whether a line ends with a newline, as fgets leaves it when it read the whole line: 0 if so, otherwise 1. replace_nl also removes
// it.
int check_nl(const char *line);
int replace_nl(char *line);

} // namespace qbgl
