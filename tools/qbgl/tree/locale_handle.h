// The locale that a command works under.
#pragma once

#include "frame/messages.h"
#include "qbgl.h"

#include <memory>
#include <string>

namespace qbgl {

using LocaleHandle = std::unique_ptr<gl_locale, void (*)(gl_locale *)>;

// Loads a locale by specification or object file name, where "native" is the one that the platform's variables name; an empty one
// takes what the environment names for the library. When that is nothing, a person at a terminal is told. Throws Failure with what
// was searched and what may have been meant.
LocaleHandle open_locale(const std::string &specification, const Messages &messages);

// The name and the codeset of a loaded category.
std::string category_name(const gl_locale &locale, int category);
std::string category_codeset(const gl_locale &locale, int category);

} // namespace qbgl
