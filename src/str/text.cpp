#include "str/text.h"

#include "qbnxdl/entry_points.h"

#include <algorithm>

namespace qbgl {

Step MultibyteString::step_slowly(const uint8_t *at, ptrdiff_t limit) const {
    if (limit >= terminator_ && is_terminator(at, terminator_)) return {0, 0};
    if (served_by_extension(locale_, GL_CAT_CTYPE)) {
        gl_wchar value = 0;
        int16_t cell = 0; // it is for the caller to tell an error
        const int length =
            ask_extension_with_cell(&cell, locale_, GL_CAT_CTYPE, fn_glu_mbtouc32, -1, locale_->glu_handle[GL_CAT_CTYPE], &value,
                                    reinterpret_cast<const char *>(at), static_cast<int>(std::min<ptrdiff_t>(limit, MAX_KEY)));
        return {value, length >= 0 ? length : limit < MAX_KEY ? ENDS_EARLY : BAD};
    }
    const Decoded character = decode_by_nodes(locale_->ctype.codeset_table->root, at, limit);
    return {character.value, character.length > 0 ? character.length : character.length == CUT ? ENDS_EARLY : BAD};
}

} // namespace qbgl
