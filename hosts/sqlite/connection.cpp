#include "connection.h"

#include <algorithm>

namespace qbgl_sqlite {

namespace {

constexpr size_t MOST_SPELLINGS = 64;

} // namespace

std::vector<std::string> databases_of(sqlite3 *db) {
    std::vector<std::string> names;
    for (int i = 0; const char *const name = sqlite3_db_name(db, i); ++i)
        if (i != 1) names.emplace_back(name); // 1 is "temp"
    return names;
}

const Locale &Connection::any_locale(std::string_view given) {
    const auto spelled = std::find_if(spelled_.begin(), spelled_.end(), [&](const auto &known) { return known.first == given; });
    if (spelled != spelled_.end()) return *spelled->second;
    std::string name = locale_name(given);
    auto known = std::find_if(locales_.begin(), locales_.end(), [&](const auto &locale) { return locale->name() == name; });
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
    std::vector<std::string> databases = databases_of(db_);
    std::vector<Order> orders;
    for (const std::string &database : databases) {
        const char *const name = database.c_str();
        if (!Statement(db_, "SELECT 1 FROM \"%w\".sqlite_schema WHERE type = 'table' AND name = 'qbgl_collations'", name).step())
            continue;
        Statement rows(db_, "SELECT locale, fingerprint FROM \"%w\".qbgl_collations", name);
        while (rows.step()) orders.push_back({database, rows.text(0), rows.text(1)});
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

void Connection::check(const Locale &locale) {
    // The names alone, and without memory: this is asked for each call of a function.
    size_t same = 0;
    for (int i = 0; const char *const name = sqlite3_db_name(db_, i); ++i)
        if (i != 1 && (same == databases_.size() || databases_[same++] != name)) same = databases_.size() + 1;
    if (same != databases_.size() || databases_.empty()) look_at_databases();
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
