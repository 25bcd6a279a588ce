// The table "qbgl_collations" of a database: under which order of a locale its indexes were built.
#pragma once

#include "connection.h"

namespace qbgl_sqlite {

// Writes down, in the main database, the order of every locale that the connection has loaded, or that a collation of an index, a
// full-text table or a function in a table or an index names; those that are remembered stay as they are. Returns how many are new.
// Throws Error.
int remember(const std::shared_ptr<Connection> &connection);

// Builds all that depends on the order of a locale anew, in each database that remembers another one (the main database also where
// it remembers none), and remembers the order at hand: indexes, tables without row ids, full-text tables. It takes a connection of
// its own for it, so that nothing has changed where it fails, the collations of this connection included. Throws Error.
void accept(Connection &connection, std::string_view locale);

} // namespace qbgl_sqlite
