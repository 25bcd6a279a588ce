// The extension library's entry points, under their names with "fn_" in front. They are null until an extension is loaded and again
// after it is unloaded. The optional ones may be null all the while.
#pragma once

#include "qbgl_extension.h"

namespace qbgl {

#define QBGL_POINTER(name) inline name##_fn *fn_##name = nullptr;
QBGL_EXTENSION_ENTRY_POINTS(QBGL_POINTER)
QBGL_EXTENSION_OPTIONAL_ENTRY_POINTS(QBGL_POINTER)
#undef QBGL_POINTER

// Resolves every entry point from a library, also those after a missing one, which becomes null. Returns how many are missing, the
// optional ones not counted.
int resolve_entry_points(qbnx_library *library);
void clear_entry_points();

} // namespace qbgl
