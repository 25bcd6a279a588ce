// Tests of the library run a second time on handles that an extension serves.
#pragma once

#include <string>
#include <string_view>

namespace qbgl_test {

// Whether QBGL_SERVED_BY is in the environment: the installation tree of an extension.
bool runs_served();

// That tree, or without an extension `own`.
std::string served_tree(const char *own);

// Has the library load that extension, if there is one, whatever trees the locales come from then. Throws when it cannot.
void load_extension();

// Handles and converters that the extension has opened since load_extension().
unsigned opened_by_extension();

// The name under which the extension serves an object in its codeset; "" without an extension. Of the tests' own objects, which
// have a part of their codeset, those whose characters and values ICU has too: in 8859-1, and in UTF-8 with Unicode's values
// (wide()).
std::string served_name(std::string_view object_text);

} // namespace qbgl_test
