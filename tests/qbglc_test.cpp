// The compiler's own parts; that the objects convert as the platform does is the oracle's matter.
#include "conversion/join.h"
#include "installation/extension.h"
#include "installation/tree.h"
#include "object/charmap.h"
#include "object/conversion.h"
#include "object/seal.h"
#include "recipe/catalogue.h"
#include "support/files.h"
#include "support/message.h"
#include "system/file.h"
#include "system/lock.h"
#include "system/process.h"

#include <gtest/gtest.h>

#include <atomic>
#include <sys/stat.h>
#include <thread>

using namespace qbgl::compiler;
using qbgl_test::message_of;
namespace fs = std::filesystem;

namespace {

Charmap charmap(const std::string &body, const std::string &codeset = "T") {
    return parse_charmap("<code_set_name> " + codeset +
                             "\n<comment_char> %\n<escape_char> /\n<mb_cur_max> 4\n% comment\nCHARMAP\n" + body + "END CHARMAP\n",
                         "cm");
}

CodesetPtr codeset(const std::string &body, const std::string &name = "T") {
    std::string warning;
    return codeset_from_charmap(charmap(body, name), name, warning);
}

} // namespace

TEST(Charmap, ErrorsNameFileLineAndConstruct) {
    const std::pair<const char *, const char *> cases[] = {
        {"<U0041> /x4\n", "cm:7:11: malformed byte: <U0041> /x4"},
        {"<U0041> /x41z\n", "cm:7:13: malformed bytes: <U0041> /x41z"},
        {"<U0041>\n", "cm:7:8: bytes expected: <U0041>"},
        {"<U0041> /x01/x02/x03/x04/x05\n", "cm:7:27: more than four bytes: <U0041> /x01/x02/x03/x04/x05"},
        {"<U0042>..<U0041> /x41\n", "cm:7:22: range runs backward: <U0042>..<U0041> /x41"},
        {"<U0041>..<U0043> /xfe\n", "cm:7:22: range runs past the last byte: <U0041>..<U0043> /xfe"},
        {"<a01>..<a03> /xfe\n", "cm:7:13: range of names that are not <Uxxxx>: <a01>..<a03> /xfe"},
        {"<a01>...<a03> /xfe\n", "cm:7:19: range runs past the last byte: <a01>...<a03> /xfe"},
        {"<a01>...<b03> /x41\n", "cm:7:14: names of a range that do not count in decimal: <a01>...<b03> /x41"},
        {"<UD800> /x41\n", "cm:7:8: not a character of Unicode: <UD800> /x41"},
        {"<U0041 /x41\n", "cm:7:1: name is not closed by >: <U0041 /x41"},
    };
    for (const auto &[body, expected] : cases) EXPECT_EQ(message_of([text = body] { charmap(text); }), expected);
    EXPECT_EQ(message_of([] { charmap("<U0041> /x41\n", "UTF-8"), charmap("<U0041> /x42\n", "UTF-8"); }),
              "cm:7:13: not the UTF-8 form of the name: <U0041> /x42");
    EXPECT_EQ(message_of([] { parse_charmap("CHARMAP\n<U0041> \\x41\n", "cm"); }),
              "cm:2: CHARMAP section is not closed by END CHARMAP");
    EXPECT_EQ(
        message_of([] { parse_charmap("CHARMAP\nx\n<U0041> \\x41\nEND CHARMAP\nWIDTH\n<U0041> 77\nEND WIDTH\nDEPTH\nx\n", "cm"); }),
        "cm:2:1: <name> expected: x\ncm:6:9: a character fills two columns at most: <U0041> 77\n"
        "cm:8:1: unknown section: DEPTH");
    EXPECT_EQ(message_of([] { parse_charmap("\xEF\xBB\xBF", "cm"); }),
              "cm:1:1: begins with a byte order mark of UTF-8: save it as UTF-8 without one");
    EXPECT_EQ(message_of([] { parse_charmap("<colour> red\n", "cm"); }), "cm:1:10: unknown declaration: <colour> red");
    EXPECT_EQ(message_of([] { codeset("<a> /x41\n"); }), "cm: no character has a name <Uxxxx>");
}

