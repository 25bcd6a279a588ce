// The search for characters in text.
#pragma once

#include "str/text.h"

namespace qbgl {

// Where `needle`, whole characters of `length` units behind which its terminator stands, first stands in a text; null when it does
// not, and with the error number for bytes that are no character where characters have to be told apart.
const char *find(const MultibyteString &text, const char *s, const char *needle, size_t length);
const gl_wchar *find(const WideString &text, const gl_wchar *s, const gl_wchar *needle, size_t length);

} // namespace qbgl
