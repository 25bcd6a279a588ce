// LC_COLLATE of a locale object.
#pragma once

#include "codeset.h"
#include "definition.h"

#include <string>

namespace qbgl::compiler {

std::string collate_section(const Definition &definition, const Codeset &codeset);

} // namespace qbgl::compiler
