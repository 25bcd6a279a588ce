// The calls of locales that the extension library serves. A locale may outlive gl_unload_glu, and the extension be loaded again:
// its handles are then none of the new library's, and calls fail with GL_ENODATA.
#pragma once

#include "ext/error.h"
#include "qbgl.h"

namespace qbgl {

// Counts the unloadings. A handle keeps the number under which it was opened.
inline uint32_t extension_load = 0;

inline bool served_by_extension(const gl_locale *locale, int category) { return locale->glu_flag[category] != 0; }

// Whether of characters and their order the extension has one alone. The order then goes by the bytes of texts, and not by wide
// characters, of which each side has values of its own: Unicode is the extension's, the library's are the codeset's.
inline bool is_half_served(const gl_locale *locale) {
    return served_by_extension(locale, GL_CAT_CTYPE) != served_by_extension(locale, GL_CAT_COLLATE) &&
           locale->ctype.codeset_table != nullptr;
}

// Whether the handle of a served category is of the extension that is loaded, if one is.
inline bool is_of_this_load(const gl_locale *locale, int category) { return locale->glu_load[category] == extension_load; }

// Whether an entry point can be asked about a category. Without the extension of its handle it cannot, which is an error.
template <class Result, class... Parameters> bool can_ask(gl_locale *locale, int category, Result (*entry_point)(Parameters...)) {
    return entry_point != nullptr && is_of_this_load(locale, category) ? true : fail(locale, GL_ENODATA, false);
}

// What an entry point answers that ends its parameters with an error cell; `absent` without the extension of the category's handle.
// The first form leaves the cell to the caller, the second makes it the locale's error.
template <class Result, class... Parameters, class... Arguments>
Result ask_extension_with_cell(int16_t *cell, const gl_locale *locale, int category, Result (*entry_point)(Parameters...),
                               Result absent, Arguments... arguments) {
    if (entry_point != nullptr && is_of_this_load(locale, category)) return entry_point(arguments..., cell);
    *cell = GL_ENODATA;
    return absent;
}
template <class Result, class... Parameters, class... Arguments>
Result ask_extension(gl_locale *locale, int category, Result (*entry_point)(Parameters...), Result absent, Arguments... arguments) {
    int16_t cell = 0;
    const Result result = ask_extension_with_cell(&cell, locale, category, entry_point, absent, arguments...);
    if (cell > 0) set_error(locale, cell);
    return result;
}

} // namespace qbgl
