#include "digest.h"

namespace qbgl::compiler {

std::string_view compiler_digest() { return QBGLC_DIGEST; }

} // namespace qbgl::compiler
