// The order of Thai dictionaries, with bytes that are no character behind all else.
#pragma once

#include "order/sink.h"
#include "order/text.h"

namespace qbgl {

bool is_thai_order(const gl_locale *locale);

// As far as the passes tell. False, with the error number, when memory is out.
bool compare_as_thai(gl_locale *locale, OrderText a, OrderText b, int passes, int &order);

// False when memory is out.
bool write_as_thai(KeySink &sink, gl_locale *locale, OrderText text, int passes);
// What the first pass says of all texts that begin with this one.
bool write_as_thai_prefix(KeySink &sink, gl_locale *locale, OrderText text);

} // namespace qbgl
