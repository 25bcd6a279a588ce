// The handles that stand for a handle that could not be made.
#include "setlc/handle.h"

namespace {

constexpr gl_locale canned(int error) {
    gl_locale locale = {};
    locale.error = error;
    return locale;
}

} // namespace

const gl_locale loc_nomem = canned(GL_ENOMEM);
const gl_locale loc_filer = canned(GL_ENOFILE);

bool qbgl::is_canned(const gl_locale *locale) { return locale == nullptr || locale == &loc_nomem || locale == &loc_filer; }
