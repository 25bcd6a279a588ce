// One allocation after the other fails, alone and with all behind it, of SQLite, of the extension and of the library within it: all
// of them come to this program's malloc. Whatever fails, nothing crashes, nothing is left behind, and what is answered is right.
#include "support/files.h"

#include <sqlite3.h>

#include <atomic>
#include <cstring>
#include <gtest/gtest.h>

extern "C" {
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);
void __libc_free(void *block);
}

namespace {

std::atomic<long> blocks;     // that are there
std::atomic<long> until = -1; // allocations up to the one that fails; negative: none will
std::atomic<bool> happened;   // it has
std::atomic<bool> lasting;    // those behind it fail as well

bool fails() {
    if (until < 0 || (until > 0 && until-- > 0)) return false;
    if (!lasting) until = -1;
    happened = true;
    return true;
}

} // namespace

extern "C" {
void *malloc(size_t size) {
    void *const block = fails() ? nullptr : __libc_malloc(size);
    blocks += block != nullptr;
    return block;
}
void *calloc(size_t count, size_t size) {
    void *const block = fails() ? nullptr : __libc_calloc(count, size);
    blocks += block != nullptr;
    return block;
}
void *realloc(void *before, size_t size) {
    if (fails()) return nullptr;
    void *const block = __libc_realloc(before, size);
    blocks += (block != nullptr) - (before != nullptr);
    return block;
}
void free(void *block) {
    blocks -= block != nullptr;
    __libc_free(block);
}
}

