// The functions of SQL.
#pragma once

#include "connection.h"

namespace qbgl_sqlite {

// Whether a connection has them already.
bool is_equipped(sqlite3 *db);

// A result of SQLite.
int make_functions(const std::shared_ptr<Connection> &connection);

} // namespace qbgl_sqlite
