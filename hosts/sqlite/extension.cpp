#include "extension.h"

#include "collations.h"
#include "functions.h"
#include "process.h"
#include "tables.h"
#include "tokenizer.h"

namespace qbgl_sqlite {

int equip(const std::shared_ptr<Connection> &connection) {
    int result = make_tables(connection);
    if (result == SQLITE_OK) result = make_tokenizer(connection);
    if (result == SQLITE_OK) result = make_functions(connection);
    if (result == SQLITE_OK) result = make_collations_on_demand(*connection); // which the functions keep alive
    return result;
}

} // namespace qbgl_sqlite

extern "C" {
SQLITE_EXTENSION_INIT1

// The entry, whose name SQLite derives from that of the file.
[[gnu::visibility("default")]] int sqlite3_qbgl_init(sqlite3 *db, char **message, const sqlite3_api_routines *routines) {
    SQLITE_EXTENSION_INIT2(routines)
    using namespace qbgl_sqlite;
    try {
        if (is_equipped(db)) return SQLITE_OK;
        prepare_library();
        const auto connection = std::make_shared<Connection>(db);
        const int result = equip(connection);
        if (result != SQLITE_OK) {
            *message = sqlite3_mprintf("%s", sqlite3_errmsg(db));
            return result;
        }
        try {
            connection->look_at_databases();
        } catch (const Error &) {
            // A file that is locked, or has no key yet, is read when a locale is asked for.
        }
        return SQLITE_OK;
    } catch (const std::bad_alloc &) {
        return SQLITE_NOMEM;
    }
}
}
