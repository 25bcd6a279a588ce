// Selecting categories.
#pragma once

#include "setlc/handle.h"

namespace qbgl {

// As gl_setlocale_4, with the objects in `directory` unless that is null.
char *set_categories(gl_locale *locale, int category, const char *spec, const char *directory);

} // namespace qbgl