// Records and their marks are compared by the oracle.
TEST(Join, KnowsHowMuchTextGrows) {
    const Conversion conversion = join(*codeset("<U0041> /x41\n<UFF21> /xff/x01\n"), *codeset("<U0041> /x82/x01/x02\n"), {});
    EXPECT_EQ(conversion.growth, 3 * conversion.per);
    Codeset stateful("s", Codeset::Form::BYTES, true);
    stateful.add(U'\u3042', Sequence("\x44\x45"), true);
    stateful.finish();
    const Conversion shifting = join(*codeset("<U3042> /x83\n"), stateful, {});
    EXPECT_EQ(shifting.growth, 3 * shifting.per) << "a shift byte and two more for one";
    Substitutions substitutions;
    EXPECT_NE(message_of([&] { substitutions.add_locale_text("translit_start\n<U00E9> \"<U0065>\n", "loc", false); }).find("loc:2"),
              std::string::npos);
}

TEST(ConversionObject, RefusesWhatNoReaderCouldTake) {
    const auto set = codeset("<U0041> /x41\n<U0042> /x41/x42\n");
    EXPECT_EQ(message_of([&] { conversion_object(join(*set, *set, {}), ""); }),
              "4142: a character that begins another one, or that another one begins");
    EXPECT_THROW(conversion_header({std::string(127, 'x')}), DataError);
}

TEST(CharmapObject, ListsAllNamesSoThatTheFirstOfSeveralCounts) {
    const auto body = [](const std::string &lines, char32_t below = CODE_LIMIT) {
        const std::string object = charmap_object(symbolic_names(charmap(lines), below), "");
        return object.substr(object.find("###") + 12);
    };
    const std::pair<const char *, const char *> cases[] = {
        {"<j0101>...<j0104> /d129/d254\n<j0105> /d130/d002\n", "r 5 j0101 101 5 2 81fe\n"},
        // Three at least; names count in decimal, bytes in binary; nothing grows.
        {"<a1> /x81\n<a2> /x82\n<b3> /x83\n<b4> /x84\n<b5> /x86\n",
         "s 2 a1 1 81\ns 2 a2 1 82\ns 2 b3 1 83\ns 2 b4 1 84\ns 2 b5 1 86\n"},
        {"<U00F8>..<U00FB> /xf8\n", "s 5 U00F8 1 f8\ns 5 U00F9 1 f9\ns 5 U00FA 1 fa\ns 5 U00FB 1 fb\n"},
        {"<x8> /x81\n<x9> /x82\n<x10> /x83\n", "s 2 x8 1 81\ns 2 x9 1 82\ns 3 x10 1 83\n"},
        {"<U00010100>..<U00010103> /x81\n", "r 9 U00010100 10100 4 1 81\n"},
        // What is found first stands last: the file's first name of a character, and of a name's characters one that is written.
        {"<p> /x81\n<q> /x81\n%IRREVERSIBLE%<r> /x82\n<r> /x83\n<r> /x84\n<p> /x81\n<s> /x85\n",
         "s 1 s 1 85\ns 1 r 1 82\ns 1 r 1 84\ns 1 r 1 83\ns 1 q 1 81\ns 1 p 1 81\n"},
        // A value that characters of two lengths share stands in no range.
        {"<a1> /x81\n<a2> /x82\n<a3> /x83\n<b> /x00/x82\n", "s 2 a1 1 81\ns 2 a3 1 83\ns 1 b 2 0082\ns 2 a2 1 82\n"},
        {"<U003C> /x4c\n<U0041> /xc1\n<U0009> /x05\n<tab> /x06\n",
         "s 3 tab 1 06\ns 1 A 1 c1\ns 14 less-than-sign 1 4c\ns 2 HT 1 05\ns 5 U0009 1 05\ns 5 U0041 1 c1\ns 5 U003C 1 4c\n"},
    };
    for (const auto &[lines, expected] : cases) EXPECT_EQ(body(lines), expected) << lines;
    EXPECT_EQ(body("<U20000> /x81\n<U00020001> /x82\n", 0x20001), "s 6 U20000 1 81\n"); // the first is no code's name
    EXPECT_EQ(charmap_header("t", {"X=1"}), "FILE_TYPE=charmap_object\nCOMPILER_VERSION=3\nHEADER_LENGTH=7\nCODESET=t\n"
                                            "SOURCE_VERSION=1\nX=1\n");
}

