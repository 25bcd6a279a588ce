// The log's switches.
#pragma once

#include "qbgl.h"

namespace qbgl {

// Switches of the log; process-wide, set by gl_init_debug and never cleared.
extern int32_t vrn_debug_initialized, vrn_logging, vrn_popups;

} // namespace qbgl
