#include "collations.h"

namespace qbgl_sqlite {

namespace {

constexpr std::string_view PREFIX = "qbgl_";

struct Collation {
    std::shared_ptr<Connection> connection; // owns the locale
    const Locale &locale;
    int passes;
};

// A comparison that was out of memory, with the reserve. SQLite knows no way to fail here but the interrupt, before which a
// statement of one row ends: texts that cannot be compared must not be equal then, or one would be replaced or deleted for the
// other.
int compare_by_reserve(const Collation &of, std::string_view a, std::string_view b) {
    int order = 0;
    bool compared = true;
    of.connection->reserve.release();
    try {
        order = of.locale.compare(a, b, of.passes);
    } catch (const std::bad_alloc &) {
        order = a.compare(b);
        compared = false;
    }
    if (of.connection->reserve.fill() && compared) return order;
    sqlite3_log(SQLITE_NOMEM, "comparisons under %s are out of memory%s: the statement is interrupted", of.locale.name().c_str(),
                compared ? "" : ", and one was decided by the bytes");
    sqlite3_interrupt(of.connection->db());
    return order;
}

int compare(void *collation, int a_length, const void *a, int b_length, const void *b) {
    const auto &of = *static_cast<const Collation *>(collation);
    const std::string_view first(static_cast<const char *>(a), static_cast<size_t>(a_length)),
        second(static_cast<const char *>(b), static_cast<size_t>(b_length));
    try {
        return of.locale.compare(first, second, of.passes);
    } catch (const std::bad_alloc &) {
        return compare_by_reserve(of, first, second);
    }
}

void destroy(void *collation) { delete static_cast<Collation *>(collation); }

// The locale and the passes that a collation's name tells; false for the names of others.
bool read_collation_name(std::string_view collation, std::string_view &locale, int &passes) {
    if (collation.size() < PREFIX.size() || sqlite3_strnicmp(collation.data(), PREFIX.data(), static_cast<int>(PREFIX.size())) != 0)
        return false;
    collation.remove_prefix(PREFIX.size());
    const size_t last = collation.size();
    const bool numbered = last > 2 && collation[last - 2] == '_' && collation[last - 1] >= '1' && collation[last - 1] <= '8';
    passes = numbered ? collation[last - 1] - '0' : 0;
    locale = collation.substr(0, numbered ? last - 2 : last);
    return true;
}

// SQLite says only that there is no such collation: why, stands in its log and in qbgl_last_error().
void make_on_demand(void *data, sqlite3 *, int, const char *name) {
    try {
        const std::shared_ptr<Connection> connection = static_cast<Connection *>(data)->shared_from_this();
        try {
            std::string_view locale;
            int passes = 0;
            if (read_collation_name(name, locale, passes)) make_collation(connection, connection->locale(locale), name, passes);
        } catch (const Error &error) {
            sqlite3_log(error.code, "%s: %s", name, error.what());
            connection->note(error);
        }
    } catch (const std::bad_alloc &) {
        sqlite3_log(SQLITE_NOMEM, "%s: out of memory", name);
    }
}

} // namespace

void make_collation(const std::shared_ptr<Connection> &connection, const Locale &locale, const std::string &name, int passes) {
    if (locale.may_fail() && !connection->reserve.fill()) throw std::bad_alloc();
    auto collation = std::make_unique<Collation>(Collation{connection, locale, passes});
    const int result = sqlite3_create_collation_v2(connection->db(), name.c_str(), SQLITE_UTF8, collation.get(), compare, destroy);
    if (result == SQLITE_NOMEM) throw std::bad_alloc();
    if (result != SQLITE_OK) throw Error(sqlite3_errmsg(connection->db()), result);
    (void)collation.release(); // SQLite's now
}

int make_collations_on_demand(Connection &connection) {
    return sqlite3_collation_needed(connection.db(), &connection, make_on_demand);
}

} // namespace qbgl_sqlite
