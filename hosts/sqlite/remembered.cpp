#include "remembered.h"

#include "collations.h"
#include "definition.h"
#include "extension.h"

namespace qbgl_sqlite {

namespace {

constexpr int PATIENCE = 2000; // milliseconds for others to end what they write
constexpr char TABLE[] = "CREATE TABLE IF NOT EXISTS main.qbgl_collations(locale TEXT PRIMARY KEY, fingerprint TEXT NOT NULL)";

using Handle = std::unique_ptr<sqlite3, int (*)(sqlite3 *)>;

// A second connection to a database, with the extension.
Handle open_again(const Connection &connection, const Database &database, const Locale &locale) {
    if (database.file.empty())
        throw Error("the database " + database.name + " has no file: what is in memory is built anew from a file");
    sqlite3_vfs *files = nullptr;
    sqlite3_file_control(connection.db(), database.name.c_str(), SQLITE_FCNTL_VFS_POINTER, static_cast<void *>(&files));
    sqlite3 *db = nullptr;
    const int result =
        sqlite3_open_v2(database.file.c_str(), &db, SQLITE_OPEN_READWRITE, files != nullptr ? files->zName : nullptr);
    Handle opened(db, sqlite3_close);
    if (result == SQLITE_NOMEM || db == nullptr) throw std::bad_alloc();
    if (result != SQLITE_OK) throw Error(database.file + ": " + sqlite3_errmsg(db), result);
    sqlite3_busy_timeout(db, PATIENCE);
    const auto equipped = std::make_shared<Connection>(db);
    equipped->trust_all();
    equipped->allow_icu(connection.icu_allowed());
    const int made = equip(equipped);
    if (made == SQLITE_NOMEM) throw std::bad_alloc();
    if (made != SQLITE_OK) throw Error(database.file + ": " + sqlite3_errmsg(db), made);
    if (equipped->locale(locale.name()).fingerprint() != locale.fingerprint())
        throw Error("the locale " + locale.name() + " was replaced after this connection had loaded it: accept it in a new one");
    for (const NamedCollation &named : connection.named)
        make_collation(equipped, equipped->locale(named.locale), named.name, named.passes);
    return opened;
}

std::vector<std::string> names(sqlite3 *db, const std::string &query) {
    std::vector<std::string> result;
    Statement rows(db, "%s", query.c_str());
    while (rows.step()) result.push_back(rows.text(0));
    return result;
}

// Tables whose definition, or that of an index, has to do with the library. A table without row ids is an index itself.
std::vector<std::string> tables_to_rebuild(sqlite3 *db, const std::vector<NamedCollation> &named) {
    std::string ours = "entry.sql LIKE '%qbgl%'";
    for (const NamedCollation &collation : named) {
        char *const text = sqlite3_mprintf(" OR EXISTS (SELECT 1 FROM pragma_index_list(entry.tbl_name) AS list, "
                                           "pragma_index_xinfo(list.name) AS part WHERE part.coll = %Q COLLATE NOCASE)",
                                           collation.name.c_str());
        if (text == nullptr) throw std::bad_alloc();
        ours += text;
        sqlite3_free(text);
    }
    return names(db, "SELECT DISTINCT tbl_name FROM main.sqlite_schema AS entry WHERE type IN ('table', 'index') AND "
                     "NOT EXISTS (SELECT 1 FROM main.sqlite_schema AS owner WHERE owner.name = entry.tbl_name AND "
                     "owner.sql LIKE 'CREATE VIRTUAL%') AND (" +
                         ours + ")");
}

std::vector<std::string> full_text_tables(sqlite3 *db) {
    return names(db, "SELECT name FROM main.sqlite_schema WHERE sql LIKE 'CREATE VIRTUAL%fts5%qbgl%'");
}

// Loads the locales that the main database's definitions name: of collations when a statement is prepared that needs those of all
// indexes, of full-text tables when one is asked, of functions by the text.
void load_named_locales(Connection &connection) {
    sqlite3 *const db = connection.db();
    for (const std::string &table : tables_to_rebuild(db, connection.named)) Statement(db, "REINDEX main.\"%w\"", table.c_str());
    for (const std::string &table : full_text_tables(db))
        Statement(db, "SELECT rowid FROM main.\"%w\" WHERE \"%w\" MATCH 'a'", table.c_str(), table.c_str()).step();
    for (const std::string &sql :
         names(db, "SELECT sql FROM main.sqlite_schema WHERE type IN ('table', 'index') AND sql LIKE '%qbgl%'"))
        for (const std::string &locale : locales_in(sql)) (void)connection.any_locale(locale);
}

} // namespace

int remember(const std::shared_ptr<Connection> &connection) {
    sqlite3 *const db = connection->db();
    Statement(db, TABLE).step();
    load_named_locales(*connection);
    int count = 0;
    for (const auto &locale : connection->loaded()) {
        Statement(db, "INSERT OR IGNORE INTO main.qbgl_collations VALUES (%Q, %Q)", locale->name().c_str(),
                  locale->fingerprint().c_str())
            .step();
        count += sqlite3_changes(db);
    }
    connection->look_at_databases();
    return count;
}

void accept(Connection &connection, std::string_view given) {
    const Locale &locale = connection.any_locale(given);
    if (sqlite3_get_autocommit(connection.db()) == 0) throw Error("an order is accepted outside of a transaction");
    connection.look_at_databases();
    for (const Database &database : databases_of(connection.db())) {
        const std::string remembered = connection.remembered(database.name, locale.name());
        if (remembered == locale.fingerprint() || (remembered.empty() && database.name != "main")) continue;
        const Handle db = open_again(connection, database, locale);
        Statement(db.get(), "BEGIN IMMEDIATE").step(); // closing the connection takes back what is not committed
        for (const std::string &table : tables_to_rebuild(db.get(), connection.named))
            Statement(db.get(), "REINDEX main.\"%w\"", table.c_str()).step();
        for (const std::string &table : full_text_tables(db.get()))
            Statement(db.get(), "INSERT INTO main.\"%w\"(\"%w\") VALUES ('rebuild')", table.c_str(), table.c_str()).step();
        Statement(db.get(), TABLE).step();
        Statement(db.get(), "INSERT OR REPLACE INTO main.qbgl_collations VALUES (%Q, %Q)", locale.name().c_str(),
                  locale.fingerprint().c_str())
            .step();
        // Who was refused an index has put it aside until the schema is read again.
        const std::string version = names(db.get(), "SELECT schema_version + 1 FROM pragma_schema_version").at(0);
        Statement(db.get(), "PRAGMA main.schema_version = %s", version.c_str()).step();
        Statement(db.get(), "COMMIT").step();
    }
    connection.look_at_databases();
}

} // namespace qbgl_sqlite
