// Encoding wide characters several at a time, without a branch for each.
#pragma once

#include "mbwc/maps.h"

namespace qbgl {

struct WidePosition {
    const gl_wchar *in;
    uint8_t *out;
};

// Encodes until a group has anything but plain characters of one to three bytes, or text or room get short. What is stored beyond
// a character is filled by the ones behind it.
template <TextShape SHAPE>
WidePosition encode_blocks(const CodesetMaps &maps, WidePosition at, const gl_wchar *in_end, const uint8_t *out_end);

} // namespace qbgl
