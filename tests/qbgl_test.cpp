// The client as its users see it: the built program is run, and its output, messages and exit status are looked at.
#include "support/client.h"

#include <algorithm>
#include <random>

using namespace qbgl_test;
using namespace std::string_literals;

namespace {

const std::string OTHER_CODESET = "; is the text in another codeset (-f)? -c leaves such bytes out";

TEST(Client, MessagesTellPlaceBytesReasonAndRemedy) {
    const std::string at = "qbgl: standard input:";
    const std::string similar = " by similar characters (--report names them, --strict refuses them)";
    const std::string lacks_it = "; choose a target (-t) that has it, or leave such characters out with -c\n";
    const std::vector<Case> CASES = {
        {"-t 8859-1", "a\nxy\xE2\x80\x94z", 1, "a\nxy",
         at + "2:3: offset 4, bytes E2 80 94: 8859-1 has no such character of utf8" + lacks_it},
        {"-t 8859-1 -", "\xC3\xA4\xFF", 1, "\xE4", at + "1:2: offset 2, byte FF: no character of utf8" + OTHER_CODESET + "\n"},
        {"-t 8859-1", "\xE2\x82", 1, "",
         at + "1:1: offset 0, bytes E2 82: the text ends inside a character of utf8; was it cut short? -c leaves the rest out\n"},
        {"-c -t 8859-1", "a\xFF\xFE\xE2\x80\x94\xC3\xA4\xE2", 1, "a\xE4", "qbgl: 4 left out\n"},
        {"-c --report -t sjis", "ok\n\xC3\xA4\xFF", 1, "ok\na",
         at + "2:1: offset 3, bytes C3 A4: substituted by 61\n" + at + "2:2: offset 5, byte FF: no character of utf8: left out\n" +
             "qbgl: 1 substituted, 1 left out\n"},
        {"--report -t sjis", "ok", 0, "ok", "qbgl: 0 substituted, 0 left out\n"},
        {"-f unicode -t 8859-1", "a\0\n\0\x0A\x0A"s, 1, "a\n",
         at + "2:1: offset 4, bytes 0A 0A: 8859-1 has no such character of unicode" + lacks_it},
        {"-f ccsid930 -t sjis", "\xC1\x25\x0E\x44\x81\xE0\x41\x0F", 1, "A\n\x82\xA0",
         at + "2:2: offset 5, byte E0: no character of ccsid930" + OTHER_CODESET + "\n"},
        {"-f sjis -t koi-8", "ab\n\x82\xA0", 1, "ab\n", // by way of UTF-8
         at + "2:1: offset 3, bytes 82 A0: koi-8 has no such character of sjis" + lacks_it},
        {"-f sjis -t koi-8 -c", "a\x82\xA0\x84\x40z", 1, "a\xE1z", "qbgl: 1 left out\n"},
        {"-f sjis -t shift-jis", "\x82\xA0\xFF", 1, "\x82\xA0", // the same codeset: checked
         at + "1:2: offset 2, byte FF: no character of sjis" + OTHER_CODESET + "\n"},
        {"-f utf8 -t UTF-8 -c", "\xF0\x9F\x98\x80\xFF\xE2\x82", 1, "\xF0\x9F\x98\x80", "qbgl: 2 left out\n"},
        {"-f ccsid930 -t ccsid930", "\xC1\x0E\x44\x81\x0F", 0, "\xC1\x0E\x44\x81\x0F", ""},
        {"-t sjis -c", "\xC3\xA4\xFF", 1, "a", "qbgl: 1 substituted" + similar + ", 1 left out\n"},
        {"-t sjis --strict", "ok\xC3\xA4", 1, "ok",
         at + "1:3: offset 2, bytes C3 A4: sjis has an approximation only, 61; without --strict it is taken, --substitute gives "
              "another\n"},
        {"-t sjis --strict -c", "ok\xC3\xA4z", 1, "okz", "qbgl: 1 left out\n"},
        {"-t sjis --substitute \xC3\xA4=ae --substitute \xE2\x82\xAC=EUR", "\xC3\xA4\xE2\x82\xAC\xC3\xB6", 0, "aeEURo",
         "qbgl: 1 substituted" + similar + ", 2 replaced\n"},
        {"-t 8859-1 --missing html", "\xE2\x82\xAC\xF0\x9F\x98\x80\xCD\xB8", 0, "&#x20AC;&#x1F600;&#x378;", "qbgl: 3 replaced\n"},
        {"-f ccsid930 -t 8859-1 --missing escape", "\xC1\x0E\x44\x81\x0F\xC1", 0, "A\\u3042A", "qbgl: 1 replaced\n"},
        {"-t ccsid930 --missing ?", "\xE3\x81\x82\xEA\xB0\x80\xE3\x81\x82", 0, "\x0E\x44\x81\x0F\x6F\x0E\x44\x81\x0F",
         "qbgl: 1 replaced\n"},
        {"-t unicode --bom add --newline crlf", "x\ny\r\n", 0, "\xFF\xFEx\0\r\0\n\0y\0\r\0\n\0"s, ""},
        {"-f unicode --bom remove --newline lf", "\xFF\xFEx\0\r\0\n\0\r\0"s, 0, "x\n\r", ""},
        {"-t 8859-1", "\xEF\xBB\xBFx", 1, "",
         at + "1:1: offset 0, bytes EF BB BF: 8859-1 has no byte order mark; --bom remove takes it away\n"},
        {"-t 8859-1 --bom add", "", 2, "", "qbgl: 8859-1 has no byte order mark that could be added\n"},
        {"-f utf-16", "\xFE\xFF\0A\xD8\x3D\xDE\0"s, 0, "A\xF0\x9F\x98\x80", ""},
        {"-f utf-16 --bom keep", "\xFF\xFEx\0"s, 0, "\xEF\xBB\xBFx", ""},
        {"-f utf-16 -t UTF_16", "\xFE\xFF\0x"s, 0, "\xFF\xFEx\0"s, ""},
        {"-t utf-32", "\xEF\xBB\xBFx", 0, "\xFF\xFE\0\0x\0\0\0"s, ""},
        {"-t utf-32 --bom remove", "\xEF\xBB\xBFx", 0, "x\0\0\0"s, ""},
        {"-f utf-32 -t utf-16le", "\0\0\xFE\xFF\0\0\0A\0"s, 1, "A\0"s,
         at + "1:2: offset 8, byte 00: the text ends inside a character of utf-32be; was it cut short? -c leaves the rest out\n"},
        {"-f utf-16be -t utf8 -c", "\0A\xD8\0\0\n\0B\xDC"s, 1, "A\nB", "qbgl: 2 left out\n"},
        {"-f ja_jp.sjis", "\x82\xA0", 0, "\xE3\x81\x82", ""},
        {"-t latin1//TRANSLIT", "", 2, "",
         "qbgl: unknown codeset latin1//TRANSLIT: what stands behind // elsewhere are options here: -c leaves out what cannot be "
         "converted, similar characters are taken unless --strict refuses them\n"},
        {"-f sjos --json", "", 2, "",
         R"({"kind":"error","message":"unknown codeset sjos: the nearest are sjis, ujis, sjis-s; `qbgl conv -l` lists all",)"
         R"("codeset":"sjos","nearest":["sjis","ujis","sjis-s"],"status":2})" +
             "\n"s},
        {"--json", "", 2, "", R"({"kind":"error","message":"-f or -t is required; see `qbgl conv --help`","status":2})" + "\n"s},
        {"-f sjis /nosuch\x01/file", "", 3, "", "qbgl: cannot open /nosuch\\x01/file: No such file or directory\n"},
        {"-f sjis -o /dev/full", "abc", 3, "", "qbgl: cannot write /dev/full: No space left on device\n"},
    };
    expect_all("conv ", CASES);
}

TEST(Client, NumbersAreReadAndWritten) {
    const std::string german = "; the locale writes 1.234.567,89\n";
    const std::vector<Case> CASES = {
        {"-l de_DE.8859-1 1.234.567,89 -5,50 0012 ,5 1,5e-3", "", 0, "1234567.89\n-5.50\n12\n0.5\n1.5e-3\n", ""},
        {"--from de_DE.utf8 -l en_IN.utf8 12345678901234567890123,10", "", 0, "12,34,56,78,90,12,34,56,78,90,123.10\n", ""},
        {"-l en_US.utf8 -m -g --from de_DE.utf8 -- -1.234,5 1.234,567 € -€5 EUR7", "", 0, "-$1,234.50\n$1,234.567\n-$5.00\n$7.00\n",
         ""},
        {"-l de_DE.utf8 -m -g -1234,5", "", 0, "-1.234,50 €\n", ""},
        {"-l en_SG.utf8 -m", "($1,234.50)\n( 5 )\n5 -\n(-5)\n", 1, "-1234.50\n-5\n-5\n",
         "qbgl: line 4: \"(-5)\", character 1: no amount begins here; the locale writes $1,234,567.89\n"},
        {"-l de_DE.8859-1 --currency 1.234,5\u00A0EUR (5,006) 12345678901234567890 1e5 1\u20AC", "", 1,
         "1.234,50 EUR\n-5,006 EUR\n12.345.678.901.234.567.890,00 EUR\n",
         "qbgl: \"1e5\", character 2: the amount ends before this; the locale writes 1.234.567,89 EUR\n"
         "qbgl: \"1\u20AC\": 8859-1 has no \u20AC, which \"1\u20AC\" needs\n"},
        {"--from de_DE.utf8 -l hu_HU.utf8 --currency=international -1.234,5", "", 0, "-HUF 1.234,50\n", ""},
        {"-l de_CH.utf8 -m --from de_BE.utf8", "€- 1.234,50\n", 0, "CHF- 1\u2019234.50\n", ""},
        {"-l fr_FR.utf8", "1 234 567,5\n1 234\n1 2\n", 1, "1234567.5\n1234\n",
         "qbgl: line 3: \"1 2\", character 2: the separators do not stand where the locale has them; the locale writes "
         "1\\u202f234\\u202f567,89\n"},
        {"-l de_DE.utf8 -b 16 ff -- -0xF.FFF -0", "", 0, "255\n-65535\n0\n", ""},
        {"-l de_DE.utf8 --to-base 2 -g 255", "", 0, "11.111.111\n", ""},
        {"-l de_DE.utf8", "7\r\n 1.23.4\n8", 1, "7\n8\n",
         "qbgl: line 2: \" 1.23.4\", character 3: the separators do not stand where the locale has them" + german},
        {"-l de_DE.8859-1 1.234,5x 1\u2019 +-5", "", 1, "",
         "qbgl: \"1.234,5x\", character 8: the number ends before this" + german +
             "qbgl: \"1\u2019\", character 2: 8859-1 has no such character" + german +
             "qbgl: \"+-5\", character 2: no number begins here" + german},
        {"-l de_DE.utf8 --json -b 10 18446744073709551615 18446744073709551616", "", 1,
         R"({"text":"18446744073709551615","written":"18446744073709551615","value":18446744073709551615})"
         "\n",
         R"({"kind":"error","message":"\"18446744073709551616\": the number is out of range","reason":"range",)"
         R"("text":"18446744073709551616"})"
         "\n"},
        {"-b 1 5", "", 2, "", "qbgl: --base: a base is 2 to 36; see `qbgl num --help`\n"}};
    expect_all("num ", CASES);
}

