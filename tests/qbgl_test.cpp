// The client as its users see it: the built program is run, and its output, messages and exit status are looked at.
#include "support/client.h"

#include <algorithm>
#include <regex>

using namespace qbgl_test;
using namespace std::string_literals;

namespace {

const std::string OTHER_CODESET = "; is the text in another codeset (-f)? -c leaves such bytes out";

std::string sample(const std::string &name) { return read_file(QBGL_SOURCE_DIR "/examples/text/" + name + ".txt"); }

TEST(Client, TextsGoThereAndBackWhereverBlocksAreCut) {
    const std::pair<const char *, std::string> CASES[] = {
        {"japanese", "sjis"}, {"japanese", "ccsid930"}, {"japanese", "unicode"}, {"chinese_simplified", "gb18030"},
        {"korean", "ksc"},    {"german", "ebcdic"},     {"greek", "8859-7"}};
    for (const auto &[text, codeset] : CASES) {
        SCOPED_TRACE(codeset);
        const std::string original = sample(text).substr(0, 700);
        const std::string whole = original.substr(0, original.rfind('\n') + 1);
        const Result there = qbgl("conv -t " + codeset, whole);
        ASSERT_EQ(there.status, 0) << there.err;
        for (const size_t chunk : {1, 3}) {
            EXPECT_EQ(qbgl("conv -t " + codeset, whole, chunk).out, there.out) << chunk;
            EXPECT_EQ(qbgl("conv -f " + codeset, there.out, chunk).out, whole) << chunk;
        }
    }
}

TEST(Client, MessagesTellPlaceBytesReasonAndRemedy) {
    const std::string at = "qbgl: standard input:";
    const std::string lacks_it = "; choose a target (-t) that has it, or leave such characters out with -c\n";
    const struct {
        std::string arguments, input;
        int status;
        std::string out, err;
    } CASES[] = {
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
        {"-f unicode -t 8859-1 -c", "a\0b"s, 1, "a", "qbgl: 1 left out\n"},
        {"-f ccsid930 -t sjis", "\xC1\x25\x0E\x44\x81\xE0\x41\x0F", 1, "A\n\x82\xA0",
         at + "2:2: offset 5, byte E0: no character of ccsid930" + OTHER_CODESET + "\n"},
        {"-f sjis -t koi-8", "ab\n\x82\xA0", 1, "ab\n", // by way of UTF-8
         at + "2:1: offset 3, bytes 82 A0: koi-8 has no such character of sjis" + lacks_it},
        {"-f sjis -t koi-8 -c", "a\x82\xA0\x84\x40z", 1, "a\xE1z", "qbgl: 1 left out\n"},
        {"-f ccsid930 -t koi-8 -c", "\xC1\x0E\x44\x81", 1, "A", "qbgl: 1 left out\n"},
        {"-t ccsid930 -c", "\xE3\x81\x82\xEA\xB0\x80", 1, "\x0E\x44\x81\x0F", "qbgl: 1 left out\n"},
        {"-f sjis -t shift-jis", "\x82\xA0\xFF", 0, "\x82\xA0\xFF", ""},
        {"-f ja_jp.sjis", "\x82\xA0", 0, "\xE3\x81\x82", ""},
        {"-t sjis", "", 0, "", ""},
        {"-f sjos --json", "", 2, "",
         R"({"kind":"error","message":"unknown codeset sjos: the nearest are sjis, ujis, sjis-s; `qbgl conv -l` lists all",)"
         R"("codeset":"sjos","nearest":["sjis","ujis","sjis-s"],"status":2})" +
             "\n"s},
        {"--json", "", 2, "", R"({"kind":"error","message":"-f or -t is required; see `qbgl --help`","status":2})" + "\n"s},
        {"x", "", 2, "", "qbgl: -f or -t is required; see `qbgl --help`\n"},
        {"-f sjis /nosuch\x01/file", "", 3, "", "qbgl: cannot open /nosuch\\x01/file: No such file or directory\n"},
        {"-f sjis -o /dev/full", "abc", 3, "", "qbgl: cannot write /dev/full: No space left on device\n"},
    };
    for (const auto &row : CASES) {
        SCOPED_TRACE(row.arguments);
        for (const size_t chunk : {WHOLE, size_t{1}}) {
            const Result result = qbgl("conv " + row.arguments, row.input, chunk);
            EXPECT_EQ(result.status, row.status);
            EXPECT_EQ(result.out, row.out);
            EXPECT_EQ(result.err, row.err);
        }
    }
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

TEST(Client, FindingsAsJsonEscapeNames) {
    const TempDir directory;
    const std::string odd = directory / "a\"\n\xFF\\", printed = directory / R"(a\"\\x0a\ufffd\\)",
                      escaped = directory / R"(a\"\u000a\ufffd\\)";
    write_file(odd, "\xC3\xA4\xFF");
    EXPECT_EQ(run({QBGL, "conv", "-t", "sjis", "--json", "--report", odd}).err,
              R"({"kind":"substituted","message":")" + printed + R"(:1:1: offset 0, bytes C3 A4: substituted by 61",)" +
                  R"("finding":"substituted","file":")" + escaped +
                  R"(","line":1,"column":1,"offset":0,"bytes":"C3A4","result":"61","from":"utf8","to":"sjis"})" + "\n" +
                  R"({"kind":"error","message":")" + printed + ":1:2: offset 2, byte FF: no character of utf8" + OTHER_CODESET +
                  R"(","finding":"invalid","file":")" + escaped +
                  R"(","line":1,"column":2,"offset":2,"bytes":"FF","from":"utf8","to":"sjis","status":1})" + "\n" +
                  R"({"kind":"summary","message":"1 substituted, 0 left out","substituted":1,"left_out":0})" + "\n");
}

