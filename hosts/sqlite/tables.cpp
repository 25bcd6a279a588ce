#include "tables.h"

#include "process.h"
#include "text.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace qbgl_sqlite {

namespace {

using Row = std::array<std::string, 3>;
using Rows = std::vector<Row>;

// The rows of a table, made when it is asked for; the arguments are those that the query names.
struct Source {
    const char *schema;
    int first_argument, arguments;
    Rows (*rows)(const std::vector<std::string> &arguments);
};

Rows names(int (*count)(void *), int (*name)(void *, int, char *, int)) {
    const std::lock_guard<std::mutex> lock(process_lock);
    Rows rows;
    const int found = count(nullptr);
    if (found < 0) throw std::bad_alloc();
    char text[128];
    for (int i = 0; i < found; ++i)
        if (name(nullptr, i, text, sizeof text) > 0) rows.push_back({text});
    return rows;
}

Rows locales(const std::vector<std::string> &) { return names(gl_locale_count, gl_locale_name); }
Rows codesets(const std::vector<std::string> &) { return names(gl_codeset_count, gl_codeset_name); }

Rows symbols(const std::vector<std::string> &arguments) {
    const std::string &text = arguments[0], codeset = arguments[1].empty() ? "utf8" : codeset_name(arguments[1]);
    gl_charmap *loaded = nullptr;
    const int result = one_at_a_time([&] { return gl_cm_load(&loaded, codeset.c_str(), nullptr, nullptr); });
    const std::unique_ptr<gl_charmap, void (*)(gl_charmap *)> charmap(loaded, gl_cm_unload);
    if (result != 0) throw Error("no charmap of " + codeset + ": " + gl_strerror(gl_errno(loaded)));
    Rows rows;
    for (size_t at = 0; at < text.size();) {
        constexpr size_t LONGEST = 4;
        const int left = static_cast<int>(std::min(text.size() - at, LONGEST)),
                  length = gl_cm_mblen(charmap.get(), text.data() + at, left);
        if (length <= 0) throw Error("no character of " + codeset + place(text, at));
        char symbol[512];
        const char *in = text.data() + at;
        const int size = gl_mbstosyms(charmap.get(), symbol, sizeof symbol, &in, length);
        if (size < 0) throw Error("no symbol for the character" + place(text, at));
        rows.push_back(
            {std::to_string(at), text.substr(at, static_cast<size_t>(length)), std::string(symbol, static_cast<size_t>(size))});
        at += static_cast<size_t>(length);
    }
    return rows;
}

constexpr Source LOCALES{"CREATE TABLE x(name TEXT)", 0, 0, locales}, CODESETS{"CREATE TABLE x(name TEXT)", 0, 0, codesets},
    SYMBOLS{"CREATE TABLE x(position INTEGER, bytes BLOB, symbol TEXT, text HIDDEN, codeset HIDDEN)", 3, 2, symbols};

struct Table : sqlite3_vtab {
    const Source *source;
};
struct Cursor : sqlite3_vtab_cursor {
    Rows rows;
    std::vector<std::string> arguments;
    size_t at = 0;
};

// Runs what may throw; the message is the table's.
template <class Body> int guarded(sqlite3_vtab *table, Body body) {
    try {
        return body();
    } catch (const std::bad_alloc &) {
        return SQLITE_NOMEM;
    } catch (const Error &error) {
        sqlite3_free(table->zErrMsg);
        table->zErrMsg = sqlite3_mprintf("%s", error.what());
        return error.code;
    }
}

int connect(sqlite3 *db, void *source, int, const char *const *, sqlite3_vtab **made, char **) {
    const auto *const of = static_cast<const Source *>(source);
    if (const int result = sqlite3_declare_vtab(db, of->schema); result != SQLITE_OK) return result;
    sqlite3_vtab_config(db, SQLITE_VTAB_INNOCUOUS);
    auto *const table = new (std::nothrow) Table();
    if (table == nullptr) return SQLITE_NOMEM;
    table->source = of;
    *made = table;
    return SQLITE_OK;
}

int disconnect(sqlite3_vtab *table) {
    delete static_cast<Table *>(table);
    return SQLITE_OK;
}

// Bit i of the index's number: argument i is given. The first must be.
int best_index(sqlite3_vtab *table, sqlite3_index_info *info) {
    const Source &source = *static_cast<Table *>(table)->source;
    int given[8] = {};
    for (int i = 0; i < info->nConstraint; ++i) {
        const auto &constraint = info->aConstraint[i];
        const int argument = constraint.iColumn - source.first_argument;
        if (source.arguments == 0 || argument < 0 || argument >= source.arguments || constraint.op != SQLITE_INDEX_CONSTRAINT_EQ)
            continue;
        if (constraint.usable == 0) return SQLITE_CONSTRAINT;
        given[argument] = i + 1;
    }
    int order = 0;
    for (int argument = 0; argument < source.arguments; ++argument) {
        if (given[argument] == 0) continue;
        info->aConstraintUsage[given[argument] - 1].argvIndex = ++order;
        info->aConstraintUsage[given[argument] - 1].omit = 1;
        info->idxNum |= 1 << argument;
    }
    info->estimatedCost = source.arguments > 0 && (info->idxNum & 1) == 0 ? 1e12 : 1000;
    return SQLITE_OK;
}

int open(sqlite3_vtab *, sqlite3_vtab_cursor **made) {
    auto *const cursor = new (std::nothrow) Cursor();
    *made = cursor;
    return cursor != nullptr ? SQLITE_OK : SQLITE_NOMEM;
}

int close(sqlite3_vtab_cursor *cursor) {
    delete static_cast<Cursor *>(cursor);
    return SQLITE_OK;
}

int filter(sqlite3_vtab_cursor *base, int given, const char *, int, sqlite3_value **values) {
    auto &cursor = *static_cast<Cursor *>(base);
    const Source &source = *static_cast<Table *>(base->pVtab)->source;
    return guarded(base->pVtab, [&] {
        cursor.at = 0;
        cursor.rows.clear();
        cursor.arguments.assign(static_cast<size_t>(source.arguments), std::string());
        for (int argument = 0, order = 0; argument < source.arguments; ++argument) {
            if ((given >> argument & 1) == 0) continue;
            sqlite3_value *const value = values[order++];
            const bool blob = sqlite3_value_type(value) == SQLITE_BLOB;
            const void *const bytes = blob ? sqlite3_value_blob(value) : sqlite3_value_text(value);
            if (bytes != nullptr)
                cursor.arguments[static_cast<size_t>(argument)].assign(static_cast<const char *>(bytes),
                                                                       static_cast<size_t>(sqlite3_value_bytes(value)));
        }
        if (source.arguments == 0 || (given & 1) != 0) cursor.rows = source.rows(cursor.arguments);
        return SQLITE_OK;
    });
}

int next(sqlite3_vtab_cursor *cursor) {
    ++static_cast<Cursor *>(cursor)->at;
    return SQLITE_OK;
}

int ended(sqlite3_vtab_cursor *base) {
    const auto &cursor = *static_cast<Cursor *>(base);
    return cursor.at >= cursor.rows.size() ? 1 : 0;
}

int column(sqlite3_vtab_cursor *base, sqlite3_context *context, int number) {
    const auto &cursor = *static_cast<Cursor *>(base);
    const Source &source = *static_cast<Table *>(base->pVtab)->source;
    const bool argument = source.arguments > 0 && number >= source.first_argument;
    const std::string &value = argument ? cursor.arguments[static_cast<size_t>(number - source.first_argument)]
                                        : cursor.rows[cursor.at][static_cast<size_t>(number)];
    if (source.arguments > 0 && number == 0)
        sqlite3_result_int64(context, std::strtoll(value.c_str(), nullptr, 10));
    else if (source.arguments > 0 && (number == 1 || number == source.first_argument))
        sqlite3_result_blob64(context, value.data(), value.size(), SQLITE_TRANSIENT);
    else
        sqlite3_result_text64(context, value.data(), value.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
    return SQLITE_OK;
}

int rowid(sqlite3_vtab_cursor *cursor, sqlite3_int64 *number) {
    *number = static_cast<sqlite3_int64>(static_cast<Cursor *>(cursor)->at);
    return SQLITE_OK;
}

// Without xCreate: the tables are there without being made.
constexpr sqlite3_module MODULE = {.iVersion = 0,
                                   .xCreate = nullptr,
                                   .xConnect = connect,
                                   .xBestIndex = best_index,
                                   .xDisconnect = disconnect,
                                   .xDestroy = disconnect,
                                   .xOpen = open,
                                   .xClose = close,
                                   .xFilter = filter,
                                   .xNext = next,
                                   .xEof = ended,
                                   .xColumn = column,
                                   .xRowid = rowid,
                                   .xUpdate = nullptr,
                                   .xBegin = nullptr,
                                   .xSync = nullptr,
                                   .xCommit = nullptr,
                                   .xRollback = nullptr,
                                   .xFindFunction = nullptr,
                                   .xRename = nullptr,
                                   .xSavepoint = nullptr,
                                   .xRelease = nullptr,
                                   .xRollbackTo = nullptr,
                                   .xShadowName = nullptr};

} // namespace

int make_tables(const std::shared_ptr<Connection> &connection) {
    constexpr std::pair<const char *, const Source *> TABLES[] = {
        {"qbgl_locales", &LOCALES}, {"qbgl_codesets", &CODESETS}, {"qbgl_symbols", &SYMBOLS}};
    for (const auto &[name, source] : TABLES) {
        const int result = sqlite3_create_module_v2(connection->db(), name, &MODULE, const_cast<Source *>(source), nullptr);
        if (result != SQLITE_OK) return result;
    }
    return SQLITE_OK;
}

} // namespace qbgl_sqlite