TEST(Client, DatesAreWrittenAndRead) {
    const std::string form = "a date is YEAR-MONTH-DAY, which THH:MM:SS and Z or +HH:MM may follow, or @SECONDS since 1970\n";
    const std::vector<Case> CASES = {
        {"-l cs_CZ.8859-2 2026-03-21T18:30", "", 0, "So\u00A021.\u00A0b\u0159ezna\u00A02026,\u00A018:30:00\u00A0UTC\n", ""},
        {"-l ja_JP.sjis +%Ex 1989-01-08 1989-01-07", "", 0,
         "\u5E73\u6210\u5143\u5E7401\u670808\u65E5\n"
         "\u662D\u548C64\u5E7401\u670807\u65E5\n",
         ""},
        {"-l he_IL.utf8 +%Y/%m/%d=%QY/%Qm/%Qd 2024-10-03", "", 0, "5785/01/01=2024/10/03\n", ""},
        {"-l en_US.utf8 --zone +05:30 +%FT%T%z%Z 2026-01-01T00:00Z -",
         "@-1\n 2024-02-29 23:59:60 -0100 \n999999999-12-31\n2026-02-29\nx", 1,
         "2026-01-01T05:30:00+0530+05:30\n1970-01-01T05:29:59+0530+05:30\n2024-03-01T06:30:00+0530+05:30\n"
         "999999999-12-31T00:00:00+0530+05:30\n",
         "qbgl: line 4: \"2026-02-29\": the month has 28 days\nqbgl: line 5: \"x\": " + form},
        {"-l en_US.utf8 +%F%EY -- -0044-03-15", "", 0, "-44-03-15-44\n", ""},
        {"-l de_DE.utf8 --read %e.%n%B%n%Y", "3. M\u00E4rz 2026\n31. Februar 2026\n3.mai2026 \n", 1, "2026-03-03\n2026-05-03\n",
         "qbgl: line 2: \"31. Februar 2026\": there is no such day\n"},
        {"-l en_US.utf8 --read %s%z 86399+0200 0-0030", "", 0, "1970-01-02T01:59:59+02:00\n1969-12-31T23:30:00-00:30\n", ""},
        {"-l en_US.utf8 --read %H:%M 18:30", "", 0, "18:30:00\n", ""},
        {"-l en_US.utf8 --read %m/%Y +%F 3/2026", "", 1, "", "qbgl: \"3/2026\": it tells no whole date to be written\n"},
        {"--from de_DE.utf8 --read %d.%m.%Y -l he_IL.utf8 +%Y-%m-%d --json 3.10.2024", "", 0,
         R"({"text":"3.10.2024","date":"2024-10-03","written":"5785-01-01"})"
         "\n",
         ""},
        {"--all de_lu +%A 2026-11-22", "", 0,
         "de_LU.8859-1  Sonntag\nde_LU.8859-15 Sonntag\nde_LU.cp1252  Sonntag\nde_LU.utf8    Sonntag\n", ""},
        {"--all zz", "", 2, "", "qbgl: no locale of zz is installed; `qbgl list locales` lists all\n"},
        {"-l de_DE.utf8 +%Y%E", "", 2, "", "qbgl: \"%Y%E\": there is no conversion %E\n"},
        {"-l de_DE.8859-1 +\u65E5", "", 2, "", "qbgl: 8859-1 has no \u65E5, which \"\u65E5\" needs\n"},
        {"-l en_US.utf8 +%+5 now", "", 2, "", "qbgl: \"%+5\": there is no conversion %+5\n"},
        {"-l en_US.utf8 --read %FT%T%Z -", "2026-01-01T23:00:00UTC\n\xFF", 1, "2026-01-01T23:00:00\n",
         "qbgl: line 2: \"\\xff\", character 1: utf8 has no such character\n"},
        {"--all - x", "", 2, "", "qbgl: --all takes dates from the command line, not from lines of input\n"},
        {"--zone x", "", 2, "", "qbgl: unknown zone x: it is utc, native, or a distance such as +02:00\n"}};
    expect_all("date ", CASES);
    EXPECT_EQ(
        qbgl("date --zone native +%F%z%Z @4102444800 2026-07-01", "", WHOLE, {"env", "TZ=CET-1CEST,M3.5.0,M10.5.0", QBGL}).out,
        "2100-01-01+0100CET\n2026-07-01+0200CEST\n");
    const std::pair<const char *, const char *> UNREAD[] = {
        // the locale's form of today follows
        {"-l de_DE.utf8 --read %d.%B 3.M\u00E4r+", ", character 6: the date ends before this; the locale writes "},
        {"-l de_DE.8859-1 --read %d.\u00E4%B 3.\u00E4x", ", character 4: no \"%B\" begins here; the locale writes "},
        {"-l he_IL.utf8 --read %d.%B 3.x", ": no \"%B\" stands in its place; the locale writes "},
        {"--read %2147483647d x", ", character 1: no \"%2147483647d\" begins here\n"}};
    for (const auto &[arguments, said] : UNREAD) {
        const std::string message = qbgl("date "s + arguments).err;
        EXPECT_NE(message.find(said), std::string::npos) << message;
    }
    const std::string all = qbgl("date --all 2026-11-22").out, locales = qbgl("list locales").out;
    EXPECT_EQ(std::count(all.begin(), all.end(), '\n'), std::count(locales.begin(), locales.end(), '\n'));
}

