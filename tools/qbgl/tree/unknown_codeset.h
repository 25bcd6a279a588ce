// What to say of a codeset that nobody knows.
#pragma once

#include "frame/messages.h"

namespace qbgl {

// Names the three codesets that were most likely meant.
ExitStatus unknown_codeset(const std::string &name, const Messages &messages);

} // namespace qbgl
