// The error number of a context, as hosts read and clear it.
#include "ext/error.h"

#include <algorithm>
#include <iterator>

namespace {

// Records that stand for one that could not be made. They hold their number themselves, wherever the errno slot keeps the others.
const void *const CANNED[] = {&loc_nomem, &loc_filer, &cd_enomem, &cd_fileerr, &cd_einval, &cm_nomem, &cm_filer};

bool is_canned_record(const void *ctx) { return std::find(std::begin(CANNED), std::end(CANNED), ctx) != std::end(CANNED); }

} // namespace

int gl_errno(void *ctx) { return is_canned_record(ctx) ? *static_cast<const int32_t *>(ctx) : qbgl::get_error(ctx); }

void gl_clear_errno(void *ctx) {
    if (!is_canned_record(ctx)) qbgl::set_error(ctx, 0);
}
