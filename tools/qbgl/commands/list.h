// qbgl list: what the installation tree offers.
#pragma once

#include "frame/messages.h"

namespace qbgl {

// All codesets, a number and its names a line.
ExitStatus list_codesets(const Messages &messages);

// The conversions whose objects are there, source and target a line.
ExitStatus list_conversions(const Messages &messages);

// The locales whose objects are there: specification, codeset and file a line.
ExitStatus list_locales(const Messages &messages);

} // namespace qbgl
