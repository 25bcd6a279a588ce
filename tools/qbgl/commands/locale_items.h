// The texts of a locale by keyword, as the platform's `locale -k` shows its own.
#pragma once

#include "qbgl.h"

#include <string>
#include <vector>

namespace qbgl {

std::vector<std::string> item_keywords();

// keyword="value" in a line of its own; the values of a list have semicolons between them. As JSON an object, whose member is a
// string or an array of them.
std::string item_line(gl_locale &locale, const std::string &keyword, bool as_json);

} // namespace qbgl
