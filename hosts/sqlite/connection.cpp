#include "connection.h"

#include "../icu.h"
#include "process.h"

#include <algorithm>

namespace qbgl_sqlite {

namespace {

constexpr size_t MOST_SPELLINGS = 64;

// visit(name, file) until it is false.
template <class Visit> void for_each_database(sqlite3 *db, Visit visit) {
    constexpr int TEMPORARY = 1;
    for (int i = 0; const char *const name = sqlite3_db_name(db, i); ++i) {
        const char *const file = sqlite3_db_filename(db, name);
        if (i != TEMPORARY && !visit(name, file != nullptr ? file : "")) return;
    }
}

} // namespace

std::vector<Database> databases_of(sqlite3 *db) {
    std::vector<Database> databases;
    for_each_database(db, [&](const char *name, const char *file) {
        databases.push_back({name, file});
        return true;
    });
    return databases;
}

Connection::Connection(sqlite3 *db) : db_(db), icu_allowed_(environment_wants_icu()) {}

const Locale &Connection::any_locale(std::string_view given) {
    const auto spelled = std::find_if(spelled_.begin(), spelled_.end(), [&](const auto &known) { return known.first == given; });
    if (spelled != spelled_.end()) return *spelled->second;
    std::string name = locale_name(given);
    auto known = std::find_if(locales_.begin(), locales_.end(), [&](const auto &locale) { return locale->name() == name; });
    if (known == locales_.end() && qbgl_asks_for_icu(name.c_str()) && !icu_allowed_)
        throw Error("the locale " + name + " is ICU's, which is not in use here: SELECT qbgl_icu(1) allows it, or GL_USEGLU=1 in " +
                    "the environment");
    if (known == locales_.end()) known = locales_.insert(known, std::make_unique<Locale>(std::move(name)));
    if (spelled_.size() == MOST_SPELLINGS) spelled_.clear();
    spelled_.emplace_back(given, known->get());
    return **known;
}

const Locale &Connection::locale(std::string_view given) {
    const Locale &locale = any_locale(given);
    if (!trusting_) check(locale);
    return locale;
}

int Connection::note(const Error &error) noexcept {
    try {
        last_error_ = error.what();
        return error.code;
    } catch (const std::bad_alloc &) {
        return SQLITE_NOMEM;
    }
}

void Connection::look_at_databases() {
    std::vector<Database> databases = databases_of(db_);
    std::vector<Order> orders;
    for (const Database &database : databases) {
        const char *const name = database.name.c_str();
        Statement known(
            db_, "SELECT 1 FROM \"%w\".sqlite_schema WHERE type = 'table' AND name = 'qbgl_collations' AND rootpage > 0", name);
        if (!known.step()) continue;
        Statement rows(db_, "SELECT locale, fingerprint FROM \"%w\".qbgl_collations", name);
        while (rows.step()) orders.push_back({database.name, rows.text(0), rows.text(1)});
    }
    databases_ = std::move(databases);
    remembered_ = std::move(orders);
    checked_.clear();
}

std::string Connection::remembered(std::string_view database, std::string_view locale) const {
    for (const Order &order : remembered_)
        if (order.database == database && order.locale == locale) return order.fingerprint;
    return {};
}

// Without memory: this is asked for each call of a function.
bool Connection::databases_changed() const {
    size_t same = 0;
    bool changed = false;
    for_each_database(db_, [&](const char *name, const char *file) {
        changed = same == databases_.size() || databases_[same].name != name || databases_[same].file != file;
        ++same;
        return !changed;
    });
    return changed || same != databases_.size();
}

void Connection::check(const Locale &locale) {
    if (databases_changed()) look_at_databases();
    if (std::find(checked_.begin(), checked_.end(), &locale) != checked_.end()) return;
    const std::string fingerprint = locale.fingerprint();
    for (const Order &order : remembered_) {
        if (order.locale != locale.name() || order.fingerprint == fingerprint) continue;
        throw Error("the database " + order.database + " was written under another order of " + locale.name() + " (" +
                        order.fingerprint + ", here " + fingerprint + "): its indexes need REINDEX; SELECT qbgl_accept('" +
                        locale.name() + "') does that and accepts the order",
                    SQLITE_CONSTRAINT);
    }
    checked_.push_back(&locale);
}

} // namespace qbgl_sqlite
