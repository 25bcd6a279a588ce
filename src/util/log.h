// Composing log messages without a fixed limit on what they name.
#pragma once

#include "qbgl.h"

namespace qbgl {

// Switches of the log; process-wide, set by gl_init_debug and never cleared.
extern int32_t vrn_debug_initialized, vrn_logging, vrn_popups;

// Reports `lead` followed by `text`. The line is built in a local buffer, or in memory of the table's when it is longer than that;
// when there is none, nothing is reported and the result is false.
bool message_about(const char *lead, const char *text);

// Whether a line ends with a newline, as fgets leaves it when it read the whole line: 0 if so, otherwise 1. replace_nl also removes
// it.
int check_nl(const char *line);
int replace_nl(char *line);

} // namespace qbgl