TEST(Client, FindingsFarIntoLargeTextsKeepTheirPlace) {
    // Lines of 9 and of 1 byte, far beyond one block, and one line that is longer than a block.
    std::string text;
    for (int i = 0; i < 30000; ++i) text += "\xE3\x81\x82 line\n\n";
    text += std::string(150000, 'x') + "\xC3\xA4\xFF";
    const Result result = qbgl("conv -t sjis --report", text);
    EXPECT_EQ(result.err.substr(0, result.err.find("; is")),
              "qbgl: standard input:60001:150001: offset 450000, bytes C3 A4: substituted by 61\n"
              "qbgl: standard input:60001:150002: offset 450002, byte FF: no character of utf8");
    std::string cyrillic = "x"; // pieces of an even length end within a character
    for (int i = 0; i < 50000; ++i) cyrillic += "\x84\x40";
    const Result two_steps = qbgl("conv -f sjis -t koi-8", cyrillic + "\x82\xA0");
    EXPECT_EQ(two_steps.out.size(), 50001U);
    EXPECT_TRUE(two_steps.err.starts_with("qbgl: standard input:1:50002: offset 100001, ")) << two_steps.err;
}

TEST(Client, WhatIsLeftOutAndSubstitutedDoesNotDependOnWhoIsTold) {
    std::mt19937 random(1);
    std::string text;
    for (int i = 0; i < 30000; ++i) {
        const auto byte = static_cast<char>(random());
        const std::string pieces[] = {std::string(1, byte), "\xE3\x81" + std::string(1, byte), "\xC3\xA4", "plain text "};
        text += pieces[random() % 4];
    }
    for (const char *pair : {"-f utf8 -t 8859-1", "-f utf8 -t sjis", "-f utf8 -t ccsid930", "-f utf8 -t utf8", "-f sjis -t koi-8",
                             "-f gb18030 -t utf8", "-f 8859-3 -t 8859-3", "-f unicode -t utf8"}) {
        const std::string command = "conv -c --json "s + pair;
        const Result quiet = qbgl(command, text), told = qbgl(command + " --report", text);
        const auto counts = [](const std::string &err) { return err.substr(err.rfind("\"substituted\":")); };
        EXPECT_EQ(quiet.status, 1) << pair;
        EXPECT_TRUE(quiet.out == told.out) << pair;
        EXPECT_EQ(counts(quiet.err), counts(told.err)) << pair;
    }
}

