// Indexes of SQLite by the extension's collation and by its keys, beside SQLite's own order by bytes:
//   build/<preset>/sqlite_bench [LOCALE [WORDS]]     de_DE and the word list of package wngerman
// User time, the lowest of several runs that take turns; in brackets, times that of BINARY.
#include <sqlite3.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <functional>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <vector>

namespace {

constexpr int RUNS = 5;
constexpr size_t LOOKUPS = 100000;

using Database = std::unique_ptr<sqlite3, int (*)(sqlite3 *)>;
using Statement = std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt *)>;

void check(sqlite3 *db, bool good) {
    if (!good) throw std::runtime_error(sqlite3_errmsg(db));
}

Statement prepare(const Database &db, const std::string &sql) {
    sqlite3_stmt *statement = nullptr;
    check(db.get(), sqlite3_prepare_v2(db.get(), sql.c_str(), -1, &statement, nullptr) == SQLITE_OK);
    return {statement, sqlite3_finalize};
}

// Goes over all rows; their number.
size_t run(const Database &db, sqlite3_stmt *statement) {
    size_t rows = 0;
    int result = 0;
    while ((result = sqlite3_step(statement)) == SQLITE_ROW) ++rows;
    check(db.get(), result == SQLITE_DONE);
    sqlite3_reset(statement);
    return rows;
}
size_t run(const Database &db, const std::string &sql) { return run(db, prepare(db, sql).get()); }

size_t run_with(const Database &db, sqlite3_stmt *statement, const std::string &text) {
    sqlite3_bind_text(statement, 1, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
    return run(db, statement);
}

Database open() {
    sqlite3 *db = nullptr;
    check(db, sqlite3_open(":memory:", &db) == SQLITE_OK);
    sqlite3_enable_load_extension(db, 1);
    check(db, sqlite3_load_extension(db, QBGL_EXTENSION, nullptr, nullptr) == SQLITE_OK);
    return {db, sqlite3_close};
}

std::vector<std::string> shuffled_words(const char *file) {
    std::ifstream in(file);
    std::vector<std::string> words;
    for (std::string word; std::getline(in, word);) words.push_back(word);
    if (words.empty()) throw std::runtime_error(std::string("no words in ") + file);
    std::sort(words.begin(), words.end());
    words.erase(std::unique(words.begin(), words.end()), words.end());
    std::shuffle(words.begin(), words.end(), std::mt19937(1));
    return words;
}

double user_seconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec) + static_cast<double>(usage.ru_utime.tv_usec) / 1e6;
}

double seconds_of(const std::function<void()> &work) {
    const double before = user_seconds();
    work();
    return user_seconds() - before;
}

// An order: what to sort by, and what to look for.
struct Side {
    const char *name;
    std::string order, sought;
    double create = 1e9, sort = 1e9, seek = 1e9;
};

void measure(const Database &db, const std::vector<std::string> &words, Side &side) {
    side.sort = std::min(side.sort, seconds_of([&] { run(db, "SELECT name FROM words ORDER BY " + side.order); }));
    side.create = std::min(side.create, seconds_of([&] { run(db, "CREATE INDEX i ON words(" + side.order + ")"); }));
    const Statement find = prepare(db, "SELECT 1 FROM words WHERE " + side.order + " = " + side.sought);
    side.seek = std::min(side.seek, seconds_of([&] {
                             for (size_t i = 0; i < std::min(LOOKUPS, words.size()); ++i)
                                 check(db.get(), run_with(db, find.get(), words[i]) > 0);
                         }));
    run(db, "DROP INDEX i");
}

void print(const char *work, const std::vector<Side> &sides, double Side::*seconds, size_t operations) {
    std::printf("%-26s", work);
    for (const Side &side : sides)
        std::printf("  %-10s %7.0f ns (%.2f)", side.name, side.*seconds * 1e9 / static_cast<double>(operations),
                    side.*seconds / sides.front().*seconds);
    std::printf("\n");
}

} // namespace

int main(int argc, char **argv) {
    try {
        const std::string locale = argc > 1 ? argv[1] : "de_DE";
        const std::vector<std::string> words = shuffled_words(argc > 2 ? argv[2] : "/usr/share/dict/ngerman");
        const Database db = open();
        run(db, "CREATE TABLE words(name TEXT, key BLOB)");
        run(db, "BEGIN");
        const Statement insert = prepare(db, "INSERT INTO words VALUES (?1, qbgl_key(?1, '" + locale + "'))");
        for (const std::string &word : words) run_with(db, insert.get(), word);
        run(db, "COMMIT");
        const std::string collation = "name COLLATE qbgl_" + locale, key = "qbgl_key(?1, '" + locale + "')";
        std::vector<Side> sides = {{"BINARY", "name", "?1"},
                                   {"collation", collation, "?1"},
                                   {"letters", collation + "_1", "?1"},
                                   {"key", "key", key},
                                   {"expression", "qbgl_key(name, '" + locale + "')", key}};
        for (int i = 0; i < RUNS; ++i)
            for (Side &side : sides) measure(db, words, side);
        std::printf("%zu words under %s, a word each\n", words.size(), locale.c_str());
        print("ORDER BY", sides, &Side::sort, words.size());
        print("CREATE INDEX", sides, &Side::create, words.size());
        print("look-up", sides, &Side::seek, std::min(LOOKUPS, words.size()));
        return 0;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "sqlite_bench: %s\n", error.what());
        return 1;
    }
}
