// The fast lane of a stateless conversion: lookup arrays derived from the main table while loading.
//
// Most text consists of characters that map plainly to one to three bytes. The lane holds those in a trie of 32-bit cells, 256 a
// node, so that a character costs one load a byte and one store; ASCII that maps to itself is copied 16 bytes at a time. Everything
// else (unmapped and substituted characters, terminators, longer records, the last bytes of a buffer) is a cell of no value: the
// lane stops there, and the engine's general step takes that one character.
//
//   cell    bit 31 = 1   the ones' complement of the child node's first cell
//           bit 31 = 0   bits 24-25 number of output bytes n, 0 when there is no plain mapping
//                        bits 0-23  output bytes in memory order
//
// Where a table is one by UTF-8, and the text is in units of 16 bits, the cells are found by these: by the upper ten bits of a unit
// the first of its 64 cells, which stand in a node of last bytes from 80 on, or in the root.
#pragma once

#include "qbgl.h"
#include "unicode/form.h"
#include "util/owned.h"

namespace qbgl {

using LaneCell = int32_t;

struct Lane {
    uint32_t node_count;
    bool copies_ascii;           // the bytes 1 to 127 map to themselves, but for the two exceptions
    bool has_units;              // behind the cells stand those numbers of first cells
    uint8_t ascii_exceptions[2]; // 0 where there is none: NUL is never copied
    LaneCell cells[];            // node_count * 256; the root's first
};

enum class LaneOutput { AS_STORED, TWO_BYTES_REVERSED };

// What the lane reads: bytes of the table, or 16-bit units of Unicode, too, where its characters are those of UTF-8.
enum class LaneInput { BYTES, UNITS };

// Builds the lane of a loaded table; null when no character maps plainly or memory is out (conversion then does without).
Lane *build_lane(const gl_multi &table, LaneOutput output, LaneInput input = LaneInput::BYTES);

struct LanePosition {
    const uint8_t *in;
    uintptr_t out; // an address, or a mere count when measuring
};

struct LaneRange {
    const uint8_t *in_end;
    uintptr_t out_end;
    bool read_ahead; // input may be loaded up to in_end; otherwise only as far as characters continue
};

// Converts plain characters until one is not plain, or input or room get short.
template <bool WRITE> LanePosition run_lane(const Lane &lane, LanePosition at, const LaneRange &range);

// The same of text in a form of 16-bit units, by a lane that has them.
template <UnicodeForm FORM, bool WRITE> LanePosition run_unit_lane(const Lane &lane, LanePosition at, const LaneRange &range);

// The same where every character is one byte on both sides.
template <bool WRITE> LanePosition run_single_byte_lane(const Lane &lane, LanePosition at, const LaneRange &range);

} // namespace qbgl