TEST(CharmapObject, RefusesWhatNoReaderCouldKeep) {
    const auto compiled = [](const std::string &lines) {
        return message_of([&] { charmap_object(symbolic_names(charmap(lines)), ""); });
    };
    const std::string tail = ", and cannot stand in a charmap object", longest(127, 'n');
    EXPECT_EQ(compiled("<" + longest + "> /x41\n"), "no error");
    EXPECT_EQ(compiled("<" + longest + "n> /x41\n"), "cm:7: the name <" + longest + "n> has more than 127 bytes" + tail);
    EXPECT_EQ(compiled("<U0042> /x42\n<a b> /x41\n"), "cm:8: the name <a b> has white space in it" + tail);
    EXPECT_EQ(compiled("<> /x41\n"), "cm:7: the name <> is empty" + tail);
    EXPECT_EQ(compiled("<a> /x41\n<b> /x41/x42\n"), "4142: a character that begins another one, or that another one begins");
    EXPECT_EQ(compiled(""), "a charmap without characters");
}

TEST(Catalogue, RefusesContradictions) {
    const std::pair<const char *, const char *> cases[] = {
        {"a 1 - charmap A\na 2 - charmap B\n", "f:2: a: has another number above"},
        {"a 1 same\n", "f:1: no codeset of this number stands above"},
        {"a 1 - charmap A\nb 1 - charmap B\n", "f:2: this number has its source above: say \"same\""},
        {"a 57344 - charmap A\n", "f:1: this number means that there is no codeset"},
        {"a 65536 - charmap A\n", "f:1: 65536: not a number up to 65535"},
        {"a 1 - magic A\n", "f:1: magic: unknown kind of source"},
        {"abcdefghijklmnopqrstuv 1 - charmap A\n", "f:1: abcdefghijklmnopqrstuv: longer than 21 characters"},
        {"Abc 1 - charmap A\n", "f:1: Abc: not a codeset name"},
        {"", "f: no codesets"},
    };
    for (const auto &[text, expected] : cases) EXPECT_EQ(message_of([recipe = text] { Catalogue::parse(recipe, "f"); }), expected);
    const Catalogue catalogue = Catalogue::parse("a 1 - charmap A\nb 2 - none why\nc 3 - charmap C\n", "f");
    EXPECT_EQ(catalogue.parse_conversions("a *\nc a\n", "g").size(), 2u);
    EXPECT_EQ(message_of([&] { catalogue.parse_conversions("a b\n", "g"); }), "g:1: b: has no source");
    EXPECT_EQ(message_of([&] { catalogue.parse_conversions("\na d\n", "g"); }), "g:2: d: unknown codeset");
}

TEST(Process, ReportsWhatFails) {
    EXPECT_NE(run_process({"cat", "/nonexistent/file"}).errors.find("/nonexistent/file"), std::string::npos);
    EXPECT_THROW(run_process({"/nonexistent/program"}), SystemError);
}

TEST(Seal, ShowsAnyDamage) {
    std::string object = "A=1\nB=2\nHEADER_LINES=5\nORDER=x\nbody of some words";
    seal(object, object.find("body"));
    EXPECT_EQ(check_seal(object), Seal::WHOLE) << object;
    EXPECT_EQ(header_value(object, "ORDER="), "x");
    EXPECT_EQ(header_value(object, "body"), "") << "no line of the header";
    size_t unseen = 0;
    for (size_t i = 0; i < object.size(); ++i)
        for (int bit = 0; bit < 8; ++bit) {
            std::string damaged = object;
            damaged[i] = static_cast<char>(damaged[i] ^ 1 << bit);
            unseen += check_seal(damaged) == Seal::WHOLE;
        }
    EXPECT_EQ(unseen, 0u);
    EXPECT_EQ(check_seal(object.substr(0, object.size() - 1)), Seal::BROKEN);
    EXPECT_EQ(check_seal(object + '\0'), Seal::BROKEN);
    EXPECT_EQ(check_seal("A\nB\nHEADER_LINES=3\nbody"), Seal::NONE);
}

