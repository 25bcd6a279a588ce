// Tables that stand for themselves: qbgl_locales(name), qbgl_codesets(name), and qbgl_symbols(text, codeset) with a row for each
// character: position, bytes, symbol.
#pragma once

#include "connection.h"

namespace qbgl_sqlite {

// A result of SQLite.
int make_tables(const std::shared_ptr<Connection> &connection);

} // namespace qbgl_sqlite
