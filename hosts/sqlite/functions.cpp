#include "functions.h"

#include "../icu.h"
#include "collations.h"
#include "like.h"
#include "remembered.h"
#include "text.h"

#include <algorithm>
#include <cstring>

namespace qbgl_sqlite {

namespace {

// What a function is called with.
class Call {
  public:
    Call(sqlite3_context *context, int count, sqlite3_value **values) : context_(context), count_(count), values_(values) {}

    Connection &connection() const { return **shared(); }
    const std::shared_ptr<Connection> *shared() const {
        return static_cast<const std::shared_ptr<Connection> *>(sqlite3_user_data(context_));
    }
    bool has(int i) const { return i < count_ && sqlite3_value_type(values_[i]) != SQLITE_NULL; }
    // Bytes of a BLOB, UTF-8 of anything else.
    std::string_view bytes(int i) const {
        const bool blob = sqlite3_value_type(values_[i]) == SQLITE_BLOB;
        const void *const bytes = blob ? sqlite3_value_blob(values_[i]) : sqlite3_value_text(values_[i]);
        const auto size = static_cast<size_t>(sqlite3_value_bytes(values_[i]));
        if (bytes == nullptr && size > 0) throw std::bad_alloc();
        return {static_cast<const char *>(bytes), size};
    }
    std::string string(int i) const { return std::string(bytes(i)); }
    // A number without an exponent.
    std::string decimal(int i) const {
        const bool real = sqlite3_value_type(values_[i]) == SQLITE_FLOAT;
        return real ? without_exponent(bytes(i)) : string(i);
    }
    const sqlite3_value *value(int i) const { return values_[i]; }
    int passes(int i) const {
        if (!has(i)) return 0;
        const int passes = sqlite3_value_int(values_[i]);
        if (passes < -1 || passes > GL_MAX_PASSES)
            throw Error("passes are 1 to 8, -1 for all, or 0 for all and the bytes behind them");
        return passes;
    }
    bool truth(int i) const { return sqlite3_value_int(values_[i]) != 0; }
    const Locale &locale(int i) const { return connection().locale(bytes(i)); }
    const Locale &any_locale(int i) const { return connection().any_locale(bytes(i)); }

