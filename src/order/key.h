// The keys of the order for indexes; docs/keys.md has their form.
#pragma once

#include "order/sink.h"
#include "order/text.h"

namespace qbgl {

// `passes` is as for gl_order_key. Where only a part is asked for, nothing is looked at that a full sink does not need. False when
// memory is out, which only an order of Thai dictionaries asks for, or the extension fails.
bool write_order_key(KeySink &sink, gl_locale *locale, OrderText text, int passes, bool part);

// The bytes of a unit in the first pass.
struct Unit;
void write_first_pass(KeySink &sink, const gl_order_maps &rules, const Unit &unit);

} // namespace qbgl
