// The extension as programs that load it see it.
#include "support/client.h"

#include <sqlite3.h>

#include <random>

using namespace qbgl_test;
using namespace std::string_literals;

namespace {

using Database = std::unique_ptr<sqlite3, int (*)(sqlite3 *)>;

// Without QUORBANEDIR: the tree is found beside the extension.
Database open(const std::string &file = ":memory:", const char *encoding = "UTF-8") {
    sqlite3 *db = nullptr;
    EXPECT_EQ(sqlite3_open(file.c_str(), &db), SQLITE_OK);
    Database result(db, sqlite3_close);
    sqlite3_exec(db, ("PRAGMA encoding = '"s + encoding + "'").c_str(), nullptr, nullptr, nullptr);
    char *message = nullptr;
    sqlite3_enable_load_extension(db, 1);
    EXPECT_EQ(sqlite3_load_extension(db, QBGL_EXTENSION, nullptr, &message), SQLITE_OK) << (message != nullptr ? message : "");
    sqlite3_free(message);
    return result;
}

// The rows of a query, their values behind one another with commas, the rows with blanks; or the error. ?1 is the argument.
std::string ask(const Database &db, const std::string &sql, const std::string &argument = "") {
    std::string result;
    for (const char *rest = sql.c_str(); *rest != '\0';) {
        sqlite3_stmt *statement = nullptr;
        int state = sqlite3_prepare_v2(db.get(), rest, -1, &statement, &rest);
        if (state == SQLITE_OK && sqlite3_bind_parameter_count(statement) > 0)
            sqlite3_bind_text(statement, 1, argument.data(), static_cast<int>(argument.size()), SQLITE_STATIC);
        while (state == SQLITE_OK && (state = sqlite3_step(statement)) == SQLITE_ROW) {
            if (!result.empty()) result += ' ';
            for (int i = 0; i < sqlite3_column_count(statement); ++i) {
                const auto *const text = reinterpret_cast<const char *>(sqlite3_column_text(statement, i));
                result += (i > 0 ? ","s : ""s) + (text != nullptr ? text : "NULL");
            }
            state = SQLITE_OK;
        }
        if (state != SQLITE_OK && state != SQLITE_DONE && state != SQLITE_MISUSE) result = "error: "s + sqlite3_errmsg(db.get());
        sqlite3_finalize(statement);
        if (state != SQLITE_DONE) break;
    }
    return result;
}

// As an older installation would have written it.
void make_foreign(const Database &db) {
    ask(db, "UPDATE qbgl_collations SET fingerprint = '0123456789abcdef' WHERE locale LIKE 'cs_CZ%'");
}

TEST(SqliteExtension, Answers) {
    for (const char *encoding : {"UTF-8", "UTF-16le"}) {
        const Database db = open(":memory:", encoding);
        ask(db, "CREATE TABLE n(name); CREATE INDEX i ON n(name COLLATE qbgl_cs_CZ);"
                "INSERT INTO n VALUES('chata'),('cihla'),('hora'),('Čáp'),('čep'),('co'),('dům'),(NULL),(''),('🫨')");
        const struct {
            const char *sql, *answer;
        } CASES[] = {
            {"SELECT name FROM n ORDER BY name COLLATE qbgl_cs_CZ", "NULL  cihla co Čáp čep dům hora chata 🫨"},
            {"SELECT name FROM n WHERE name > 'h' COLLATE qbgl_cs_CZ AND name < 'i' COLLATE qbgl_cs_CZ", "hora chata"},
            {"SELECT name FROM n WHERE name = 'CAP' COLLATE qbgl_de_DE_1", "Čáp"},
            {"SELECT name FROM n WHERE qbgl_like('C%', name, 'cs_CZ', 1) ORDER BY name", "chata cihla co"},
            {"SELECT qbgl_like('%a%ta', 'chata', 'cs_CZ'), qbgl_like('c_ata', 'chata', 'cs_CZ'), qbgl_like('c', 'ch', 'cs_CZ'), "
             "qbgl_like('%', '', 'fr_FR')",
             "1,1,0,1"},
            {"SELECT qbgl_like('50!%', '50%', 'de_DE', 0, '!'), qbgl_like('50!%', '500', 'de_DE', 0, '!')", "1,0"},
            {"SELECT qbgl_like('a!', 'a', 'de_DE', 0, '!')", "error: a LIKE pattern must not end with the escape character"},
            {"SELECT qbgl_upper('žluťoučký', 'cs_CZ'), qbgl_lower('IŞIK', 'tr_TR')", "ŽLUŤOUČKÝ,ışık"},
            {"SELECT qbgl_compare('a', 'B', 'de_DE'), qbgl_compare('a', 'Á', 'de_DE', 1), qbgl_compare('a', NULL, 'de_DE')",
             "-1,0,NULL"},
            {"SELECT hex(qbgl_convert('dům', 'utf8', '8859-2')), qbgl_convert(x'64F96D', '8859-2', 'utf8')", "64F96D,dům"},
            {"SELECT qbgl_convert(x'61E3', 'utf8', 'sjis')", "error: no character of utf8 at offset 1 (bytes E3)"},
            {"SELECT qbgl_convert('aж', 'utf8', '8859-1')", "error: 8859-1 lacks the character at offset 1 (bytes D0 B6)"},
            {"SELECT qbgl_convert('dům', 'utf8', 'sjis')",
             "error: sjis has only an approximation of the character at offset 1 (bytes C5 AF 6D)"},
            {"SELECT qbgl_convert(x'61ED', 'utf-8', 'utf8')", "error: no character of utf-8 at offset 1 (bytes ED)"},
            {"SELECT qbgl_upper(x'61C3', 'cs_CZ')", "error: no character of utf8 at offset 1 (bytes C3)"},
            {"SELECT typeof(qbgl_convert('a', 'utf8', 'sjis')), typeof(qbgl_convert(x'61', 'sjis', 'utf8'))", "blob,text"},
            {"SELECT qbgl_strftime('%A %e. %B %Y, %R %Z', '2024-12-24 18:00', 'cs_CZ'), qbgl_strftime('%x', 2460669, 'de_DE')",
             "Úterý 24. prosince 2024, 18:00 UTC,24.12.2024"},
            {"SELECT qbgl_strftime('%FT%T%z-%j-%u', column1, 'cs_CZ') FROM (VALUES ('2024-02-29T23:30:59.999-01:00'), "
             "(2460310.25), "
             "('18:00'), ('0000-01-01'), (datetime(0, 'unixepoch')))",
             "2024-03-01T00:30:59+0000-061-5 2023-12-31T18:00:00+0000-365-7 2000-01-01T18:00:00+0000-001-6 "
             "0-01-01T00:00:00+0000-001-6 "
             "1970-01-01T00:00:00+0000-001-4"},
            {"SELECT qbgl_strftime('%s', 'now', 'de_DE') - strftime('%s', 'now') IN (0, 1), qbgl_strftime('%c', NULL, 'cs_CZ')",
             "1,NULL"},
            {"SELECT qbgl_strftime('%c', '2024-13-01', 'cs_CZ')", "error: \"2024-13-01\" is no time: such as 2024-12-24 18:00"},
            {"SELECT qbgl_strftime('%Ě', 'now', 'cs_CZ')",
             "error: \"%Ě\" has a conversion that there is not, or the calendar of cs_CZ.utf8 has no such date"},
            {"SELECT qbgl_strftime('%F', '0000-01-01', 'he_IL')", "0-01-01"},
            {"SELECT qbgl_strftime('%Y', '0000-01-01', 'he_IL')",
             "error: \"%Y\" has a conversion that there is not, or the calendar of he_IL.utf8 has no such date"},
            {"SELECT qbgl_strftime(x'25C3', 'now', 'cs_CZ')", "error: no character of utf8 at offset 1 (bytes C3)"},
            {"SELECT qbgl_strftime('%F' || char(0), 'now', 'cs_CZ')", "error: a format has no NUL"},
            {"SELECT length(qbgl_strftime('%5000Y', 'now', 'cs_CZ')), qbgl_strftime('%2147483647Y', 'now', 'cs_CZ')",
             "error: string or blob too big"},
            {"SELECT qbgl_strptime('3. ŘÍJNA 2024', '%d. %B %Y', 'cs_CZ'), qbgl_strptime('18:00', '%R', 'de_DE'), "
             "qbgl_strptime('31.12.99 23:59:60 -0100', '%d.%m.%y %T %z', 'de_DE'), qbgl_strptime('-1', '%s', 'de_DE')",
             "2024-10-03 00:00:00,2000-01-01 18:00:00,2000-01-01 01:00:00,1969-12-31 23:59:59"},
            {"SELECT qbgl_strptime('3. řijna', '%d. %B', 'cs_CZ')",
             "error: \"3. řijna\" is no time as \"%d. %B\" has it in cs_CZ.utf8"},
            {"SELECT qbgl_strptime('1.2.2024 x', '%d.%m.%Y', 'cs_CZ')",
             "error: a time as \"%d.%m.%Y\" has it in cs_CZ.utf8 ends at offset 8 (bytes 20 78) of \"1.2.2024 x\""},
            {"SELECT qbgl_strptime('30.2.2024', '%d.%m.%Y', 'cs_CZ')",
             "error: \"30.2.2024\" is no day, or part of one in the calendar of cs_CZ.utf8, which takes year, month and day"},
            {"SELECT qbgl_strptime('-44', '%Y', 'cs_CZ')", "error: SQLite has the years 0 to 9999"},
            {"SELECT qbgl_strptime('0000-01-01 +0100', '%F %z', 'cs_CZ')", "error: SQLite has the years 0 to 9999"},
            {"SELECT qbgl_strptime('1', '%!', 'cs_CZ')", "error: \"%!\" has a conversion that there is not"},
            {"SELECT qbgl_money('-12345678901234567890.005', 'de_DE'), qbgl_money(1234567, 'en_US', '%i'), qbgl_money(1.005, "
             "'en_US'), "
             "qbgl_money(-1.5e20, 'en_US', '%!.0n'), qbgl_money(1.2e-7, 'en_US', '%!.8n'), qbgl_money(NULL, 'en_US')",
             "-12.345.678.901.234.567.890,01 €,USD 1,234,567.00,$1.01,-150,000,000,000,000,000,000,0.00000012,NULL"},
            {"SELECT qbgl_money('1e3', 'cs_CZ')", "error: \"1e3\" is no amount: a sign, digits, a point, digits"},
            {"SELECT qbgl_money(9e999, 'cs_CZ')", "error: \"Inf\" is no amount: a sign, digits, a point, digits"},
            {"SELECT qbgl_money(1, 'cs_CZ', '%d')", "error: \"%d\" is no format of amounts: such as %n, or %i"},
            {"SELECT qbgl_money_value('-1.234.567,89 €', 'de_DE'), qbgl_money_value(qbgl_money(-7, 'en_US', '%-(20n'), 'en_US')",
             "-1234567.89,-7.00"},
            {"SELECT qbgl_money_value('1.5 €', 'de_DE')",
             "error: an amount in de_DE.utf8 ends at offset 1 (bytes 2E 35 20 E2) of \"1.5 €\""},
            {"SELECT qbgl_money_value('€', 'de_DE')", "error: \"€\" is no amount in de_DE.utf8"},
            {"CREATE INDEX j ON n(qbgl_money(name, 'cs_CZ'))",
             "error: non-deterministic functions prohibited in index expressions"},
            {"SELECT qbgl_convert('a', 'utf8', '../x')", "error: \"../x\" is no name of a codeset"},
            {"SELECT qbgl_key('a', '/etc/cs_CZ')", "error: \"/etc/cs_CZ\" is no name of a locale: such as cs_CZ, or cs_CZ.utf8"},
            {"SELECT qbgl_key('a', 'cs_CZ.utf8' || char(0) || '/x') IS NULL",
             "error: \"cs_CZ.utf8?/x\" is no name of a locale: such as cs_CZ, or cs_CZ.utf8"},
            {"SELECT qbgl_key('a', printf('cs_CZ.%.*c', 100000, 'a')) IS NULL",
             "error: \"cs_CZ.aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa\" is no name of a locale: such as cs_CZ, or cs_CZ.utf8"},
            {"SELECT qbgl_key('a', 'cs_CZ.8859-2')", "error: SQLite keeps text in UTF-8: take cs_CZ.utf8 instead of cs_CZ.8859-2"},
            {"SELECT qbgl_key('a', 'xx_XX'), 1", "error: the locale xx_XX.utf8 cannot be loaded: file not found or unreadable "
                                                 "(is it installed, and QUORBANEDIR set?)"},
            {"SELECT qbgl_compare('a', 'b', 'de_DE', 9)",
             "error: passes are 1 to 8, -1 for all, or 0 for all and the bytes behind them"},
            {"SELECT 1 FROM n ORDER BY name COLLATE qbgl_xx_XX", "error: no such collation sequence: qbgl_xx_XX"},
            {"SELECT qbgl_last_error() LIKE 'the locale xx_XX.utf8 cannot be loaded%'", "1"},
            {"SELECT qbgl_collation('cs_cz.UTF-8', 'czech', 1)", "czech"},
            {"SELECT qbgl_collation('cs_CZ', 'Czech', 1), qbgl_collation('cs_CZ', 'czech', 2)",
             "error: \"czech\" is another collation already"},
            {"SELECT 'ČÁP' = 'čap' COLLATE czech, 'c' = 'č' COLLATE czech", "1,0"},
            {"SELECT count(*) FROM qbgl_locales WHERE name IN ('cs_CZ.utf8', 'ja_JP.sjis')", "2"},
            {"SELECT count(*) FROM qbgl_codesets WHERE name = 'sjis'", "1"},
            {"SELECT position, hex(bytes), symbol FROM qbgl_symbols('aů', 'utf8')", "0,61,<U0061> 1,C5AF,<U016F>"},
            {"CREATE VIRTUAL TABLE f USING fts5(t, tokenize = 'qbgl cs_CZ')", ""},
            {"INSERT INTO f VALUES('Žluťoučký kůň úpěl'), ('Chata u lesa')", ""},
            {"SELECT t FROM f WHERE f MATCH 'KUN OR chatá'", "Žluťoučký kůň úpěl Chata u lesa"},
            {"SELECT count(*) FROM f WHERE f MATCH 'chat'", "0"},
            {"CREATE VIRTUAL TABLE g USING fts5(t, tokenize = 'qbgl xx_XX')", "error: error in tokenizer constructor"},
            {"PRAGMA integrity_check", "ok"},
        };
        for (const auto &[sql, answer] : CASES) EXPECT_EQ(ask(db, sql), answer) << sql << " in " << encoding;
    }
}

// A connection without the extension, which has the order of another installation: by bytes.
Database open_older(const std::string &file) {
    sqlite3 *db = nullptr;
    EXPECT_EQ(sqlite3_open(file.c_str(), &db), SQLITE_OK);
    const auto by_bytes = [](void *, int a_size, const void *a, int b_size, const void *b) {
        return std::string_view(static_cast<const char *>(a), static_cast<size_t>(a_size))
            .compare({static_cast<const char *>(b), static_cast<size_t>(b_size)});
    };
    for (const char *name : {"czech", "qbgl_cs_CZ"}) sqlite3_create_collation(db, name, SQLITE_UTF8, nullptr, by_bytes);
    return {db, sqlite3_close};
}

// Everything that has to do with an order is refused under another one, until it is accepted, and nothing has changed where that
// fails.
TEST(SqliteExtension, AForeignOrderIsRefusedUntilItIsAccepted) {
    const TempDir folder;
    const std::string file = folder / "order.db", sorted = "SELECT name FROM n ORDER BY name COLLATE qbgl_cs_CZ",
                      refused = "error: no such collation sequence: qbgl_cs_CZ",
                      present = ask(open(), "SELECT qbgl_fingerprint('cs_CZ')");
    ask(open(file),
        "CREATE TABLE o(a UNIQUE COLLATE qbgl_da_DK, b AS (qbgl_key(a, 'sv_SE')), c CHECK (qbgl_upper(c, 'fr_FR') <> ''));"
        "CREATE INDEX x ON o(\"QBGL_compare\" (a, 'hu_HU' /* ' */, 'de_DE'), \"b\", qbgl_key(a, 'pl_' || 'PL'));"
        "CREATE VIRTUAL TABLE g USING fts5(t, tokenize = 'qbgl sk_SK')");
    {
        const Database db = open(file);
        ask(db, "CREATE TABLE n(name); CREATE INDEX i ON n(name COLLATE qbgl_cs_CZ); INSERT INTO n VALUES('chata'), ('hora');"
                "CREATE INDEX k ON n(qbgl_key(name, 'cs_CZ')); SELECT qbgl_collation('cs_CZ', 'czech', 1);"
                "CREATE TABLE c(name UNIQUE COLLATE czech); INSERT INTO c SELECT name FROM n;"
                "CREATE VIRTUAL TABLE f USING fts5(name, content = n, tokenize = 'qbgl cs_CZ');"
                "CREATE TABLE w(name TEXT PRIMARY KEY COLLATE qbgl_cs_CZ) WITHOUT ROWID; INSERT INTO w SELECT name FROM n");
        EXPECT_EQ(ask(db, "SELECT qbgl_remember(); SELECT locale FROM qbgl_collations ORDER BY 1; SELECT qbgl_remember()"),
                  "5 cs_CZ.utf8 da_DK.utf8 de_DE.utf8 sk_SK.utf8 sv_SE.utf8 0");
        make_foreign(db);
        EXPECT_EQ(ask(db, "SELECT qbgl_remember(); " + sorted), "0 hora chata") << "this connection has the order that it wrote";
        EXPECT_NE(ask(db, "SELECT qbgl_key('', 'cs_CZ')").find("another order"), std::string::npos) << "but looks again";
    }
    {
        const Database older = open_older(file);
        EXPECT_EQ(ask(older, "DROP INDEX k; REINDEX n; REINDEX w; REINDEX c; " + sorted), "chata hora");
    }
    const Database db = open(file);
    EXPECT_EQ(ask(db, sorted), refused);
    const std::string reason = ask(db, "SELECT qbgl_last_error()");
    EXPECT_NE(reason.find("another order of cs_CZ.utf8 (0123456789abcdef, here " + present), std::string::npos) << reason;
    EXPECT_NE(reason.find("REINDEX"), std::string::npos) << reason;
    for (const char *sql : {"SELECT qbgl_key('a', 'cs_CZ')", "SELECT qbgl_compare('a', 'b', 'cs_cz.UTF-8')",
                            "SELECT qbgl_like('', '', 'cs_CZ')", "SELECT qbgl_collation('cs_CZ.utf8', 'czech', 1)"})
        EXPECT_EQ(ask(db, sql), "error: " + reason);
    EXPECT_EQ(ask(db, "INSERT INTO w VALUES('x')"), refused);
    EXPECT_EQ(ask(db, "SELECT * FROM f WHERE f MATCH 'chata'"), "error: error in tokenizer constructor");
    EXPECT_EQ(ask(db, "SELECT qbgl_upper('č', 'cs_CZ')"), "Č") << "which has nothing to do with the order";

    // What stands in the way.
    EXPECT_EQ(ask(db, "BEGIN; SELECT qbgl_accept('cs_CZ')"), "error: an order is accepted outside of a transaction");
    ask(db, "ROLLBACK");
    {
        const Database other = open(file);
        ask(other, "BEGIN IMMEDIATE");
        EXPECT_EQ(ask(db, "SELECT qbgl_accept('cs_CZ')"), "error: database is locked");
        ask(other, "ROLLBACK");
        const Database older = open_older(file);
        ask(older, "INSERT INTO c VALUES('CHATA')"); // the same to `czech`
        EXPECT_EQ(ask(db, "SELECT qbgl_accept('cs_CZ')"), "error: UNIQUE constraint failed: c.name");
        EXPECT_EQ(ask(db, sorted), refused);
        EXPECT_EQ(ask(older, "DELETE FROM c WHERE name = 'CHATA'"), "");
    }
    EXPECT_EQ(ask(db, "REINDEX w; SELECT qbgl_accept('cs_CZ.utf8')"), refused) << "an error ends the line";
    EXPECT_EQ(ask(db, "SELECT qbgl_accept('cs_CZ.utf8')"), present);
    const auto all_is_well = [&](const Database &at) {
        EXPECT_EQ(ask(at, sorted + "; SELECT name FROM w ORDER BY name"), "hora chata hora chata");
        EXPECT_EQ(ask(at, "SELECT qbgl_collation('cs_CZ', 'czech', 1); PRAGMA integrity_check"), "czech ok");
        EXPECT_EQ(ask(at, "SELECT name FROM f WHERE f MATCH 'CHATÁ'"), "chata") << "the index is filled anew";
    };
    all_is_well(db);
    all_is_well(open(file));
    EXPECT_EQ(ask(db, "REINDEX; SELECT qbgl_accept('cs_CZ.utf8')"), present) << "accepted already";

    // A database that is attached before a locale is asked for.
    make_foreign(db);
    const Database main = open(folder / "main.db");
    ask(main, "ATTACH ':memory:' AS old; SELECT qbgl_compare('a', 'b', 'cs_CZ'); DETACH old");
    ask(main, "ATTACH '" + file + "' AS old");
    EXPECT_EQ(ask(main, "SELECT name FROM old.n ORDER BY name COLLATE qbgl_cs_CZ"), refused);
    ask(main, "SELECT qbgl_collation('cs_CZ', 'czech', 1)");
    EXPECT_EQ(ask(main, "SELECT qbgl_accept('cs_CZ'); SELECT name FROM old.n ORDER BY name COLLATE qbgl_cs_CZ"),
              present + " hora chata");
    EXPECT_EQ(ask(open(), "SELECT qbgl_accept('cs_CZ')"),
              "error: the database main has no file: what is in memory is built anew from a file");
}

// The object of a locale is replaced by another while a connection is at work: it stays at its order, and the next one is refused.
TEST(SqliteExtension, AReplacedLocaleIsAnotherOrderToTheNextConnection) {
    const TempDir folder;
    const std::string lc = folder / "vrn/lc11/", file = folder / "n.db",
                      sorted = "SELECT name FROM n ORDER BY name COLLATE qbgl_cs_CZ";
    std::filesystem::create_directories(lc + "cs_cz");
    std::filesystem::create_directory_symlink(QBGL_TREE "/vrn/cm3", folder / "vrn/cm3");
    const auto install = [&](const char *object) {
        write_file(lc + "cs_cz/e01c.lco", read_file(QBGL_TREE "/vrn/lc11/"s + object));
    };
    const ScopedEnv tree("QUORBANEDIR", folder.path().string());
    install("cs_cz/e01c.lco");
    const Database before = open(file);
    ask(before, "CREATE TABLE n(name); CREATE INDEX i ON n(name COLLATE qbgl_cs_CZ); INSERT INTO n VALUES('chata'), ('hora');"
                "SELECT qbgl_remember()");
    install("de_de/e01c.lco");
    EXPECT_EQ(ask(before, "INSERT INTO n VALUES('cihla'); PRAGMA integrity_check; " + sorted), "ok cihla hora chata");
    EXPECT_EQ(ask(open(file), sorted), "error: no such collation sequence: qbgl_cs_CZ");
    make_foreign(before);
    EXPECT_EQ(ask(before, "SELECT qbgl_accept('cs_CZ')"),
              "error: the locale cs_CZ.utf8 was replaced after this connection had loaded it: accept it in a new one");
    write_file(lc + "cs_cz/e01c.lco", "damaged");
    const Database after = open(file);
    EXPECT_EQ(ask(after, sorted), "error: no such collation sequence: qbgl_cs_CZ");
    EXPECT_NE(ask(after, "SELECT qbgl_last_error()").find("cannot be loaded: "), std::string::npos);
    EXPECT_EQ(ask(before, sorted), "cihla hora chata");
}

#ifdef QBGL_ICU_TREE

// An index of ICU's order, the library's own beside it, and why the one is refused where ICU is not allowed, missing or another.
TEST(SqliteExtension, IcuServesThoseWhoAskForIt) {
    const auto has_icu = [] { return read_file("/proc/self/maps").find("libicu") != std::string::npos; };
    const TempDir folder;
    const std::string file = folder / "n.db", key = "SELECT hex(qbgl_key('', 'cs_CZ@icu'))",
                      refused = "error: ICU does not serve the "
                                "locale cs_CZ.utf8@icu: ";
    const std::string own = ask(open(), "SELECT qbgl_fingerprint('cs_CZ')"),
                      advice = " (qbglc tree --icu puts it into an installation)";
    std::filesystem::create_directories(folder / "vrn/etc");
    for (const char *part : {"lc11", "cm3", "cv9"})
        std::filesystem::create_directory_symlink(QBGL_ICU_TREE "/vrn/"s + part, folder / "vrn/"s + part);
    const ScopedEnv tree("QUORBANEDIR", folder.path().string());
    const Database db = open(file);
    EXPECT_EQ(ask(db, key), "error: the locale cs_CZ.utf8@icu is ICU's, which is not in use here: SELECT qbgl_icu(1) allows it, or "
                            "GL_USEGLU=1 in the environment");
    EXPECT_FALSE(has_icu());
    ask(db, "SELECT qbgl_icu(1)");
    const std::string missing = "a file of the extension library is missing or damaged: vrn/etc/dllregistry, icudata or locmap";
    EXPECT_EQ(ask(db, key), refused + missing + advice);
    write_file(folder / "vrn/etc/dllregistry", "qbgl_icu.so\n");
    EXPECT_EQ(ask(db, key),
              refused + folder / "vrn/dll/qbgl_icu.so" + ": cannot open shared object file: No such file or directory" + advice);
    std::filesystem::create_directory(folder / "vrn/dll");
    std::string versionless = read_file(QBGL_ICU_TREE "/vrn/dll/qbgl_icu.so");
    write_file(folder / "vrn/dll/qbgl_icu.so", versionless);
    write_file(folder / "vrn/etc/icudata", "packaged 71\n");
    EXPECT_EQ(ask(db, key), refused + "vrn/etc/icudata is for another version of ICU" + advice);
    for (const char *part : {"icudata", "locmap"})
        write_file(folder / "vrn/etc/"s + part, read_file(QBGL_ICU_TREE "/vrn/etc/"s + part));
    // A process keeps what it has loaded: an extension that does not tell its order's version gets one of its own.
    const auto take_versionless = [&] {
        versionless[versionless.find("glu_order_version")] = 'x';
        write_file(folder / "vrn/dll/x.so", versionless);
        write_file(folder / "vrn/etc/dllregistry", "x.so\n");
        fputs(ask(db, key).c_str(), stderr);
        _exit(0);
    };
    EXPECT_EXIT(take_versionless(), testing::ExitedWithCode(0), "does not tell its order's version");
    write_file(folder / "vrn/etc/dllregistry", "qbgl_icu.so\n");
    const struct {
        const char *sql;
        std::string answer;
    } CASES[] = {
        {"SELECT qbgl_fingerprint('xx_XX@icu')",
         "error: the locale xx_XX.utf8@icu cannot be loaded: file not found or unreadable (is it installed, and QUORBANEDIR set?)"},
        {"CREATE TABLE n(name TEXT COLLATE \"qbgl_cs_CZ@icu\"); CREATE INDEX i ON n(name); CREATE INDEX o ON n(name COLLATE "
         "qbgl_cs_CZ);"
         "INSERT INTO n VALUES ('hora'), ('chata'), ('🫨'), ('Čáp'), ('co'); SELECT name FROM n ORDER BY name",
         "🫨 co Čáp hora chata"},
        {"SELECT name FROM n ORDER BY qbgl_key(name, 'cs_cz@icu')", "🫨 co Čáp hora chata"},
        {"SELECT name FROM n ORDER BY name COLLATE qbgl_cs_CZ", "co Čáp hora chata 🫨"},
        {"SELECT name FROM n WHERE name > 'h' AND name < 'i' OR name = 'CAP' COLLATE \"qbgl_de_DE@icu_1\"", "hora chata Čáp"},
        {"SELECT name FROM n WHERE qbgl_like('ČA%', name, 'cs_CZ@icu', 1)", "Čáp"},
        {"SELECT hex(qbgl_upper('Straße' || char(0) || 'ß', 'de_DE@icu')), qbgl_upper('ß', 'de_DE')", "53545241535345005353,ß"},
        {"SELECT qbgl_strftime('%A', '2024-12-24', 'cs_CZ@icu'), qbgl_compare('đ', 'e', 'sr_Latn_RS@icu')", "Úterý,-1"},
        {"CREATE VIRTUAL TABLE f USING fts5(t, tokenize = \"qbgl 'cs_CZ@icu'\"); INSERT INTO f VALUES ('Žluťoučký kůň');"
         "SELECT t FROM f WHERE f MATCH 'KUŇ'",
         "Žluťoučký kůň"},
        {"SELECT qbgl_convert('dům', 'utf8', 'sjis')",
         "error: sjis has only an approximation of the character at offset 1 (bytes C5 AF 6D)"},
        {"SELECT qbgl_fingerprint('cs_CZ'), qbgl_fingerprint('cs_CZ') = qbgl_fingerprint('cs_CZ@icu')", own + ",0"},
        {"CREATE TABLE w(name PRIMARY KEY COLLATE \"qbgl_cs_CZ@icu\") WITHOUT ROWID; INSERT INTO w VALUES ('chata')", ""},
        {"SELECT qbgl_remember(); PRAGMA integrity_check", "5 ok"},
    };
    for (const auto &[sql, answer] : CASES) EXPECT_EQ(ask(db, sql), answer) << sql;
    EXPECT_TRUE(has_icu());
    const std::string sorted = "SELECT name FROM n ORDER BY name",
                      no_collation = "error: no such collation sequence: qbgl_cs_CZ@icu";
    {
        const Database later = open(file);
        for (const std::string &sql : {sorted, "INSERT INTO w VALUES ('co')"s})
            EXPECT_EQ(ask(later, sql), no_collation) << "ICU is not asked for";
        EXPECT_EQ(ask(later, "SELECT qbgl_icu(1); INSERT INTO w VALUES ('hora'); SELECT name FROM w"), "1 hora chata");
    }
    make_foreign(db);
    const ScopedEnv wish("GL_USEGLU", "1");
    const Database other = open(file);
    EXPECT_EQ(ask(other, sorted), no_collation);
    for (const char *sql : {"SELECT qbgl_last_error()", "SELECT qbgl_upper('a', 'cs_CZ@icu')"})
        EXPECT_NE(ask(other, sql).find("another order of cs_CZ.utf8@icu (0123456789abcdef"), std::string::npos) << sql;
    EXPECT_EQ(ask(other, "SELECT qbgl_accept('cs_CZ@icu') = qbgl_fingerprint('cs_CZ@icu')"), "1");
    EXPECT_EQ(ask(other, sorted), "🫨 co Čáp hora chata");
}

#endif

// The words of the examples, and of nothing that makes indexes go wrong elsewhere: as the client sorts them, by collation and by
// key.
TEST(SqliteExtension, OrdersAsTheClientDoes) {
    const TempDir folder;
    const Database db = open();
    ask(db, "CREATE TABLE n(name)");
    std::string words;
    for (const auto &entry : std::filesystem::directory_iterator(QBGL_SOURCE_DIR "/examples/text")) {
        std::istringstream text(read_file(entry.path()));
        for (std::string word; text >> word;) words += word + '\n', ask(db, "INSERT INTO n VALUES (?1)", word);
    }
    write_file(folder / "words", words);
    for (const char *locale : {"cs_CZ", "da_DK", "de_DE", "fr_CA", "hu_HU", "ja_JP", "ru_RU", "th_TH", "tr_TR", "zh_CN"}) {
        std::string sorted = qbgl("sort -l "s + locale + ".utf8 " + folder / "words").out;
        std::replace(sorted.begin(), sorted.end(), '\n', ' ');
        EXPECT_GT(sorted.size(), 10000U);
        EXPECT_TRUE(ask(db, "SELECT name FROM n ORDER BY name COLLATE qbgl_"s + locale) + ' ' == sorted) << locale;
        EXPECT_TRUE(ask(db, "SELECT name FROM n ORDER BY qbgl_key(name, '"s + locale + "')") + ' ' == sorted) << locale;
    }
}

// A file that one word size has written is read by the other: QBGL_WORDS_DB names what the test of another preset has left
// (scripts/check), and without it the test reads its own.
TEST(SqliteExtension, OneFileServesBothWordSizes) {
    const std::string own = QBGL_BINARY_DIR "/hosts/sqlite/words.db";
    const char *const given = getenv("QBGL_WORDS_DB");
    if (given == nullptr) {
        std::filesystem::remove(own);
        ask(open(own),
            "CREATE TABLE n(name UNIQUE COLLATE qbgl_cs_CZ, key AS (qbgl_key(name, 'cs_CZ')) STORED); CREATE INDEX k ON n(key);"
            "WITH RECURSIVE count(i) AS (VALUES (1) UNION ALL SELECT i + 1 FROM count WHERE i < 2000) INSERT INTO n(name) "
            "SELECT char(97 + i * 7 % 26, 99, 104 + i % 3, 225 + i * 5 % 300, 97 + i % 26) || i FROM count; SELECT "
            "qbgl_remember()");
    }
    const Database db = open(given != nullptr ? given : own);
    EXPECT_EQ(ask(db, "PRAGMA integrity_check; SELECT count(*), sum(key = qbgl_key(name, 'cs_CZ')) FROM n"), "ok 2000,2000");
}

// Words with everything that makes indexes go wrong elsewhere: bytes that are no character, NULs, new characters, long and empty
// ones.
TEST(SqliteExtension, IndexesStaySoundUnderAnyChange) {
    const std::string pieces[] = {"c", "ch", "C", "é", "e\u0301", "\xFF", "\xC3", "\0"s, "🫨", "🪾", "漢", "か", "-", " "};
    for (const char *encoding : {"UTF-8", "UTF-16le", "UTF-16be"}) {
        const Database db = open(":memory:", encoding);
        ask(db, "CREATE TABLE n(id INTEGER PRIMARY KEY, name TEXT); CREATE INDEX a ON n(name COLLATE qbgl_cs_CZ);"
                "CREATE INDEX b ON n(name COLLATE qbgl_fr_CA_1); CREATE UNIQUE INDEX c ON n(qbgl_key(name, 'ja_JP'), id);"
                "CREATE TABLE u(name TEXT UNIQUE COLLATE qbgl_fr_CA_1)");
        std::mt19937 random(1);
        const auto word = [&] {
            std::string text;
            const size_t lengths[] = {random() % 3000, 300000};
            for (size_t length = random() % 200 == 0 ? lengths[random() % 16 == 0] : random() % 6; length > 0; --length)
                text += pieces[random() % std::size(pieces)];
            return text;
        };
        ask(db, "BEGIN");
        for (int i = 0; i < 4000; ++i) {
            const std::string id = std::to_string(random() % 1500);
            const std::string changes[] = {
                "INSERT OR REPLACE INTO n(name, id) VALUES (?1, " + id + ")", "UPDATE n SET name = ?1 WHERE id = " + id,
                "DELETE FROM n WHERE name > ?1 COLLATE qbgl_cs_CZ AND id = " + id, "INSERT OR IGNORE INTO u VALUES (?1)"};
            EXPECT_EQ(ask(db, changes[random() % 4], word()), "");
        }
        ask(db, "COMMIT");
        EXPECT_EQ(ask(db, "PRAGMA integrity_check"), "ok") << encoding;
        EXPECT_EQ(ask(db, "SELECT count(*) FROM (SELECT name, lag(name) OVER (ORDER BY name COLLATE qbgl_cs_CZ) AS before FROM n) "
                          "WHERE qbgl_compare(before, name, 'cs_CZ') > 0"),
                  "0");
        // By comparison and by key, which tell apart the same.
        for (const char *pair : {"qbgl_fr_CA_1', 1", "qbgl_cs_CZ', 0"}) {
            const std::string collation(pair, strcspn(pair, "'")), passes = strchr(pair, ',');
            const std::string key = "qbgl_key(name, '" + collation.substr(5, 5) + "'" + passes + ")";
            const std::string keys = ask(db, "SELECT count(DISTINCT " + key + ") FROM n");
            EXPECT_EQ(ask(db, "SELECT count(DISTINCT name COLLATE " + collation + ") FROM n"), keys) << collation << encoding;
        }
        EXPECT_EQ(ask(db, "SELECT count(*) = count(DISTINCT qbgl_key(name, 'fr_CA', 1)) FROM u"), "1");
    }
}

} // namespace
