// qbgl locale: shows what a locale holds.
#pragma once

#include "frame/messages.h"

namespace qbgl {

ExitStatus run_locale(const std::string &specification, const Messages &messages);

} // namespace qbgl
