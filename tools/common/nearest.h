// Names that somebody may have meant.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qbgl {

// The names, those most like `wanted` first. Hyphens, underlines, case and a leading "iso" hardly matter: people write UTF-8,
// utf_8, utf8, and ISO-8859-1 for 8859-1.
std::vector<std::string> by_nearness(std::string_view wanted, const std::vector<std::string> &names);

} // namespace qbgl
