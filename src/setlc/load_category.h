// Loading one category by name.
#pragma once

#include "setlc/object.h"

namespace qbgl {

// Loads a category from the object that a specification names, or for an empty one the environment, in `directory` or, when that is
// null, searched. "native" is the default object, or the file "native" in the directory. The name goes to `name`; the object stays
// open for the next category. Returns 0 or nonzero; where there is no file, the category stays as it was, after any other failure
// it is null.
int load_category(gl_locale *locale, int category, const char *spec, LocaleName &name, const char *directory, ObjectFile &object);

} // namespace qbgl