    void result(int number) const { sqlite3_result_int(context_, number); }
    void text(std::string_view text) const {
        sqlite3_result_text64(context_, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
    }
    void blob(std::string_view bytes) const { sqlite3_result_blob64(context_, bytes.data(), bytes.size(), SQLITE_TRANSIENT); }

  private:
    sqlite3_context *context_;
    int count_;
    sqlite3_value **values_;
};

void key(const Call &call) { call.blob(call.locale(1).key(call.bytes(0), call.passes(2))); }

void compare(const Call &call) { call.result(call.locale(2).compare(call.bytes(0), call.bytes(1), call.passes(3))); }

void like(const Call &call) {
    const std::string_view escape = call.has(4) ? call.bytes(4) : std::string_view();
    if (!escape.empty() && character_length(escape) != escape.size()) throw Error("an escape is one character");
    call.result(like(call.locale(2), call.bytes(0), call.bytes(1), call.passes(3), escape) ? 1 : 0);
}

// As a whole, for the other case of one character may be two; what stands between NULs by itself.
void change_case(const Call &call, int (*change)(gl_locale *, char *, const char *)) {
    const std::string text = call.string(0);
    const Locale &any = call.any_locale(1);
    // ICU's case goes with its version, which the fingerprint of its order tells.
    gl_locale *const handle = (qbgl_asks_for_icu(any.name().c_str()) ? call.locale(1) : any).handle();
    if (const size_t bad = first_bad(text); bad < text.size()) throw Error("no character of utf8" + place(text, bad));
    std::string changed;
    for (size_t at = 0, length = 0; at <= text.size(); at += length + 1) {
        const char *const part = text.c_str() + at;
        length = strlen(part);
        const size_t begin = changed.size();
        changed.resize(begin + static_cast<size_t>(gl_case_conv_outbuflen(handle, static_cast<int>(length))) + 1);
        gl_clear_errno(handle);
        const int size = change(handle, changed.data() + begin, part);
        if (size < 0 && gl_errno(handle) == GL_ENOMEM) throw std::bad_alloc();
        if (size < 0) throw Error(gl_strerror(gl_errno(handle)));
        changed.resize(begin + static_cast<size_t>(size) + 1); // its NUL
    }
    changed.pop_back();
    call.text(changed);
}
void upper(const Call &call) { change_case(call, gl_tombsupper); }
void lower(const Call &call) { change_case(call, gl_tombslower); }

void convert(const Call &call) {
    const Converters::Result converted = call.connection().converters.convert(call.bytes(0), call.bytes(1), call.bytes(2));
    converted.is_utf8 ? call.text(converted.text) : call.blob(converted.text);
}

void format_time(const Call &call) {
    const std::string seconds = call.connection().clock.seconds(call.value(1));
    if (seconds.empty()) throw Error(quoted(call.bytes(1)) + " is no time: such as 2024-12-24 18:00");
    call.text(write_time(call.any_locale(2), call.string(0), seconds));
}

void parse_time(const Call &call) { call.text(read_time(call.any_locale(2), call.string(0), call.string(1))); }

void money(const Call &call) { call.text(write_money(call.any_locale(1), call.decimal(0), call.has(2) ? call.string(2) : "%n")); }

void money_value(const Call &call) { call.text(read_money(call.any_locale(1), call.string(0))); }

void fingerprint(const Call &call) { call.text(call.any_locale(0).fingerprint()); }

void collation(const Call &call) {
    Connection &connection = call.connection();
    const std::string name(call.bytes(1));
    const int passes = call.passes(2);
    if (name.empty() || name.find('\0') != std::string::npos) throw Error("a collation needs a name");
    const std::string locale = connection.any_locale(call.bytes(0)).name();
    auto known = std::find_if(connection.named.begin(), connection.named.end(),
                              [&](const NamedCollation &named) { return sqlite3_stricmp(named.name.c_str(), name.c_str()) == 0; });
    if (known == connection.named.end()) known = connection.named.insert(known, {name, locale, passes, false});
    if (known->locale != locale || known->passes != passes) throw Error(quoted(name) + " is another collation already");
    if (!known->made) make_collation(*call.shared(), call.locale(0), name, passes);
    known->made = true;
    call.text(name);
}

void remember_orders(const Call &call) { call.result(remember(*call.shared())); }

void accept_order(const Call &call) {
    accept(call.connection(), call.bytes(0));
    call.text(call.any_locale(0).fingerprint());
}

// Who was refused an index has put it aside until the schema is read again.
void read_schema_again(sqlite3 *db) {
    Statement writable(db, "PRAGMA writable_schema");
    const bool stays_writable = writable.step() && writable.text(0) == "1";
    Statement(db, "PRAGMA writable_schema = RESET").step();
    if (stays_writable) Statement(db, "PRAGMA writable_schema = ON").step();
}

void allow_icu(const Call &call) {
    if (!call.connection().last_error().empty()) read_schema_again(call.connection().db());
    call.connection().allow_icu(call.truth(0));
    call.result(call.connection().icu_allowed() ? 1 : 0);
}

void last_error(const Call &call) {
    if (!call.connection().last_error().empty()) call.text(call.connection().last_error());
}

using Body = void (*)(const Call &);

// What is null is not looked at: the result is null, too.
template <Body BODY, int NEEDED> void run(sqlite3_context *context, int count, sqlite3_value **values) {
    const Call call(context, count, values);
    for (int i = 0; i < NEEDED; ++i)
        if (!call.has(i)) return;
    try {
        BODY(call);
    } catch (const std::bad_alloc &) {
        sqlite3_result_error_nomem(context);
    } catch (const std::length_error &) {
        sqlite3_result_error_toobig(context);
    } catch (const Error &error) {
        sqlite3_result_error(context, error.what(), -1);
        sqlite3_result_error_code(context, call.connection().note(error));
    }
}

void destroy(void *connection) { delete static_cast<std::shared_ptr<Connection> *>(connection); }

// What goes by data that no fingerprint guards is not pure: an index of it would be wrong under the next ones.
constexpr int HARMLESS = SQLITE_UTF8 | SQLITE_INNOCUOUS, PURE = HARMLESS | SQLITE_DETERMINISTIC,
              ACTS = SQLITE_UTF8 | SQLITE_DIRECTONLY;

constexpr struct {
    const char *name;
    int fewest, most; // arguments
    int flags;
    void (*run)(sqlite3_context *, int, sqlite3_value **);
} FUNCTIONS[] = {
    {"qbgl_key", 2, 3, PURE, run<key, 2>},
    {"qbgl_compare", 3, 4, PURE, run<compare, 3>},
    {"qbgl_like", 3, 5, PURE, run<like, 3>},
    {"qbgl_upper", 2, 2, PURE, run<upper, 2>},
    {"qbgl_lower", 2, 2, PURE, run<lower, 2>},
    {"qbgl_convert", 3, 3, PURE, run<convert, 3>},
    {"qbgl_strftime", 3, 3, HARMLESS, run<format_time, 3>},
    {"qbgl_strptime", 3, 3, HARMLESS, run<parse_time, 3>},
    {"qbgl_money", 2, 3, HARMLESS, run<money, 2>},
    {"qbgl_money_value", 2, 2, HARMLESS, run<money_value, 2>},
    {"qbgl_fingerprint", 1, 1, PURE, run<fingerprint, 1>},
    {"qbgl_collation", 2, 3, ACTS, run<collation, 2>},
    {"qbgl_remember", 0, 0, ACTS, run<remember_orders, 0>},
    {"qbgl_accept", 1, 1, ACTS, run<accept_order, 1>},
    {"qbgl_icu", 1, 1, ACTS, run<allow_icu, 1>},
    {"qbgl_last_error", 0, 0, HARMLESS, run<last_error, 0>}, // the last: by it is_equipped goes
};

} // namespace

bool is_equipped(sqlite3 *db) {
    sqlite3_stmt *statement = nullptr;
    const bool known = sqlite3_prepare_v2(db, "SELECT qbgl_last_error()", -1, &statement, nullptr) == SQLITE_OK;
    sqlite3_finalize(statement);
    return known;
}

int make_functions(const std::shared_ptr<Connection> &connection) {
    for (const auto &function : FUNCTIONS) {
        for (int count = function.fewest; count <= function.most; ++count) {
            auto *const data = new (std::nothrow) std::shared_ptr<Connection>(connection);
            if (data == nullptr) return SQLITE_NOMEM;
            const int result = sqlite3_create_function_v2(connection->db(), function.name, count, function.flags, data,
                                                          function.run, nullptr, nullptr, destroy);
            if (result != SQLITE_OK) return result; // SQLite has destroyed the data
        }
    }
    return SQLITE_OK;
}

} // namespace qbgl_sqlite
