// A loaded charmap.
#pragma once

#include "syms/symbol_table.h"
#include "syms/unlisted.h"

inline constexpr int CHARMAP_CODESET_NAME_SIZE = 22; // 21 characters and a terminator

struct gl_charmap {
    int32_t error; // first, so that the record is an error context
    char codeset_name[CHARMAP_CODESET_NAME_SIZE];
    uint16_t codeset_number; // GL_NO_CODESET when it was loaded by file name
    int32_t source_version, compiler_version;
    gl_multi *characters; // those with a record; null in a charmap that failed to load
    qbgl::UnicodeForm unlisted;
    qbgl::SymbolTable symbols;
};

namespace qbgl {

// Reads a charmap object into a zeroed record. Returns 0, or -1 with the record's error number; the record then has no characters
// and owns nothing.
int read_charmap(FILE *stream, gl_charmap *cm);

// Frees what a record owns, not the record.
void free_charmap_tables(gl_charmap *cm);

} // namespace qbgl
