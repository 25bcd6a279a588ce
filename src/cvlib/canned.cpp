#include "cvlib/canned.h"

namespace {

constexpr gl_cv canned(int error) {
    gl_cv cd = {};
    cd.error = error;
    return cd;
}

} // namespace

const gl_cv cd_enomem = canned(GL_ENOMEM);
const gl_cv cd_fileerr = canned(GL_ENOFILE);
const gl_cv cd_einval = canned(GL_EINVAL);

bool qbgl::is_canned(const gl_cv *cd) { return cd == &cd_enomem || cd == &cd_fileerr || cd == &cd_einval; }
