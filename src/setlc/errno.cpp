// The error number of a context, as hosts read and clear it.
#include "qbgl.h"

#include <algorithm>
#include <iterator>

namespace {

// Records that stand for one that could not be made. They hold their number themselves, wherever the errno slot keeps the others.
const void *const canned_records[] = {&loc_nomem, &loc_filer, &cd_enomem, &cd_fileerr, &cd_einval, &cm_nomem, &cm_filer};

bool is_canned(const void *ctx) {
    return std::find(std::begin(canned_records), std::end(canned_records), ctx) != std::end(canned_records);
}

// Where a number lives; null for none. A host's function has a place for what no context was given for.
int *place_of(void *ctx) {
    const bool replaced = _gl_ext_func != 0 && _gl_get_ext_funcptr(GL_EXT_ERRNO) != nullptr;
    return ctx != nullptr || replaced ? _gl_ext_errno(ctx) : nullptr;
}

} // namespace

int gl_errno(void *ctx) {
    if (is_canned(ctx)) return *static_cast<const int32_t *>(ctx);
    const int *const place = place_of(ctx);
    return place != nullptr ? *place : 0;
}

void gl_clear_errno(void *ctx) {
    if (is_canned(ctx)) return;
    if (int *const place = place_of(ctx)) *place = 0;
}
