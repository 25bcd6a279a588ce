// qbgl list: what the installation tree offers.
#pragma once

#include "frame/messages.h"

namespace qbgl {

// Each takes a text that the lines must contain, to be shown.

// All codesets, a number and its names a line; those that cannot be converted are marked.
ExitStatus list_codesets(const std::string &filter, const Messages &messages);

// The conversions whose objects are there, source and target a line.
ExitStatus list_conversions(const std::string &filter, const Messages &messages);

// The locales whose objects are there: specification, codeset and file a line.
ExitStatus list_locales(const std::string &filter, const Messages &messages);

} // namespace qbgl