TEST(Client, FindingsAsJsonEscapeNames) {
    const TempDir directory;
    const std::string odd = directory / "a\"\n\xFF\\", printed = directory / R"(a\"\\x0a\ufffd\\)",
                      escaped = directory / R"(a\"\u000a\ufffd\\)";
    write_file(odd, "\xC3\xA4\xFF");
    EXPECT_EQ(run({QBGL, "conv", "-t", "sjis", "--json", "--report", odd}).err,
              R"({"kind":"substituted","message":")" + printed + R"(:1:1: offset 0, bytes C3 A4: substituted by 61",)" +
                  R"("finding":"substituted","file":")" + escaped +
                  R"(","line":1,"column":1,"offset":0,"bytes":"C3A4","reason":"substituted by 61",)"
                  R"("result":"61","from":"utf8","to":"sjis"})" +
                  "\n" + R"({"kind":"error","message":")" + printed + ":1:2: offset 2, byte FF: no character of utf8" +
                  OTHER_CODESET + R"(","finding":"invalid","file":")" + escaped +
                  R"(","line":1,"column":2,"offset":2,"bytes":"FF","reason":"no character of utf8","remedy":")" +
                  OTHER_CODESET.substr(2) + R"(","from":"utf8","to":"sjis","status":1})" + "\n" +
                  R"({"kind":"summary","message":"1 substituted, 0 left out","substituted":1,"left_out":0,"replaced":0})" + "\n");
}

TEST(Client, ListsNameWhatIsThere) {
    const struct {
        std::string name, known_line, known_member;
    } CASES[] = {{"codesets", "\n57350 sjis shift-jis shift_jis ms_kanji\n",
                  R"({"number":57350,"ccsid":943,"names":["sjis","shift-jis","shift_jis","ms_kanji"],"convertible":true})"},
                 {"conversions", "\nsjis utf8\n", R"({"source":"sjis","target":"utf8"})"}};
    for (const auto &[name, known_line, known_member] : CASES) {
        const std::string text = qbgl("list " + name).out, json = qbgl("list " + name + " --json").out;
        EXPECT_NE(text.find(known_line), std::string::npos);
        EXPECT_TRUE(json.starts_with("{\"" + name + "\":[{")) << json;
        EXPECT_TRUE(json.ends_with("}]}\n")) << json;
        EXPECT_NE(json.find(",\n" + known_member + ",\n"), std::string::npos) << json;
        EXPECT_EQ(std::count(json.begin(), json.end(), '\n'), std::count(text.begin(), text.end(), '\n'));
    }
    EXPECT_EQ(qbgl("conv -l").out, qbgl("list codesets").out);
    EXPECT_EQ(qbgl("list codesets CHNG").out, "57358 chngcase (no conversion)\n");
    EXPECT_EQ(qbgl("list --json conversions mazovia").out, qbgl("list conversions mazovia --json").out);
}

TEST(Client, CallsThatAreWrongNameWhatWasMeant) {
    expect_all("", {{"convert", "", 2, "", "qbgl: qbgl has no command convert: the nearest is conv; `qbgl --help` lists all\n"},
                    {"list codeset", "", 2, "",
                     "qbgl: qbgl list has no command codeset: the nearest is codesets; `qbgl list --help` lists all\n"},
                    {"sort --bad", "", 2, "", "qbgl: The following argument was not expected: --bad; see `qbgl sort --help`\n"},
                    {"conv -l x", "", 2, "", "qbgl: -l: lists the codesets and reads no files; see `qbgl conv --help`\n"},
                    {"list locales nowhere", "", 1, "", "qbgl: no line of `qbgl list locales` contains nowhere\n"}});
    EXPECT_EQ(qbgl("help conv").out, qbgl("conv --help").out);
    EXPECT_EQ(qbgl("-V").out, qbgl("--version").out);
}

