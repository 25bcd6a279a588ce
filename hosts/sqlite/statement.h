// A prepared statement of SQLite.
#pragma once

#include "sqlite.h"

#include <new>
#include <stdexcept>
#include <string>

namespace qbgl_sqlite {

// What a call cannot do, as SQLite reports it.
struct Error : std::runtime_error {
    explicit Error(const std::string &sentence, int result = SQLITE_ERROR) : std::runtime_error(sentence), code(result) {}
    int code;
};

class Statement {
  public:
    // The text as sqlite3_mprintf makes it. Throws Error.
    template <class... Values> Statement(sqlite3 *db, const char *format, Values... values) : db_(db) {
        char *const sql = sqlite3_mprintf(format, values...);
        if (sql == nullptr) throw std::bad_alloc();
        const int result = sqlite3_prepare_v2(db, sql, -1, &statement_, nullptr);
        sqlite3_free(sql);
        check(result);
    }
    Statement(const Statement &) = delete;
    Statement &operator=(const Statement &) = delete;
    ~Statement() { sqlite3_finalize(statement_); }

    // Anew, for a value of ?1.
    void begin(const sqlite3_value *value) {
        sqlite3_reset(statement_);
        check(sqlite3_bind_value(statement_, 1, value));
    }
    // False behind the last row.
    bool step() {
        const int result = sqlite3_step(statement_);
        if (result != SQLITE_ROW && result != SQLITE_DONE) check(result);
        return result == SQLITE_ROW;
    }
    std::string text(int column) {
        const auto *const bytes = reinterpret_cast<const char *>(sqlite3_column_text(statement_, column));
        return bytes != nullptr ? std::string(bytes, static_cast<size_t>(sqlite3_column_bytes(statement_, column))) : std::string();
    }

  private:
    void check(int result) const {
        if (result == SQLITE_NOMEM) throw std::bad_alloc();
        if (result != SQLITE_OK) throw Error(sqlite3_errmsg(db_), result);
    }

    sqlite3 *db_;
    sqlite3_stmt *statement_ = nullptr;
};

} // namespace qbgl_sqlite