TEST(File, LinksAndPipesAreWrittenTo) {
    const qbgl_test::TempDir directory;
    const fs::path file = directory.path() / "file", link = directory.path() / "link", pipe = directory.path() / "pipe";
    fs::create_symlink("file", link); // leads nowhere yet
    write_named_file(link, "one");
    EXPECT_EQ(read_file(file), "one");
    write_named_file(link, "two");
    EXPECT_EQ(read_file(file), "two");
    fs::permissions(file, fs::perms::owner_read);
    write_named_file(file, "three");
    EXPECT_EQ(fs::status(file).permissions(), fs::perms::owner_read);
    EXPECT_TRUE(fs::is_symlink(link));
    write_named_file("/dev/null", "three");
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    std::string read;
    std::jthread reader([&] { read = read_file(pipe); });
    write_named_file(pipe, std::string(1 << 20, 'x'));
    reader.join();
    EXPECT_EQ(read.size(), size_t{1} << 20);
    EXPECT_TRUE(fs::is_fifo(pipe));
    EXPECT_THROW(write_named_file(directory.path(), "four"), SystemError);
    const std::string nowhere = directory.path() / "none/file";
    try {
        write_named_file(nowhere, "five");
        FAIL();
    } catch (const SystemError &error) {
        EXPECT_EQ(error.what(), nowhere + ": No such file or directory");
    }
}

// A tree of one locale and two conversions, whose sources a test changes.
class Tree : public testing::Test {
  protected:
    void SetUp() override {
        write_charmap("<U0000> \\x00\n");
        write_locale("a", "yes");
        const std::pair<const char *, const char *> recipes[] = {
            {"codesets", "one 1 - charmap ./one\nuno 1 same\ntwo 2 - unicode ucs-2le\nnil 3 - none no reason\n"},
            {"conversions", "one two\n"},
            {"locales", ""},
            {"substitutions", "except 41\n"}};
        for (const auto &[name, text] : recipes) qbgl_test::write_file(data_ / name, text);
    }
    void write_charmap(const std::string &body) {
        qbgl_test::write_file(data_ / "charmaps/one", "CHARMAP\n<U0041> \\x41\n" + body + "END CHARMAP\n");
    }
    // Its order begins with one of the letters a and b, which stand at 61 and 62; yes is its yesexpr.
    void write_locale(const std::string &first, const std::string &yes) {
        std::string text = "LC_CTYPE\nEND LC_CTYPE\nLC_COLLATE\norder_start forward\n<" + first +
                           ">\nUNDEFINED\norder_end\nEND LC_COLLATE\nLC_MESSAGES\nyesexpr \"" + yes + "\"\nEND LC_MESSAGES\n";
        for (const std::string category : {"LC_NUMERIC", "LC_MONETARY", "LC_TIME"})
            text += category + "\ncopy \"POSIX\"\nEND " + category + "\n";
        qbgl_test::write_file(data_ / "locale", text);
    }
    TreeReport build(bool accept_changes = false) {
        Library library(data_);
        return build_tree(library, root_.path() / "out", {.threads = 2, .accept_changes = accept_changes});
    }
    std::vector<std::string> verify() {
        Library library(data_);
        auto findings = verify_tree(library, root_.path() / "out", {});
        for (std::string &finding : findings) finding.erase(0, (root_.path() / "out/vrn/").string().size());
        return findings;
    }

    const qbgl_test::TempDir root_;
    const fs::path data_ = root_.path() / "data", objects_ = root_.path() / "out/vrn/cv9";
};