TEST(Client, OutputFilesAreTouchedLast) {
    const TempDir directory;
    const std::string file = directory / "file", to_file = "conv -f sjis -o " + file;
    write_file(file, "kept");
    EXPECT_EQ(qbgl("conv -f nosuch -o " + file).status, 2);
    EXPECT_EQ(qbgl(to_file + " " + directory / "missing").status, 3);
    EXPECT_EQ(qbgl(to_file + " " + file).status, 2);
    EXPECT_EQ(read_file(file), "kept");
    EXPECT_EQ(qbgl(to_file, "\x82\xA0").status, 0);
    EXPECT_EQ(read_file(file), "\xE3\x81\x82");
}

TEST(Client, InstallationsThatLackSomethingSaySo) {
    const TempDir tree;
    const auto complaint = [&] {
        const Result result = run({"env", "QUORBANEDIR=" + tree.path().string(), QBGL, "conv", "-f", "sjis", "-t", "koi-8"});
        EXPECT_EQ(result.status, 3);
        return result.err;
    };
    EXPECT_TRUE(complaint().starts_with("qbgl: there is no codeset registry in " + tree.path().string()));
    write_file(tree / "vrn/cm3/registry", read_file(QBGL_TREE "/vrn/cm3/registry"));
    const std::string object = tree / "vrn/cv9/e006e026.cvo";
    EXPECT_TRUE(
        complaint().ends_with("has no conversion from sjis to koi-8: `qbglc conv sjis koi-8 -o " + object + "` makes it\n"));
    write_file(object, "FILE_TYPE=codeset_conversion_object\nCOMPILER_VERSION=8\n");
    EXPECT_NE(complaint().find("is damaged or of another version"), std::string::npos);
}

TEST(Client, EightMebibytesSufficeForAnyText) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer needs memory of its own";
#endif
    std::string text;
    for (const std::string original = read_file(QBGL_SOURCE_DIR "/examples/text/german.txt"); text.size() < (64U << 20);)
        text += original;
    const Result result = run({"prlimit", "--data=8388608", QBGL, "conv", "-t", "8859-1"}, text);
    EXPECT_EQ(result.status, 0) << result.err;
    const auto two_byte_characters = std::count_if(text.begin(), text.end(), [](char c) { return c == '\xC2' || c == '\xC3'; });
    EXPECT_EQ(result.out.size(), text.size() - static_cast<size_t>(two_byte_characters));
}

class LocaleClient : public ClientTree {
  protected:
    LocaleClient() {
        Codeset sjis = sjis_codeset();
        sjis.classes = {{0, "full_width"}};
        for (Character &character : sjis.characters) character.classes |= character.bytes.size() == 2 ? 2048 : 0;
        LocaleObject japanese(sjis);
        japanese.numeric =
            string_line("\x82\x9F") + string_line("\t\x5C") + "2 3 -1\n" + string_line("\x1B") + string_line("\x82\xA0");
        add("ja_jp/e006.lco", japanese);
        add("de_de/0333euro.lco", LocaleObject(single_byte_codeset()));
        add("fr_fr/e01c.lco", LocaleObject(utf8_codeset()));
        add("default.lco", LocaleObject(sjis_codeset()));
    }
};

const std::string OTHER_LOCALE = "; is the text in another codeset than the locale (-l)?\n";

TEST_F(LocaleClient, CaseChangesWhereverBlocksAreCut) {
    const std::string other = "; is the text in another codeset than the locale (-l)? -c leaves such bytes out\n";
    const std::string at = "qbgl: standard input:";
    const std::vector<Case> CASES = {
        {"upper -l ja_JP.sjis", "aZ\x82\x81\n\0z\n\x82\x9F"s, 0, "AZ\x82\x60\n\0Z\n\x82\x9F"s, ""},
        {"lower -l fr_FR.utf8", "\xC3\x84\n\xE2\xB1\xAF\xF0\x90\x90\x80", 0, "\xC3\xA4\n\xC9\x90\xF0\x90\x90\xA8", ""},
        {"upper -l fr_FR.utf8", "\xC9\x90\n\xC4\xB1", 0, "\xE2\xB1\xAF\nI", ""},
        {"upper -l de_DE.8859-1@euro", "\xE4\xDF\nb\x80", 0, "\xC4\xDF\nB\x80", ""},
        {"upper -l ja_JP.sjis", "a\nb\x82\x41\nz\n", 1, "A\nB", at + "2:2: offset 3, bytes 82 41: no character of sjis" + other},
        {"upper -l ja_JP.SHIFT-JIS -c", "a\n\xFFy\x82", 1, "A\nY", "qbgl: 2 left out\n"},
        {"upper -l ja_JP.sjis", "a\x82", 1, "A",
         at + "1:2: offset 1, byte 82: the text ends inside a character of sjis; was it cut short? -c leaves such bytes out\n"},
    };
    expect_all("", CASES, words());
}

TEST_F(LocaleClient, ClassTellsAllOfEachCharacter) {
    const std::string input = "A\xFF\x82\x81\n\x82";
    const Result text = client("class -l ja_JP.sjis", input, 1);
    EXPECT_EQ(text.status, 1);
    EXPECT_EQ(text.out, "  offset bytes    code     char   width upper  lower  classes\n"
                        "       0 41       U+0041   A          1 -      a      upper alpha graph print xdigit\n"
                        "       2 8281     U+FF41   ａ         2 Ａ     -      lower alpha graph print full_width\n"
                        "       4 0A       U+000A   \\n         0 -      -      space cntrl\n");
    EXPECT_EQ(text.err,
              "qbgl: standard input:1:2: offset 1, byte FF: no character of sjis" + OTHER_LOCALE +
                  "qbgl: standard input:2:1: offset 5, byte 82: the text ends inside a character of sjis; was it cut short?\n"
                  "qbgl: 2 sequences are no character of sjis\n");
    EXPECT_EQ(client("class --json -l ja_JP.sjis", "\x82\x81").out,
              R"({"file":"-","offset":0,"bytes":"8281","value":33409,"code":"U+FF41","character":"ａ","width":2,)"
              R"("classes":["lower","alpha","graph","print","full_width"],"upper":"Ａ","lower":null})"
              "\n");
}

