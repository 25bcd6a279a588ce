// Reading one character by the walk through the nodes of the codeset's table.
#pragma once

#include "ext/error.h"
#include "multi/table.h"

namespace qbgl {

// A character, or what was read until it turned out that there is none. `value` is its bytes as a big-endian number.
struct Read {
    gl_wchar value;
    int length; // bytes read
    int error;  // 0, GL_EILSEQ, GL_EEOF where there is no byte at all, or GL_EINVAL where the input ends inside a character
};

// `next_byte` gives a byte or a negative number.
template <class Source> [[gnu::always_inline]] inline Read read_character(const MultiNode *node, const Source &next_byte) {
    int byte = next_byte();
    if (byte < 0) return {0, 0, GL_EEOF};
    gl_wchar value = static_cast<uint8_t>(byte);
    int length = 1;
    uint8_t flag = node->flags[static_cast<uint8_t>(byte)];
    while (flag == FLAG_CHILD) {
        node = child_of(*node, static_cast<uint8_t>(byte));
        byte = next_byte();
        if (byte < 0) return {value, length, GL_EINVAL};
        value = value << 8 | static_cast<uint8_t>(byte);
        ++length;
        flag = node->flags[static_cast<uint8_t>(byte)];
    }
    return {value, length, flag == FLAG_END ? 0 : GL_EILSEQ};
}

// The bytes of a value, the first of them the most significant. Returns the place behind them.
inline char *append_bytes(char *out, gl_wchar value, int length) {
    while (length > 0) *out++ = static_cast<char>(value >> 8 * --length);
    return out;
}

// The error number of a failed read of whole bytes, refined by what the stream tells. An error of the stream counts more than its
// end: what was read is not all that there is.
inline int refined_by_stream(FILE *stream, int at_end, int otherwise) {
    if (_gl_ext_ferror(stream) != 0) return GL_EIO;
    return _gl_ext_feof(stream) != 0 ? at_end : otherwise;
}

// The same for what gl_full_fgetmb and gl_full_fgetwc report of a character.
inline int byte_error(FILE *stream, const Read &read) { return refined_by_stream(stream, GL_EEOF, read.error); }
inline int wide_error(FILE *stream, const Read &read) {
    if (read.error == GL_EILSEQ) return GL_EILSEQ;
    return refined_by_stream(stream, read.error, GL_EREAD);
}

} // namespace qbgl
