// Decoding text a block of bytes at a time, without a branch for each character.
#pragma once

#include "mbwc/maps.h"

namespace qbgl {

struct TextPosition {
    const uint8_t *in;
    gl_wchar *out;
};

// Blocks are tried while this many bytes are left: more characters follow a block than it may store beyond its own, so that nothing
// is written which the text would not fill.
inline constexpr int BYTES_FOR_BLOCKS = 48;
// and this much room.
inline constexpr int ROOM_FOR_BLOCKS = 24;

// Decodes until a block has anything but plain characters of one to three bytes, or text or room get short. Both begin and end on a
// character. There is one for ONE_OR_TWO and one for CONTINUATION.
template <TextShape SHAPE>
TextPosition decode_blocks(const CodesetMaps &maps, TextPosition at, const uint8_t *in_end, const gl_wchar *out_end);

} // namespace qbgl