TEST_F(LocaleClient, WidthMeasuresLines) {
    write_file(tree_ / "a", "\x82\x9F\xB1\n\x82\x9F\x82\x9F\nabc\n");
    const std::string a = tree_ / "a", at = "qbgl: standard input:";
    const std::string none = ": not printable, and so without a width";
    const std::vector<Case> CASES = {
        {"", "\x82\x9F\tb\n\n\t\t~", 0, "9\t\x82\x9F\tb\n0\t\n17\t\t\t~\n", ""},
        {"--tabs 0", "1234567\t8", 0, "8\t1234567\t8\n", ""},
        {"--tabs 3", "12\t34\t\t", 0, "9\t12\t34\t\t\n", ""},
        {"--max", "\x82\x9F\n\xB1\n", 0, "2\n", ""},
        {"--max " + a + " -", "abc", 0, "4 " + a + "\n3 -\n", ""},
        {"--json", "\x82\x9F\xB1", 0, R"({"file":"-","line":1,"width":3,"bytes":3,"characters":2})" + "\n"s, ""},
        {"--json --max", "a\nbcd\ne", 0, R"({"file":"-","line":2,"width":3})" + "\n"s, ""},
        {"", "a\n\x82\x9F\x01\nb\0\nc\r\n\x82\n\x82\x41z\nd\n"s, 1, "1\ta\n1\tc\r\n1\td\n",
         at + "2:2: offset 4, byte 01" + none + "\n" + at + "3:2: offset 7, byte 00" + none + "\n" + at +
             "5:1: offset 12, byte 82: the text ends inside a character of sjis; was it cut short?\n"
             "qbgl: 4 lines could not be measured\n"},
        {"--json --max", "\x01", 1, R"({"file":"-","line":0,"width":0})" + "\n"s,
         R"({"kind":"unmeasured","message":"standard input:1:1: offset 0, byte 01)" + none +
             R"(","finding":"unprintable","file":"-","line":1,"column":1,"offset":0,"bytes":"01",)" +
             R"("reason":"not printable, and so without a width"})" + "\n" +
             R"({"kind":"error","message":"1 line could not be measured","unmeasured":1,"status":1})" + "\n"},
    };
    expect_all("width -l ja_JP.sjis ", CASES, words());
    const std::string line = "\uFEFFa\u0301\u200B\u200D\u00AD\u1112\u1161\u11AB\uD7FB";
    expect_all("width -l ", {{"de_DE.utf8", line + "\n", 0, "4\t" + line + "\n", ""}});
}

TEST_F(LocaleClient, LocaleShowsWhatTheHandleHolds) {
    const std::string text = client("locale ja_JP.sjis").out;
    for (const char *line : {"\nLC_NUMERIC\n  locale                ja_jp/e006.lco\n  codeset               sjis\n",
                             "  decimal_point         \"ぁ\"\n  thousands_sep         \"\\t¥\"\n  grouping              3;-1\n"
                             "  positive_sign         \"\\u001b\"\n  negative_sign         \"あ\"\n",
                             "  longest_character     2\n  characters            420\n  classes               upper        52\n",
                             "  own_classes           full_width      229\n", "  compare               _gl_im_mbscoll\n",
                             "  n_sign_posn           n/a\n",
                             "  eras                  \"Heisei\" \"H\", 1989-01-08 to future, \"%EC %Ey\", year 0 counted up\n"})
        EXPECT_NE(text.find(line), std::string::npos) << line << text;
    expect_all("locale -k ",
               {{"d_fmt ja_JP.sjis", "", 0, "d_fmt=\"%d/%m/%y\"\n", ""},
                {"int_p_sign_posn ja_JP.sjis", "", 0, "int_p_sign_posn=1\n", ""},
                {"am_pm --json ja_JP.sjis", "", 0, "{\"am_pm\":[\"AM\",\"PM\"]}\n", ""}},
               words());
    const std::string json = client("locale --json -l ja_JP.sjis").out;
    for (const char *member :
         {R"({"LC_CTYPE":{"locale":"ja_jp/e006.lco","codeset":"sjis","shortest_character":1,)",
          R"("own_classes":{"full_width":229})",
          R"("decimal_point":"ぁ","thousands_sep":"\u0009¥","grouping":[3,-1],"positive_sign":"\u001b","negative_sign":"あ"})",
          R"("p_sign_posn":1,"n_sign_posn":null,"int_p_cs_precedes":null,)", R"("int_n_sign_posn":null},"LC_TIME":{)",
          R"("start":"1989-01-08","end":"future","name":"Heisei",)"})
        EXPECT_NE(json.find(member), std::string::npos) << member << json;
    EXPECT_NE(qbgl("locale", "", WHOLE, words("GL_LANG=fr_fr/e01c.lco")).out.find("fr_fr/e01c.lco"), std::string::npos);
    EXPECT_NE(client("locale").out.find("default.lco"), std::string::npos);
}

TEST_F(LocaleClient, LocalesAreListed) {
    EXPECT_EQ(client("list locales").out, "de_DE.8859-1@euro 8859-1       de_de/0333euro.lco\n"
                                          "default.lco       sjis         default.lco\n"
                                          "fr_FR.utf8        utf8         fr_fr/e01c.lco\n"
                                          "ja_JP.sjis        sjis         ja_jp/e006.lco\n");
}

