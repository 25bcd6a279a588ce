// Locale objects (.lco): a header, then a section for each category behind its marker line.
//
//   FILE_TYPE=locale_object
//   COMPILER_VERSION=11
//   KEY=N                    N - 3 lines follow that are the compiler's own, among which may be
//   ORDER=HHHHHHHHHHHHHHHH   the fingerprint of the order, 16 digits
//   MORE=...                 a part of the text with what the sections have no place for: more.h
//   CODESET
//   ### LC_CTYPE ... ### LC_COLLATE ... ### LC_NUMERIC ... ### LC_MONETARY ... ### LC_TIME ... ### LC_MESSAGES ...
#pragma once

#include "coll/fingerprint.h"
#include "setlc/handle.h"
#include "util/growing.h"
#include "util/owned.h"

#include <optional>
#include <string.h>

namespace qbgl {

struct ObjectHeader {
    CodesetName codeset = {};
    OrderDigits order = {}; // empty when the object has none
    Growing<char> more{};   // what the lines of that name say together
};

// 1, with the stream behind the header; 0 with GL_EBADFILE or GL_EVERSION in *error.
int read_file_header(FILE *file, ObjectHeader &header, int32_t *error);

// Reads all sections into a null handle. 0, or 1 with the error number set unless a section's reader has none.
int read_locale_file(FILE *file, gl_locale *locale);

// An open object of which sections are read one by one. They stand in the order of the categories, so that what gives several of
// them is read in one pass.
struct ObjectFile {
    LocaleName name = "";
    std::optional<Stream> stream{};
    ObjectHeader header{};
    bool header_read = false, at_end = false;

    bool is_open_as(const char *other) const { return stream && strcmp(name, other) == 0; }
};

// Reads the next section of an object that is a category's into the category, which is in its null state; its codeset must be that
// of LC_CTYPE. 0, or 1 as above; at_end tells that there was no such section.
int read_one_category(gl_locale *locale, int category, ObjectFile &object);

// Whether a category is in LC_CTYPE's codeset, by number: 0 when so, otherwise 1.
int verify_codesets(const gl_locale *locale, int category);

} // namespace qbgl
