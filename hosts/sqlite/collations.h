// Collations: "qbgl_cs_CZ" compares under the locale, "qbgl_cs_CZ_1" by the first pass of its rules alone.
#pragma once

#include "connection.h"

namespace qbgl_sqlite {

// Makes SQLite ask for collations that it does not know.
int make_collations_on_demand(Connection &connection);

// Registers a collation under any name, once. Throws Error.
void make_collation(const std::shared_ptr<Connection> &connection, const Locale &locale, const std::string &name, int passes);

} // namespace qbgl_sqlite
