// The order for indexes of locales that the extension library orders. A key is what the extension makes of the passes, which has no
// byte of 0, and behind it, where all texts are told apart, a 0 and the bytes of the text.
#pragma once

#include "order/sink.h"
#include "order/text.h"

namespace qbgl {

inline constexpr uint32_t EXTENSION_TEXT_SEPARATOR = 0;

// Of a locale that was served by an extension with an order for indexes. One whose extension is gone since fails: bytes would be
// another order under its fingerprint.
inline bool is_extension_order(const gl_locale *locale) {
    return locale != nullptr && served_by_extension(locale, GL_CAT_COLLATE) && locale->order_fingerprint[0] != '\0';
}

// As far as the passes tell. Both are false, with the error number, when the extension cannot.
bool compare_by_extension(gl_locale *locale, OrderText a, OrderText b, int passes, int &order);
bool write_by_extension(KeySink &sink, gl_locale *locale, OrderText text, int passes);

} // namespace qbgl
