// The tokenizer "qbgl LOCALE [PASSES]" of SQLite's full-text search: words are letters and digits of the locale and the marks
// behind them, and those are alike that the first passes of its rules do not tell apart (1 where nothing is said: neither case nor
// accents).
#pragma once

#include "connection.h"

namespace qbgl_sqlite {

// A result of SQLite; SQLITE_OK, too, where it was built without full-text search.
int make_tokenizer(const std::shared_ptr<Connection> &connection);

} // namespace qbgl_sqlite
