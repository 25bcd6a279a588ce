// What the extension keeps for one connection of SQLite: loaded locales, open conversions, its clock, and the orders that its
// databases remember.
#pragma once

#include "conversion.h"
#include "formats.h"
#include "locale.h"
#include "reserve.h"
#include "statement.h"

namespace qbgl_sqlite {

// A collation that goes by another name than its locale's.
struct NamedCollation {
    std::string name, locale; // the locale as locale_name has it
    int passes;
    bool made; // or refused
};

struct Database {
    std::string name, file; // "main"; empty for one without a file
};

// The databases of a connection, but for its temporary one.
std::vector<Database> databases_of(sqlite3 *db);

class Connection : public std::enable_shared_from_this<Connection> {
  public:
    explicit Connection(sqlite3 *db);
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;

    sqlite3 *db() const { return db_; }

    // The locale, loaded once. Throws Error where there is none, and where a database of the connection was written under another
    // order of it.
    const Locale &locale(std::string_view name);
    // Without a look at what the databases remember: for what does not depend on the order.
    const Locale &any_locale(std::string_view name);
    const std::vector<std::unique_ptr<Locale>> &loaded() const { return locales_; }

    // Reads what the databases remember. It is also read when databases were attached or detached. Throws Error.
    void look_at_databases();
    // The fingerprint that a database remembers of a locale, by the name of locale_name; empty for none.
    std::string remembered(std::string_view database, std::string_view locale) const;
    // Takes any order: for a connection that builds indexes anew.
    void trust_all() { trusting_ = true; }
    // Whether locales may be loaded that ICU serves.
    void allow_icu(bool allowed) { icu_allowed_ = allowed; }
    bool icu_allowed() const { return icu_allowed_; }

    Converters converters;
    Clock clock;
    Reserve reserve; // there while a collation may need it
    std::vector<NamedCollation> named;

    // What qbgl_last_error() tells. Returns the result of SQLite that stands for it.
    int note(const Error &error) noexcept;
    const std::string &last_error() const { return last_error_; }

  private:
    struct Order {
        std::string database, locale, fingerprint;
    };

    void check(const Locale &locale);
    bool databases_changed() const;

    sqlite3 *db_;
    std::string last_error_;
    bool trusting_ = false, icu_allowed_;
    std::vector<std::unique_ptr<Locale>> locales_;                // a collation refers to its own
    std::vector<std::pair<std::string, const Locale *>> spelled_; // by the names that they were asked for with
    std::vector<Database> databases_;                             // when `remembered_` was read; none: it has not been
    std::vector<Order> remembered_;
    std::vector<const Locale *> checked_;
};

} // namespace qbgl_sqlite
