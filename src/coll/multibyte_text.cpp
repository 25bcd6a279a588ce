#include "coll/multibyte_text.h"

#include "ext/error.h"
#include "multi/table.h"

#include <string.h>

namespace qbgl {

bool MultibyteText::convert(gl_locale *locale, WideSpan span) {
    const int32_t shortest = locale->ctype.codeset_table->min_length;
    const int64_t size = int64_t{span.length} * MAX_KEY + shortest;
    if (size > ON_STACK) {
        if (size <= INT32_MAX) heap_ = Owned<char>::allocate(static_cast<uint32_t>(size));
        if (!heap_) {
            set_error(locale, GL_ENOMEM);
            return false;
        }
    }
    char *const text = heap_ ? heap_.get() : stack_;
    const auto convert = locale->single_byte != 0 ? _qbx_gl_is_wcstombs : _qbx_gl_full_wcstombs;
    length_ = span.length == 0 ? 0 : convert(locale, text, span.text, span.length, span.length * MAX_KEY);
    if (length_ < 0) return false;
    memset(text + length_, 0, static_cast<size_t>(shortest));
    return true;
}

} // namespace qbgl
