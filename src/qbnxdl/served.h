// The calls of locales that the extension library serves.
#pragma once

#include "ext/error.h"
#include "qbgl.h"

namespace qbgl {

inline bool served_by_extension(const gl_locale *locale, int category) { return locale->glu_flag[category] != 0; }

// What an entry point answers that ends its parameters with an error cell. While no extension is loaded the answer is `absent`: a
// locale may outlive gl_unload_glu.
template <class Result, class... Parameters, class... Arguments>
Result ask_extension(gl_locale *locale, Result (*entry_point)(Parameters...), Result absent, Arguments... arguments) {
    if (entry_point == nullptr) return absent;
    int16_t cell = 0;
    const Result result = entry_point(arguments..., &cell);
    if (cell > 0) set_error(locale, cell);
    return result;
}

} // namespace qbgl
