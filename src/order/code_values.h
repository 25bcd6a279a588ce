// The order of code values: characters by the number of their bytes, then by these; bytes that are no character behind all. It
// tells any two texts apart. Where a codeset's bytes have that order by themselves, the key of a character is the character.
#pragma once

#include "order/sink.h"
#include "order/text.h"

namespace qbgl {

// The first `common` bytes are those of both texts.
int compare_code_values(const gl_locale *locale, OrderText a, OrderText b, size_t common);

// Stops when the sink is full, if only a part is asked for.
void write_code_values(KeySink &sink, const gl_locale *locale, OrderText text, bool part);

} // namespace qbgl
