#include "coll/rows.h"

namespace qbgl {

bool Rows::make_room(uint32_t count, bool elements) {
    if (count <= ON_STACK) return true;
    heap_ = Owned<uint16_t>::allocate(count);
    if (elements) character_heap_ = Owned<gl_wchar>::allocate(count);
    rows_ = heap_.get();
    return heap_ && (!elements || character_heap_);
}

bool Rows::build(const gl_collation_maps &maps, WideSpan span) {
    const bool elements = maps.start_count > 0;
    const auto length = static_cast<uint32_t>(span.length);
    if (!make_room(length, elements)) return false;
    if (!elements) {
        for (uint32_t i = 0; i < length; ++i) rows_[i] = static_cast<uint16_t>(maps.row_of(span.text[i]));
        characters_ = span.text;
        count_ = length;
        return true;
    }
    gl_wchar *const characters = character_heap_ ? character_heap_.get() : character_stack_;
    uint32_t count = 0;
    for (uint32_t at = 0; at < length; ++at, ++count) {
        uint32_t row = maps.row_of(span.text[at]);
        characters[count] = span.text[at];
        if (row > maps.unknown) {
            const ElementStart &start = maps.starts[row - maps.unknown - 1];
            const gl_collating_element *element = maps.element_at(start, span.text + at, static_cast<ptrdiff_t>(length - at));
            row = element != nullptr ? element->row : start.row;
            if (element != nullptr) {
                characters[count] = ELEMENT_CHARACTER;
                at += static_cast<uint32_t>(element->count) - 1;
            }
        }
        rows_[count] = static_cast<uint16_t>(row);
    }
    characters_ = characters;
    count_ = count;
    return true;
}

} // namespace qbgl