TEST(Client, ListsNameWhatIsThere) {
    const struct {
        std::string name, member, known_line;
    } CASES[] = {{"codesets", R"(\{"number":\d+,"ccsid":\d+,"names":\["[^"\\]+"(,"[^"\\]+")*\]\})", "\n57350 sjis shift-jis"},
                 {"conversions", R"(\{"source":"[^"\\]+","target":"[^"\\]+"\})", "\nsjis utf8\n"}};
    for (const auto &[name, member, known_line] : CASES) {
        const std::string text = qbgl("list " + name).out, json = qbgl("list " + name + " --json").out;
        EXPECT_NE(text.find(known_line), std::string::npos);
        EXPECT_EQ(std::count(json.begin(), json.end(), '\n'), std::count(text.begin(), text.end(), '\n'));
        const std::string head = "{\"" + name + "\":[", tail = "]}\n";
        ASSERT_TRUE(json.starts_with(head) && json.ends_with(tail));
        std::istringstream members(json.substr(head.size(), json.size() - head.size() - tail.size()) + ",");
        for (std::string line; std::getline(members, line);) EXPECT_TRUE(std::regex_match(line, std::regex(member + ","))) << line;
    }
    EXPECT_EQ(qbgl("conv -l").out, qbgl("list codesets").out);
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
    EXPECT_TRUE(complaint().starts_with("qbgl: there is no installation tree in " + tree.path().string()));
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
    for (const std::string original = sample("german"); text.size() < (64U << 20);) text += original;
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
    const std::string at = "qbgl: standard input: ";
    const struct {
        std::string arguments, input;
        int status;
        std::string out, err;
    } CASES[] = {
        {"upper -l ja_JP.sjis", "aZ\x82\x81\n\0z\n\x82\x9F"s, 0, "AZ\x82\x60\n\0Z\n\x82\x9F"s, ""},
        {"lower -l fr_FR.utf8", "\xC3\x84\n\xE2\xB1\xAF\xF0\x90\x90\x80", 0, "\xC3\xA4\n\xC9\x90\xF0\x90\x90\xA8", ""},
        {"upper -l fr_FR.utf8", "\xC9\x90\n\xC4\xB1", 0, "\xE2\xB1\xAF\nI", ""},
        {"upper -l de_DE.8859-1@euro", "\xE4\xDF\nb\x80", 0, "\xC4\xDF\nB\x80", ""},
        {"upper", "", 0, "", ""},
        {"upper -l ja_JP.sjis", "a\nb\x82\x41\nz\n", 1, "A\nB", at + "offset 3, bytes 82 41: no character of sjis" + OTHER_LOCALE},
        {"upper -l ja_JP.sjis", "a\x82", 1, "A",
         at + "offset 1, byte 82: the text ends inside a character of sjis; was it cut short?\n"},
        {"upper --json -l ja_JP.sjis", "\xFF", 1, "",
         R"({"kind":"error","message":"standard input: offset 0, byte FF: no character of sjis; is the text in another codeset )"
         R"(than the locale (-l)?","finding":"invalid","file":"-","offset":0,"bytes":"FF","codeset":"sjis","status":1})"
         "\n"},
    };
    for (const auto &row : CASES) {
        SCOPED_TRACE(row.arguments);
        for (const size_t chunk : {WHOLE, size_t{1}}) {
            const Result result = client(row.arguments, row.input, chunk);
            EXPECT_EQ(result.status, row.status);
            EXPECT_EQ(result.out, row.out);
            EXPECT_EQ(result.err, row.err);
        }
    }
}

