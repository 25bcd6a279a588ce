// What the extension brings to a connection.
#pragma once

#include "connection.h"

namespace qbgl_sqlite {

// A result of SQLite.
int equip(const std::shared_ptr<Connection> &connection);

} // namespace qbgl_sqlite
