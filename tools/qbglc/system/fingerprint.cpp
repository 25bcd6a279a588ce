#include "system/fingerprint.h"

#include <fmt/format.h>

namespace qbgl::compiler {

std::string Fingerprint::hex() const { return fmt::format("{:016x}", value_); }

} // namespace qbgl::compiler