TEST_F(LocaleClient, LocalesThatCannotBeHadAreExplained) {
    write_file(tree_ / "vrn/lc11/ko_kr/0333.lco", "FILE_TYPE=locale_object\nCOMPILER_VERSION=10\n");
    write_file(tree_ / "vrn/lc11/ko_kr/e01c.lco", "FILE_TYPE=locale_object\nCOMPILER_VERSION=11\nx=3\n");
    const std::string tree = tree_.path().string();
    const std::string places = tree + "/vrn/lc11 and " + tree + "/vrn/lc";
    const auto nearest = [](const std::string &names) {
        return "; the nearest are " + names + "; `qbgl list locales` lists all\n";
    };
    const std::string anew = "; `qbglc tree " + tree + "` makes the objects anew\n";
    const struct {
        std::string arguments, set;
        int status;
        std::string message;
    } CASES[] = {
        {"-l ja_JP.utf8", "X=", 2,
         "unknown locale ja_JP.utf8: ja_jp/e01c.lco is not in " + places + "; `qbglc locale ja_JP utf8 -o " + tree +
             "/vrn/lc11/ja_jp/e01c.lco` makes it, if the codeset has all letters of the language" +
             nearest("ja_JP.sjis, fr_FR.utf8, default.lco")},
        {"-l ja_JP.sjis@euro", "X=", 2,
         "unknown locale ja_JP.sjis@euro: ja_jp/e006euro.lco is not in " + places +
             nearest("ja_JP.sjis, de_DE.8859-1@euro, fr_FR.utf8")},
        {"-l native", "LANG=fr_FR.UTF-16", 2,
         "-l native takes LANG: unknown locale fr_FR.UTF-16: it names no known codeset after \".\", and no file in " + places +
             nearest("fr_FR.utf8, ja_JP.sjis, default.lco")},
        {"", "GL_TIME=ja_JP.sjis", 2,
         "the locale that GL_TIME names, ja_JP.sjis, is not in " + places +
             "; the variable takes the name of an object file, here ja_jp/e006.lco" +
             nearest("ja_JP.sjis, fr_FR.utf8, default.lco")},
        {"", "GL_TIME=fr_fr/e01c.lco", 2, "cannot load the locale of the environment: its categories are in different codesets\n"},
        {"-l ko_KR.8859-1", "X=", 3,
         "cannot load the locale ko_KR.8859-1: its object " + tree + "/vrn/lc11/ko_kr/0333.lco is of another version" + anew},
        {"-l ko_KR.utf8", "X=", 3,
         "cannot load the locale ko_KR.utf8: its object " + tree + "/vrn/lc11/ko_kr/e01c.lco is damaged (malformed data file)" +
             anew},
        {"", "GL_PATH=/nosuch", 3,
         "there are no locales in /nosuch: GL_PATH takes the place of the tree's directories: unset it, or add them to it\n"},
    };
    for (const auto &[arguments, set, status, message] : CASES)
        expect_all("upper ", {{arguments, "", status, "", "qbgl: " + message}}, words(set));
}

TEST_F(LocaleClient, DatesAreToldInAllCalendars) {
    LocaleObject finnish(utf8_codeset()), hebrew(utf8_codeset()), arabic(utf8_codeset());
    finnish.time.replace(finnish.time.find(string_line("June")), string_line("June").size(), string_line("Mar\xC3\x80"));
    add("fi_fi/e01c.lco", finnish);
    hebrew.time.replace(0, 9, "hebrew");
    arabic.time.replace(0, 9, "arabic");
    add("he_il/e01c.lco", hebrew);
    add("ar_sa/e01c.lco", arabic);
    const std::string form =
        "a date is YEAR-MONTH-DAY, YEAR-MONTH or YEAR, as in 2024-10-03, or DAY MONTH YEAR, as in \"3 October 2024\"";
    const struct {
        std::string arguments;
        int status;
        std::string said; // output, or message
    } CASES[] = {
        {"2024-10-03", 0,
         "2024-10-03 Thursday\n  gregorian  3 October 2024, day 277\n  hebrew     1 Tishri 5785, day 1\n"
         "  islamic    30 Rabi al-awwal 1446, day 89\n"},
        {"--from hebrew --local 5784-ADAR-II-10 -l he_IL.utf8", 0, "2024-03-20 Wednesday\n  hebrew     10 Adar II 5784, day 187\n"},
        {"--local -l default.lco 1446-DHU-AL-HIJ-29..1447-1-1 --from islamic", 0,
         "2025-06-25 Wednesday  25 June 2025, day 176\n2025-06-26 Thursday   26 June 2025, day 177\n"},
        {"-l fi_FI.utf8 --local 2024-mar\xC3\xA0-3..2024-6-3", 0, "2024-06-03 Monday     3 Mar\xC3\x80 2024, day 155\n"},
        {"--local -l default.lco --from islamic 9666-4", 0,
         "9999-12-29 Wednesday  29 December 9999, day 363\n9999-12-30 Thursday   30 December 9999, day 364\n"
         "9999-12-31 Friday     31 December 9999, day 365\n"},
        {"0622-07-17..0622-07-17", 0,
         "0622-07-17 Wednesday  17 July 622, day 198              1 Av 4382, day 296                -\n"},
        {"-l fi_FI.utf8 2024-9", 0,
         "      September 2024\nMon Tue Wed Thu Fri Sat Sun\n                          1\n  2   3   4   5   6   7   8\n"
         "  9  10  11  12  13  14  15\n 16  17  18  19  20  21  22\n 23  24  25  26  27  28  29\n 30\n"},
        {"--json --local -l he_IL.utf8 2024-02-15", 0,
         R"({"date":"2024-02-15","weekday":4,"weekday_name":"Thursday","hebrew":{"year":5784,"month":6,"month_name":"Adar I",)"
         R"("day":6,"day_of_year":153}})"
         "\n"},
        {"2023-02-30", 1, "2023-02-30: February 2023 has 28 days"},
        {"--from hebrew 3761-4-17", 1, "3761-4-17: hebrew dates go from 3761-04-18 to 13760-02-28"},
        {"--from islamic 9666-5", 1, "9666-5: islamic dates go from 0001-01-01 to 9666-04-03"},
        {"--from hebrew 5785-AdarII-1", 1, "5785-AdarII-1: 5785 has no month Adar II"},
        {"--from hebrew 5785-rab", 2,
         "5785-rab: the hebrew calendar has no month rab; it has Tishri, Heshvan, Kislev, Tevet, Shevat, Adar, Nisan, Iyar, Sivan, "
         "Tammuz, Av, Elul, Adar I, Adar II"},
        {"-l fi_FI.utf8 2024-mar-3", 2, "2024-mar-3: mar may be March or Mar\xC3\x80"},
        {"2024x", 2, "2024x: " + form},
        {"--local -l ar_SA.utf8", 2, "the locale's calendar is none that can be converted"},
    };
    for (const auto &[arguments, status, said] : CASES)
        expect_all("cal ", {{arguments, "", status, status == 0 ? said : "", status == 0 ? "" : "qbgl: " + said + "\n"}}, words());
}