TEST_F(LocaleClient, CaseOfLargeTextsChangesEverywhere) {
    std::string text, upper;
    for (int i = 0; i < 40000; ++i) text += "a\x82\x81", upper += "A\x82\x60"; // no line end: no block ends with a character
    for (int i = 0; i < 40000; ++i) text += "b\n\x82\x82", upper += "B\n\x82\x61";
    const Result result = client("upper -l ja_JP.sjis", text + "\xFF");
    EXPECT_TRUE(result.out == upper);
    EXPECT_TRUE(result.err.starts_with("qbgl: standard input: offset 280000, byte FF: ")) << result.err;
}

TEST_F(LocaleClient, ClassTellsAllOfEachCharacter) {
    const std::string input = "A\xFF\x82\x81\n\x82";
    const Result text = client("class -l ja_JP.sjis", input, 1);
    EXPECT_EQ(text.status, 1);
    EXPECT_EQ(text.out, "  offset bytes    code     char   width upper  lower  classes\n"
                        "       0 41       U+0041   A          1 -      a      upper alpha graph print xdigit\n"
                        "       2 8281     U+FF41   ａ         2 Ａ     -      lower alpha graph print full_width\n"
                        "       4 0A       U+000A   \\n         0 -      -      space cntrl\n");
    EXPECT_EQ(text.err, "qbgl: standard input: offset 1, byte FF: no character of sjis\n"
                        "qbgl: standard input: offset 5, byte 82: the text ends inside a character of sjis\n"
                        "qbgl: 2 sequences are no character of sjis" +
                            OTHER_LOCALE);
    EXPECT_EQ(client("class --json -l ja_JP.sjis", "\x82\x81").out,
              R"({"file":"-","offset":0,"bytes":"8281","value":33409,"code":"U+FF41","character":"ａ","width":2,)"
              R"("classes":["lower","alpha","graph","print","full_width"],"upper":"Ａ","lower":null})"
              "\n");
}

