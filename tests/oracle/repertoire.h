// Every character of a codeset that our tables or iconv know.
#pragma once

#include "oracle/reference.h"

#include <qbgl.h>

#include <string>
#include <utility>
#include <vector>

namespace qbgl_test {

// In byte order, as our conversions read them, with their shifts where the codeset has them; and what iconv reads, empty where it
// knows no such character.
using Repertoire = std::vector<std::pair<Sequence, std::u32string>>;

// The keys of a table, in byte order.
std::vector<Sequence> sequences_of(const gl_multi &table);
// The characters that a loaded conversion has records for, in byte order.
std::vector<Sequence> table_characters(const gl_cv &cd);

// Joins the characters of a table with those that iconv writes for any code of Unicode, and with all sequences of one and two
// bytes, and of three behind the leads of known ones, that iconv reads.
Repertoire repertoire_of(const Reference &source, const std::vector<Sequence> &table);

} // namespace qbgl_test
