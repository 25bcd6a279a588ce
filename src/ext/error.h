// The error number of a context, through the replaceable errno slot. A null context has none.
#pragma once

#include "qbgl.h"

namespace qbgl {

inline void set_error(void *ctx, int number) {
    if (ctx != nullptr) *_gl_ext_errno(ctx) = number;
}

// Sets the error number and returns `result`. Apart from its callers, whose fast ways so need no stack frame.
template <class Result> [[gnu::noinline, gnu::cold]] Result fail(void *ctx, int number, Result result) {
    set_error(ctx, number);
    return result;
}

inline int get_error(void *ctx) { return ctx != nullptr ? *_gl_ext_errno(ctx) : 0; }

} // namespace qbgl