// A tree with charmaps.
class SymbolsClient : public ClientTree {
  protected:
    SymbolsClient() {
        std::filesystem::remove(tree_.path() / "vrn/cm3");
        write_file(tree_ / "vrn/cm3/registry", read_file(QBGL_TREE "/vrn/cm3/registry"));
        const std::string header = "FILE_TYPE=charmap_object\nCOMPILER_VERSION=3\nHEADER_LENGTH=3\n\n";
        write_file(tree_ / "vrn/cm3/0333.cmo", header + "s 2 NL 1 0a\ns 5 U000A 1 0a\ns 1 A 1 41\ns 3 a<b 1 42\nr 3 n07 7 3 1 43\n"
                                                        "s 4 wide 3 e38182\n");
        write_file(tree_ / "vrn/cm3/0025.cmo", header + "s 5 U000A 1 25\ns 5 U0085 1 15\ns 1 A 1 c1\n");
        write_file(tree_ / "vrn/cm3/01b5.cmo", "damaged\n");
        add("fr_fr/0333.lco", LocaleObject(single_byte_codeset()));
    }
};

TEST_F(SymbolsClient, TextsGoThereAndBackWhereverBlocksAreCut) {
    const std::string text = "AB\nCD\xE3\x81\x82"
                             "E\n\nA",
                      symbols = "<A><a\\<b><U000A>\n<n07><n08><wide><n09><U000A>\n<U000A>\n<A>";
    std::string large, large_symbols;
    for (int i = 0; i < 20000; ++i) large += text, large_symbols += symbols;
    for (const char *codeset : {"--codeset 8859-1", "-l fr_FR.8859-1"}) {
        for (const size_t chunk : {size_t{1}, size_t{3}, WHOLE}) {
            EXPECT_EQ(client("symbols "s + codeset, text, chunk).out, symbols);
            EXPECT_EQ(client("symbols -d "s + codeset, symbols, chunk).out, text);
        }
        EXPECT_EQ(client("symbols "s + codeset, large).out, large_symbols);
        EXPECT_EQ(client("symbols -d "s + codeset, large_symbols).out, large);
    }
    EXPECT_EQ(client("symbols -a --codeset 819", "A\nB").out, "<A>\n<U000A> <NL>\n<a\\<b>\n");
    EXPECT_EQ(client("symbols --codeset 37", "\xC1\x15\xC1\x25\xC1").out, "<A><U0085>\n<A><U000A>\n<A>");
}

TEST_F(SymbolsClient, MessagesTellPlaceAndReason) {
    const std::string at = "qbgl: standard input:", none = ": no symbol such as <U0041>\n", tree = tree_.path().string();
    const std::string cut = "; was it cut short?\n";
    expect_all(
        "symbols ",
        {{"--codeset 8859-1", "A\nA\xE3\x82", 1, "<A><U000A>\n<A>",
          at + "2:2: offset 3, bytes E3 82: no character in the charmap of 8859-1; is the text in another codeset?\n"},
         {"--codeset l1", "\xE3\x81", 1, "", at + "1:1: offset 0, bytes E3 81: the text ends inside a character of l1" + cut},
         {"-d --codeset 8859-1", "<A>\n <n06>", 1, "A",
          at + "2:2: offset 5, bytes 3C 6E 30 36 3E: the charmap of 8859-1 has no name <n06>\n"},
         {"-d --codeset 8859-1", "<A>x", 1, "A", at + "1:4: offset 3, byte 78" + none},
         {"-d --codeset 8859-1", "<A><" + std::string(400, 'x'), 1, "A", at + "1:4: offset 3, byte 3C" + none},
         {"-d --codeset 8859-1", "<A><n0", 1, "A", at + "1:4: offset 3, bytes 3C 6E 30: the text ends inside a symbol" + cut},
         {"--codeset 8859-2", "", 3, "",
          "qbgl: " + tree + "/vrn/cm3 has no charmap of 8859-2: `qbglc charmap 8859-2 -o " + tree +
              "/vrn/cm3/0390.cmo` makes it, if the platform has one\n"},
         {"--codeset cp437", "", 3, "",
          "qbgl: the charmap of cp437 in " + tree + "/vrn/cm3 is damaged or of another version: `qbglc charmap unitedstates -o " +
              tree + "/vrn/cm3/01b5.cmo` makes it anew\n"}},
        words());
}

} // namespace
