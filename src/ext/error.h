// The error number of a context, through the replaceable errno slot. A null context has none.
#pragma once

#include "qbgl.h"

namespace qbgl {

inline void set_error(void *ctx, int number) {
    if (ctx != nullptr) *_gl_ext_errno(ctx) = number;
}

inline int get_error(void *ctx) { return ctx != nullptr ? *_gl_ext_errno(ctx) : 0; }

} // namespace qbgl