namespace {

using namespace qbgl_test;

struct Step {
    const char *sql, *answer;
};

constexpr Step IN_MEMORY[] = {
    {"CREATE TABLE n(name UNIQUE COLLATE qbgl_cs_CZ); INSERT INTO n VALUES('chata'), ('cihla'), ('hora')", ""},
    {"SELECT name FROM n ORDER BY name", "cihla hora chata "},
    {"SELECT name FROM n ORDER BY qbgl_key(name, 'cs_CZ')", "cihla hora chata "},
    {"SELECT qbgl_compare('a', 'Á', 'cs_CZ', 1)", "0 "},
    {"SELECT name FROM n WHERE qbgl_like('CI%', name, 'cs_CZ', 1)", "cihla "},
    {"SELECT qbgl_upper('žluť', 'cs_CZ'), qbgl_lower('ŽLUŤ', 'cs_CZ')", "ŽLUŤ žluť "},
    {"SELECT qbgl_convert(x'64F96D', '8859-2', 'utf8'), hex(qbgl_convert('dům', 'utf8', '8859-2'))", "dům 64F96D "},
    {"SELECT qbgl_strftime('%A', '2024-12-24', 'cs_CZ'), qbgl_strptime('3. října 2024', '%d. %B %Y', 'cs_CZ')",
     "Úterý 2024-10-03 00:00:00 "},
    {"SELECT qbgl_money('-1.5', 'cs_CZ', '%!n'), qbgl_money_value('-1,5', 'cs_CZ'), qbgl_money(1e20, 'cs_CZ', '%^!.0n')",
     "-1,50 -1.5 100000000000000000000 "},
    {"SELECT symbol FROM qbgl_symbols('aů', 'utf8')", "<U0061> <U016F> "},
    {"SELECT qbgl_collation('cs_CZ', 'czech', 1); SELECT 'Á' = 'a' COLLATE czech", "czech 1 "},
    {"CREATE VIRTUAL TABLE f USING fts5(t, tokenize = 'qbgl cs_CZ'); INSERT INTO f VALUES('Chata u lesa')", ""},
    {"SELECT t FROM f WHERE f MATCH 'chatá'", "Chata u lesa "},
    {"SELECT qbgl_remember(); PRAGMA integrity_check", "1 ok "},
};
constexpr Step IN_FOREIGN_FILE[] = {
    {"SELECT qbgl_accept('cs_CZ') = qbgl_fingerprint('cs_CZ')", "1 "},
    {"SELECT name FROM n ORDER BY name COLLATE qbgl_cs_CZ", "hora chata "},
};

#ifdef QBGL_ICU_TREE
constexpr Step OF_ICU[] = {
    {"SELECT qbgl_icu(1); CREATE TABLE n(name UNIQUE COLLATE \"qbgl_fr_CA@icu\")", "1 "},
    {"INSERT INTO n SELECT replace(hex(zeroblob(900)), '0', 'é') || column1 FROM (VALUES ('péché'), ('pêche'), ('péche'), "
     "('pêché'))",
     ""},
    {"REPLACE INTO n SELECT substr(name, 1, 1800) || 'pechE' FROM n LIMIT 1; DELETE FROM n WHERE name = (SELECT "
     "substr(name, 1, 1800) || 'pecHe' FROM n LIMIT 1); SELECT substr(name, 1801) FROM n ORDER BY name",
     "pechE péche pêche péché pêché "},
    {"SELECT hex(qbgl_key('a', 'cs_CZ@icu', 1)), qbgl_upper('Straße', 'de_DE@icu'); PRAGMA integrity_check", "2A STRASSE ok "},
};
#endif

char answer[512];

int take(void *, int count, char **values, char **) {
    for (int i = 0; i < count; ++i) {
        const size_t length = std::strlen(answer);
        sqlite3_snprintf(static_cast<int>(sizeof answer - length), answer + length, "%s ", values[i]);
    }
    return 0;
}

// The first statement that fails ends it. Allocates nothing itself.
template <size_t COUNT> void run(const char *file, const Step (&steps)[COUNT]) {
    sqlite3 *db = nullptr;
    int result = sqlite3_open(file, &db);
    if (result == SQLITE_OK) sqlite3_enable_load_extension(db, 1);
    if (result == SQLITE_OK) result = sqlite3_load_extension(db, QBGL_EXTENSION, nullptr, nullptr);
    for (const Step &step : steps) {
        answer[0] = '\0';
        if (result == SQLITE_OK) result = sqlite3_exec(db, step.sql, take, nullptr, nullptr);
        if (result == SQLITE_OK && std::strcmp(answer, step.answer) != 0) {
            until = -1;
            ADD_FAILURE() << step.sql << ": " << answer;
        }
    }
    until = -1;
    EXPECT_TRUE(result == SQLITE_OK || happened) << sqlite3_errmsg(db);
    EXPECT_EQ(sqlite3_close(db), SQLITE_OK);
}

// All of the first, then fewer and fewer: loading a locale asks for memory thousands of times. Returns how many failed.
template <class Prepare, size_t COUNT> int fail_one_by_one(const char *file, const Step (&steps)[COUNT], Prepare prepare) {
    int faults = 0;
    prepare();
    run(file, steps); // what the process keeps is there then
    for (long nth = 0;; nth += 1 + nth / 30) {
        for (const bool all : {false, true}) {
            long before = 0;
            for (int again = 0; again < 2 && (again == 0 || blocks > before); ++again) { // what the process keeps may come late
                prepare();
                before = blocks;
                happened = false;
                lasting = all;
                until = nth;
                run(file, steps);
            }
            EXPECT_LE(blocks, before) << nth;
        }
        if (!happened) return faults;
        ++faults;
        if (testing::Test::HasFailure()) return faults;
    }
}

TEST(SqliteExtensionFault, AnyAllocationMayFail) {
    EXPECT_GT(fail_one_by_one(":memory:", IN_MEMORY, [] {}), 100);
}

#ifdef QBGL_ICU_TREE
TEST(SqliteExtensionFault, AnyAllocationMayFailUnderIcu) {
    const ScopedEnv tree("QUORBANEDIR", QBGL_ICU_TREE);
    EXPECT_GT(fail_one_by_one(":memory:", OF_ICU, [] {}), 100);
}
#endif

TEST(SqliteExtensionFault, AnyAllocationMayFailWhileAnOrderIsAccepted) {
    const TempDir folder;
    const std::string file = folder / "n.db";
    EXPECT_GT(fail_one_by_one(file.c_str(), IN_FOREIGN_FILE,
                              [&] {
                                  std::filesystem::remove(file);
                                  constexpr Step FOREIGN[] = {{"CREATE TABLE n(name); CREATE INDEX i ON n(name COLLATE qbgl_cs_CZ);"
                                                               "INSERT INTO n VALUES('chata'), ('hora'); SELECT qbgl_remember();"
                                                               "UPDATE qbgl_collations SET fingerprint = '0123456789abcdef'",
                                                               "1 "}};
                                  run(file.c_str(), FOREIGN);
                              }),
              100);
}

} // namespace
