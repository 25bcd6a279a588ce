// What a character is.
#pragma once

#include <unicode/umachine.h>

namespace qbgl::icu {

// The classes of a mask that a character is in.
unsigned classes_of(UChar32 value, unsigned mask);
// Its columns, -1 for what is not printed.
int width_of(UChar32 value);

} // namespace qbgl::icu
