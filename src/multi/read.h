// Reading a table's text form with an entry reader that shares the byte reader.
#pragma once

#include "multi/table.h"
#include "util/tokens.h"

namespace qbgl {

// Reads one entry of `size` bytes into `destination`; false when it is malformed. `self` is what the caller of read_table passed
// along.
using EntryReader = bool (*)(ByteReader &in, void *destination, uint32_t size, void *self);

// CUT_SHORT: the file ended before the table did, and memory was not out.
enum class TableRead { DONE, FAILED, CUT_SHORT };

// As _gl_fscanf_multi; the table's error is the same after either failure.
TableRead read_table(ByteReader &in, gl_multi &table, int longest_key, EntryReader reader, void *self);

} // namespace qbgl
