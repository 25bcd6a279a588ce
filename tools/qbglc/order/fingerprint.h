// What tells two orders of text apart without comparing them.
#pragma once

#include "charmap/codeset.h"

#include <string>
#include <string_view>

namespace qbgl::compiler {

// Begins the header line of a locale object that holds the fingerprint of its order.
inline constexpr std::string_view ORDER_LINE = "ORDER=";

// A fingerprint of the characters that a codeset reads.
std::string characters_fingerprint(const Codeset &codeset);

// Equal fingerprints: the same texts compare the same, and have the same sort keys.
std::string order_fingerprint(const std::string &characters, std::string_view collate_section);

} // namespace qbgl::compiler