TEST_F(LocaleClient, LocaleShowsWhatTheHandleHolds) {
    const std::string text = client("locale ja_JP.sjis").out;
    for (const char *line :
         {"\nLC_NUMERIC\n  locale                ja_jp/e006.lco\n  codeset               sjis\n",
          "  decimal_point         \"ぁ\"\n  thousands_sep         \"\\t¥\"\n  grouping              3;-1\n"
          "  positive_sign         \"\\u001b\"\n  negative_sign         \"あ\"\n",
          "  longest_character     2\n  characters            420\n  classes               upper        52\n",
          "  own_classes           full_width      229\n", "  passes                forward\n  rows                  420\n",
          "  compare               _gl_im_mbscoll\n", "  n_sign_posn           n/a\n",
          "  mon                   \"January\" \"February\" ",
          "  eras                  \"Heisei\" \"H\", 1989-01-08 to future, \"%EC %Ey\", year 0 counted up\n"})
        EXPECT_NE(text.find(line), std::string::npos) << line << text;
    const std::string json = client("locale --json -l ja_JP.sjis").out;
    for (const char *member :
         {R"({"LC_CTYPE":{"locale":"ja_jp/e006.lco","codeset":"sjis","shortest_character":1,)",
          R"("own_classes":{"full_width":229})",
          R"("decimal_point":"ぁ","thousands_sep":"\u0009¥","grouping":[3,-1],"positive_sign":"\u001b","negative_sign":"あ"})",
          R"("p_sign_posn":1,"n_sign_posn":null},"LC_TIME":{)", R"("start":"1989-01-08","end":"future","name":"Heisei",)"})
        EXPECT_NE(json.find(member), std::string::npos) << member << json;
    EXPECT_NE(client("locale", "", WHOLE, "GL_LANG=fr_fr/e01c.lco").out.find("fr_fr/e01c.lco"), std::string::npos);
    EXPECT_NE(client("locale").out.find("default.lco"), std::string::npos);
}

TEST_F(LocaleClient, LocalesAreListed) {
    EXPECT_EQ(client("list locales").out, "de_DE.8859-1@euro 8859-1       de_de/0333euro.lco\n"
                                          "default.lco       sjis         default.lco\n"
                                          "fr_FR.utf8        utf8         fr_fr/e01c.lco\n"
                                          "ja_JP.sjis        sjis         ja_jp/e006.lco\n");
    EXPECT_TRUE(client("list locales --json")
                    .out.starts_with(
                        R"({"locales":[{"specification":"de_DE.8859-1@euro","codeset":"8859-1","file":"de_de/0333euro.lco"},)"));
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
             "/vrn/lc11/ja_jp/e01c.lco` makes it" + nearest("ja_JP.sjis, fr_FR.utf8, default.lco")},
        {"-l fr", "X=", 2,
         "unknown locale fr: it names no known codeset after \".\", and no file in " + places +
             nearest("fr_FR.utf8, ja_JP.sjis, default.lco")},
        {"", "GL_TIME=ja_JP.sjis", 2,
         "the locale that GL_TIME names, ja_JP.sjis, is not in " + places +
             "; the variable takes the name of an object file, here ja_jp/e006.lco" +
             nearest("ja_JP.sjis, fr_FR.utf8, default.lco")},
        {"", "GL_TIME=fr_fr/e01c.lco", 2, "cannot load the locale of the environment: its categories are in different codesets\n"},
        {"-l ko_KR.8859-1", "X=", 3,
         "cannot load the locale ko_KR.8859-1: its object " + tree + "/vrn/lc11/ko_kr/0333.lco is of another version" + anew},
        {"-l ko_KR.utf8", "X=", 3,
         "cannot load the locale ko_KR.utf8: its object " + tree + "/vrn/lc11/ko_kr/e01c.lco is damaged (error 11)" + anew},
        {"", "GL_PATH=/nosuch", 3,
         "there are no locales in /nosuch: set QUORBANEDIR to an installation tree, or make one with `qbglc tree DIR`\n"},
    };
    for (const auto &row : CASES) {
        const Result result = client("upper " + row.arguments, "", WHOLE, row.set);
        EXPECT_EQ(result.status, row.status);
        EXPECT_EQ(result.err, "qbgl: " + row.message);
    }
}

} // namespace
