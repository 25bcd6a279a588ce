// The class of a wide character as text functions test it: by the table of a single-byte codeset where there is one.
#pragma once

#include "ext/error.h"
#include "qbgl.h"

namespace qbgl {

// Nothing above the bytes is in a class of a single-byte codeset; asking for it is an error.
inline bool is_in_class(gl_locale *locale, gl_wchar wc, unsigned mask) {
    const uint16_t *classes = locale->classes;
    if (classes == nullptr) return gl_iswctype(locale, wc, mask) != 0;
    if (wc <= UINT8_MAX) return (classes[wc] & mask) != 0;
    set_error(locale, GL_EILSEQ);
    return false;
}

} // namespace qbgl
