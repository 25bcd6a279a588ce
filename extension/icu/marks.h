// The combining marks with which ICU 72 goes wrong: those that Unicode has since its version 9, and those beyond 16 bits.
//
// It finds the places where it may begin by tables of older marks, so its comparison may differ from its keys: it begins where two
// texts part, or before that at a character that nothing before it concerns, and what precedes a newer mark then does not count.
// And where it normalizes a text piece by piece it may go round for ever, when a contraction goes on behind a mark of two units.
#pragma once

#include <cstdint>
#include <unicode/utypes.h>

namespace qbgl::icu {

// To be called before the first text is asked of, once or more often. False when memory is out.
bool list_doubtful_marks();

// Whether a text has such a mark. The bytes may be any.
bool has_doubtful_marks(const char *utf8, int32_t length);
bool has_doubtful_marks(const UChar *units, int32_t length);

} // namespace qbgl::icu