TEST_F(Tree, IsBuiltOnceSkippedAndCleanedUp) {
    EXPECT_EQ(build().written, 3u);
    EXPECT_TRUE(read_file(objects_ / "../cm3/0001.cmo").ends_with("\ns 3 NUL 1 00\ns 5 U0000 1 00\ns 5 U0041 1 41\n"));
    EXPECT_EQ(fs::read_symlink(objects_ / "uno_two.cvo"), "00010002.cvo");
    EXPECT_EQ(read_file(objects_ / "../cm3/registry").substr(0, 1), "#");
    const std::string first = read_file(objects_ / "00020001.cvo");
    EXPECT_EQ(verify(), std::vector<std::string>{});

    for (const char *name : {"00050006.cvo", "00010002.cvo.9.new", "notes", "../cm3/0007.cmo"})
        qbgl_test::write_file(objects_ / name, "stale");
    // Of an extension: a locale without its object, and the map.
    fs::create_symlink("0001.lco", objects_ / "../lc11/0001icu.lco");
    for (const std::string registry : {"qbgl_icu.so\nb\n", "b\nqbgl_icu.so"})
        EXPECT_EQ(extension_registry(registry, ""), registry) << "the order is the owner's";
    EXPECT_THROW(extension_registry("b\n", ""), DataError) << "which would no longer be taken";
    EXPECT_FALSE(is_taken("qbgl_icu.so\nb\n"));
    qbgl_test::write_file(objects_ / "../etc/dllregistry", "qbgl_icu.so\n");
    qbgl_test::write_file(objects_ / "../etc/locmap", std::string(MAP_HEADING));
    EXPECT_EQ(verify().size(), 5u);
    const TreeReport report = build();
    EXPECT_EQ(report.written, 0u);
    EXPECT_EQ(report.removed, 4u);
    EXPECT_EQ(verify(), std::vector<std::string>{});
    EXPECT_TRUE(fs::exists(objects_ / "notes")) << "the user's";

    fs::remove(objects_ / "00020001.cvo");
    EXPECT_EQ(verify(), std::vector<std::string>{"cv9/00020001.cvo: is missing"});
    EXPECT_EQ(build().written, 1u);
    EXPECT_EQ(read_file(objects_ / "00020001.cvo"), first);

    std::string damaged = first;
    damaged.back() ^= 2;
    qbgl_test::write_file(objects_ / "00020001.cvo", damaged);
    EXPECT_EQ(verify(), std::vector<std::string>{"cv9/00020001.cvo: is damaged"});
    EXPECT_EQ(build().damaged.size(), 1u);
    EXPECT_EQ(read_file(objects_ / "00020001.cvo"), first);

    write_charmap("<U0042> \\x41\\x42\n");
    EXPECT_THROW(build(), DataError);
    EXPECT_EQ(read_file(objects_ / "00020001.cvo"), first) << "a failed run leaves the old object";
    for (const auto &entry : fs::directory_iterator(objects_))
        EXPECT_FALSE(entry.path().string().ends_with(".new")) << entry.path();
}

TEST_F(Tree, KeepsLocalesThatChangedUntilToldOtherwise) {
    write_charmap("<U0000>..<U007F> \\x00\n");
    qbgl_test::write_file(data_ / "locales", "xx_yy locale one\n");
    const fs::path object = objects_ / "../lc11/xx_yy/0001.lco";
    EXPECT_EQ(build().changes.size(), 0u);
    const std::tuple<const char *, const char *, const char *> cases[] = {// the last is null where there is none to be told
                                                                          {"a", "y", nullptr},
                                                                          {"b", "y", "texts have another order"},
                                                                          {"b", "\u00E9", "its codeset cannot carry"}};
    for (const auto &[first, yes, change] : cases) {
        SCOPED_TRACE(yes + std::string(first));
        write_locale(first, yes);
        const std::string old = read_file(object);
        const TreeReport report = build();
        EXPECT_EQ(report.changes.size(), change ? 1u : 0u);
        EXPECT_EQ(read_file(object) == old, change != nullptr);
        if (!change) continue;
        EXPECT_NE(report.changes.at(0).find(change), std::string::npos) << report.changes.at(0);
        EXPECT_EQ(build(true).changes.size(), 1u);
        EXPECT_TRUE(!fs::exists(object) || read_file(object) != old);
    }
    EXPECT_FALSE(fs::exists(object));
}

TEST_F(Tree, RunsWaitForOneAnother) {
    build();
    std::atomic<bool> waited = false;
    std::jthread second;
    {
        const DirectoryLock first(root_.path() / "out/vrn", DirectoryLock::Kind::WRITER, [] {});
        second = std::jthread([&] {
            Library library(data_);
            build_tree(library, root_.path() / "out", {.waits = [&] { waited = true; }});
        });
        while (!waited) std::this_thread::yield();
    }
    second.join();
    EXPECT_EQ(verify(), std::vector<std::string>{});
}
