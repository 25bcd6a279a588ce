// The pieces of which every object file is made: header lines, and byte-sequence tables in the library's own text form.
#pragma once

#include "charmap/sequence.h"

#include <qbgl.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace qbgl::compiler {

// "FILE_TYPE=...", the version of the format, the number of lines, and the given lines. An object with the same header has the same
// content when the lines name everything that the content depends on; `further` lines, which the caller appends, follow from the
// content, and so does the seal behind them, which is counted here. Throws DataError for a line that a reader of objects could not
// take.
std::string object_header(std::string_view file_type, std::string_view version, const std::vector<std::string> &lines,
                          size_t further = 0, std::string_view count_keyword = "HEADER_LINES");

// growth / per with a decimal point. In millionths, rounded up and computed in integers, so that every machine writes the same
// digits.
std::string ratio_text(int growth, int per);

// A byte-sequence table to be written. Throws std::bad_alloc.
class TableWriter {
  public:
    TableWriter(size_t entry_size, const void *default_entry);
    // Null is the default entry. Throws DataError when one key begins another.
    void insert(const Sequence &key, const void *entry);
    // Ends inserting; equal arrays are written once.
    std::string text(gl_entry_writer writer);

  private:
    struct Free {
        void operator()(gl_multi *table) const { _gl_free_multi(table); }
    };
    std::unique_ptr<gl_multi, Free> table_;
};

} // namespace qbgl::compiler
