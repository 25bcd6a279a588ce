// Every character of a codeset that our tables or iconv know.
#pragma once

#include "oracle/reference.h"

#include <qbgl.h>

#include <vector>

namespace qbgl_test {

struct Repertoire {
    struct Item {
        Sequence bytes;       // as our conversions read it; with its shifts where the codeset has them
        std::u32string codes; // what iconv reads; empty: iconv knows no such character
    };
    std::vector<Item> items; // in byte order
    std::string question;    // frames of those that iconv reads
    size_t question_count = 0;
};

// The characters that a loaded conversion has records for, in byte order.
std::vector<Sequence> table_characters(const gl_cv &cd);

// Joins the characters of a table with those that iconv writes for any code of Unicode, and with all sequences of one and two
// bytes, and of three behind the leads of known ones, that iconv reads.
Repertoire repertoire_of(const Reference &source, const std::vector<Sequence> &table);

} // namespace qbgl_test
