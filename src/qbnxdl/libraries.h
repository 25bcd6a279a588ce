// The libraries that hold the extension, and what it holds for us.
#pragma once

#include "qbgl.h"

namespace qbgl {

inline constexpr int DEFAULT_OPEN_FLAGS = -99; // of qbnx_dlopen: RTLD_NOW | RTLD_GLOBAL

enum class Loading {
    DONE,
    TOLERATED, // a library that is there could not be loaded, and may be
    FAILED,    // the error number is set
};

// Loads the libraries of the registry in the place of those of an earlier attempt, and resolves the entry points from the last of
// them. `tolerant`: host and environment both allow that one cannot be loaded.
Loading load_libraries(void *ctx, bool tolerant);

// Closes the libraries one after the other, and forgets the entry points. Returns 0, or -1 at the first that cannot be closed.
int close_libraries();

// Releases the extension's data and map. The handles that it gave are of no use from then on.
void unload_data();

} // namespace qbgl
