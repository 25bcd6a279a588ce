// Locale definitions as the platform has them and as users write them.
#include "charmap/sequence.h"
#include "definition/definition.h"
#include "support/files.h"
#include "support/message.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <sstream>

using namespace qbgl::compiler;
namespace fs = std::filesystem;

namespace {

const fs::path PLATFORM = "/usr/share/i18n/locales";

std::string utf8(std::u32string_view text) {
    std::string result;
    for (const char32_t code : text) result += utf8_of(code).text();
    return result;
}

// Definitions of all six categories, which are empty unless a test fills them.
class Definitions : public testing::Test {
  protected:
    using Bodies = std::map<std::string, std::string>;

    std::string write(const std::string &name, Bodies bodies, const std::string &head = "comment_char %\nescape_char /\n") {
        std::string text = head;
        for (const char *category : {"LC_CTYPE", "LC_COLLATE", "LC_NUMERIC", "LC_MONETARY", "LC_TIME", "LC_MESSAGES"})
            text += fmt::format("{}\n{}END {}\n", category, bodies[category], category);
        qbgl_test::write_file(directory_ / name, text);
        return directory_ / name;
    }
    std::shared_ptr<const Definition> read(const Bodies &bodies) { return DefinitionReader().read(write("d", bodies)); }

    // The messages without the directory, or "no error".
    std::string error_of(const std::string &file) {
        std::string text = qbgl_test::message_of([&] { DefinitionReader().read(file); });
        const std::string directory = directory_.path().string() + '/';
        for (size_t at; (at = text.find(directory)) != std::string::npos;) text.erase(at, directory.size());
        return text;
    }

    qbgl_test::TempDir directory_;
};

std::string dump(const std::vector<CodeRange> &ranges) {
    std::string text;
    for (const CodeRange &range : ranges)
        text += range.first == range.last ? fmt::format("{:X} ", static_cast<unsigned>(range.first))
                                          : fmt::format("{:X}-{:X}/{} ", static_cast<unsigned>(range.first),
                                                        static_cast<unsigned>(range.last), static_cast<unsigned>(range.step));
    return text;
}

// The names that entries of the order begin with.
std::string entries(const CollationRules &rules) {
    std::string text;
    rules.for_each([&](const CollationStatement &statement) {
        for (const CollationItem &item : statement.operands) text += fmt::format("{} ", item.name);
    });
    return text;
}

} // namespace

// Every locale of the platform is one that a user may name; files without a category of their own are parts of others.
TEST(PlatformDefinitions, AllAreRead) {
    DefinitionReader reader;
    size_t locales = 0;
    for (const fs::directory_entry &entry : fs::directory_iterator(PLATFORM)) {
        if (qbgl_test::read_file(entry.path()).find("\nLC_TIME") == std::string::npos) continue;
        ++locales;
        EXPECT_NO_THROW(reader.read(entry.path())) << entry.path();
    }
    EXPECT_GT(locales, 300u);
}

TEST_F(Definitions, Members) {
    const struct {
        const char *list, *ranges;
    } cases[] = {
        {"<A>;<left-square-bracket>;<U00E9>;<U0001F600>", "41 5B E9 1F600 "},
        {"a;\u00E9;/;;/,;/%", "61 E9 3B 2C 25 "},
        {"/x2c;/d044;/054;<space>", "2C 2C 2C 20 "},
        {"<U0041>..<U005A>;a...z;<a>;...;<c>;<U0041>;..(2)..;<U0047>", "41-5A/1 61-7A/1 61-63/1 41-47/2 "},
        {"<U0041>..(2)..<U0047>", "41-47/2 "},
        {"<U0009>....<U0011>", "9 10 11 "},
        {"/\n  <U0041>; /\n% <U0042>;/\n<U0043>; % three /\n<U0044>;  % a ; ends", "41 43 44 "},
    };
    for (const auto &[list, ranges] : cases)
        EXPECT_EQ(dump(read({{"LC_CTYPE", fmt::format("upper {}\n", list)}})->ctype.classes.at("upper")), ranges) << list;
}

TEST_F(Definitions, Keywords) {
    write("base", {{"LC_MESSAGES", "yesexpr \"base\"\n"}});
    const auto definition = read({{"LC_NUMERIC", "decimal_point \"<comma>\"\ngrouping 3;2;-1\n"},
                                  {"LC_TIME", "am_pm \"a/\"/<<U00E9>/\n/x42\";\"\"\nt_fmt \"%H//%M\" % now\nweek 7;19971130;4\n"},
                                  {"LC_MESSAGES", "copy \"base\"\n"}});
    EXPECT_EQ(definition->numeric.at("grouping").numbers(), (std::vector{3, 2, -1}));
    EXPECT_EQ(utf8(definition->numeric.at("decimal_point").text()), ",");
    EXPECT_EQ(definition->time.at("am_pm").texts(), (std::vector<std::u32string>{U"a\"<\u00E9B", U""}));
    EXPECT_EQ(utf8(definition->time.at("t_fmt").text()), "%H/%M");
    EXPECT_EQ(utf8(definition->messages.at("yesexpr").text()), "base");
    EXPECT_EQ(definition->time.at("week").place.line - definition->time_place.line, 4u);
    EXPECT_THROW(definition->time.at("week").number(), DataError);
    EXPECT_THROW(definition->time.at("t_fmt").numbers(), DataError);
}

TEST_F(Definitions, RangesOfNames) {
    const auto ranges = read({{"LC_COLLATE", "collating-symbol <R0FF>..<R101>\ncollating-symbol <rfe>..<r101>\n"
                                             "collating-symbol <d9>....<d10>\ncollating-symbol <j8>....(2)....<j12>\n"}});
    std::string names;
    ranges->collate->for_each([&](const CollationStatement &statement) {
        for (const std::string &name : names_of(statement)) names += name + " ";
    });
    EXPECT_EQ(names, "R0FF R100 R101 rfe rff r100 r101 d9 d10 j8 j10 j12 ");
}

TEST_F(Definitions, Conditions) {
    const std::string branches = "ifdef A\n<a>\nelif B\n<b>\nelse\n<c>\nendif\nifndef A\nifdef B\n<nb>\nelse\n<n>\nendif\nendif\n";
    write("base", {{"LC_COLLATE", branches + "define C\n"}});
    const struct {
        const char *before, *entries;
    } cases[] = {{"", "c n after "},
                 {"define B\n", "b nb after "},
                 {"define A\ndefine B\n", "a after "},
                 {"define A\nundef A\n", "c n after "},
                 {"ifdef A\nno such keyword\nendif\n", "c n after "}};
    DefinitionReader reader;
    for (const auto &test : cases) {
        const std::string body = std::string(test.before) + "copy \"base\"\nifdef C\n<after>\nendif\n";
        const std::string name = fmt::format("d{}", &test - cases);
        EXPECT_EQ(entries(*reader.read(write(name, {{"LC_COLLATE", body}}))->collate), test.entries) << test.before;
    }
}

TEST_F(Definitions, RulesThatAreCopiedByTwoWaysCountOnce) {
    write("base", {{"LC_COLLATE", "<a>\n<b>\n"}});
    write("left", {{"LC_COLLATE", "copy \"base\"\n<l>\n"}});
    write("right", {{"LC_COLLATE", "copy \"base\"\n<r>\n"}});
    DefinitionReader reader;
    const auto both = reader.read(write("both", {{"LC_COLLATE", "copy \"left\"\ncopy \"right\"\n"}}));
    EXPECT_EQ(entries(*both->collate), "a b l r ");
}

TEST_F(Definitions, ErrorsTellWhere) {
    write("loop", {{"LC_CTYPE", "copy \"d\"\n"}});
    EXPECT_EQ(error_of(write("d", {{"LC_CTYPE", "copy \"loop\"\n"}})),
              "loop:4:1: copies itself, by way of other definitions or at once");
    qbgl_test::write_file(directory_ / "none", "LC_TIME\nEND LC_TIME\n");
    const struct {
        const char *category, *body, *message; // behind "d:" and the line in the body
    } cases[] = {
        {"LC_CTYPE", "\nvowel a\n", "2:1: vowel: unknown keyword of LC_CTYPE"},
        {"LC_CTYPE", "upper <U0041>;\n\nlower <nonsense>\n", "3:7: <nonsense>: unknown character"},
        {"LC_CTYPE", "upper <U0042>..<U0041>\n", "1:7: range runs backward"},
        {"LC_CTYPE", "upper ...;b\n", "1:7: ellipsis without a first character: ..."},
        {"LC_CTYPE", "upper <UD800>\n", "1:14: <UD800> is not a character of Unicode"},
        {"LC_CTYPE", "upper /xc4\n", "1:8: c4: a byte beyond ASCII is no character, write <Uxxxx>"},
        {"LC_CTYPE", "upper \xC0\x80\n", "1:7: not UTF-8: \\xC0\\x80"},
        {"LC_CTYPE", "upper <U0041\n", "1:13: symbol is not closed by >"},
        {"LC_CTYPE", "cntrl <U0000>\nspace <U0020>;<U0000>\n", "2:15: space: NUL cannot be in this class"},
        {"LC_CTYPE", "toupper (a,A);(b)\n", "1:17: , expected: )"},
        {"LC_CTYPE", "translit_start\nae \"x\"\ntranslit_end\n", "2:1: character expected: ae"},
        {"LC_CTYPE", "\ntranslit_start\n", "2:1: translit_start is not closed by translit_end"},
        {"LC_CTYPE", "copy \"nowhere\"\n", "1:1: nowhere: no such definition"},
        {"LC_CTYPE", "copy \"none\"\n", "1:1: none: has no LC_CTYPE"},
        {"LC_COLLATE", "order_begin\n", "1:1: order_begin: unknown keyword of LC_COLLATE"},
        {"LC_COLLATE", "\norder_start forward,backward\n", "2:1: both forward and backward"},
        {"LC_COLLATE", "order_start sideways\n", "1:1: sideways: unknown direction"},
        {"LC_COLLATE", "order_start\n<a>\n", "1:1: order_start is not closed by order_end"},
        {"LC_COLLATE", "reorder-end\n", "1:1: reorder-end without reorder-after"},
        {"LC_COLLATE", "\nifdef A\n", "2:1: condition is not closed by endif"},
        {"LC_COLLATE", "endif\n", "1:1: endif without a condition"},
        {"LC_COLLATE", "collating-symbol <A1>..<B2>\n", "1:1: <A1> to <B2>: no range of names"},
        {"LC_COLLATE", "<U0041> <a>..<b>\n", "1:12: end of line expected: .."},
        {"LC_TIME", "am_pm \"a\"\n", "1:7: am_pm: 1 operands, not 2"},
        {"LC_TIME", "d_fmt 3\n", "1:7: text in quotes expected: 3"},
        {"LC_TIME", "d_fmt \"a\n\"\n", "1:9: text is not closed by \""},
        {"LC_TIME", "d_fmt \"a\"\nd_fmt \"b\"\n", "2:1: d_fmt: stands twice"},
        {"LC_NUMERIC", "grouping three\n", "1:10: number expected: three"},
        {"LC_CTYPE", "toupper (a,A);(b,B);(a,A)\ntolower (A,a);/\n(A,b)\n",
         "3:1: U+0041 is mapped to U+0062 here, and to U+0061 in line 5"},
        {"LC_MESSAGES", "copy \"d\"\nyesexpr \"\"\n", "2:1: yesexpr: a copy stands alone in LC_MESSAGES"},
        {"LC_MONETARY", "int_curr_symbol \"EURO \"\n", "1:17: int_curr_symbol: 5 characters, not 4"},
        {"LC_MONETARY", "int_p_sign_posn 77\n", "1:17: int_p_sign_posn: 77 is not between -1 and 4"},
        {"LC_TIME", "d_fmt \"\u00E9\" \xFF\x07\n", "1:11: end of line expected: \\xFF\\x07"},
    };
    for (const auto &test : cases) {
        const std::string file = write("d", {{test.category, test.body}}), error = error_of(file);
        const std::string text = qbgl_test::read_file(file);
        const auto start = text.begin() + static_cast<long>(text.find(std::string("\n") + test.category + "\n") + 1);
        const auto line = std::count(text.begin(), start, '\n') + 1 + std::atoi(test.message);
        const std::string expected = fmt::format("\nd:{}{}\n", line, std::strchr(test.message, ':'));
        EXPECT_NE(fmt::format("\n{}\n", error).find(expected), std::string::npos) << error << expected << test.body;
    }
}

TEST_F(Definitions, AllErrorsAreTold) {
    write("base", {{"LC_CTYPE", "lower <nosuch>\n"}});
    const std::string ctype = "upper <U0041\nlower a;/\n <nosuch>;b\ncopy \"base\"\ntranslit_start x\nae \"x\"\n<U00E9> e e\n"
                              "translit_end \"\npunct \"\nupper A\n",
                      collate = "order_start sideways\n<a> <b>..\norder_end\nifdef\nelse\nendif\norder_start\nreorder-after <a>\n"
                                "reorder-end\n";
    std::istringstream lines(error_of(write("d", {{"LC_CTYPE", ctype}, {"LC_COLLATE", collate}, {"LC_TIME", "day \"\"\n"}})));
    std::string places;
    for (std::string line; std::getline(lines, line);) places += line.substr(0, line.find(": ")) + " ";
    EXPECT_EQ(places, "base:4:7 d:4:13 d:6:2 d:8:16 d:9:1 d:10:11 d:11:15 d:12:8 d:16:1 d:17:8 d:19:6 d:23:1 d:31:5 ");
}

TEST_F(Definitions, CategoriesStandOneBehindTheOther) {
    const struct {
        const char *text, *message;
    } cases[] = {
        {"LC_CTYPE\nupper a\n", "d:1:1: LC_CTYPE is not closed by END LC_CTYPE"},
        {"\nLC_CTYPE\nLC_TIME\nEND LC_TIME\n", "d:2:1: LC_CTYPE is not closed by END LC_CTYPE"},
        {"LC_CTYPE\nEND LC_TIME\n", "d:2:5: END LC_TIME in LC_CTYPE"},
        {"LC_NAME\nanything (at all\nEND LC_NAME\nLC_NAME\nEND LC_NAME\n", "d:4:1: LC_NAME: stands twice"},
        {"LC_CTYPE\nEND LC_CTYPE\n", "d: no LC_COLLATE"},
        {"# comment\nescape_char //\n", "d:2:13: single ASCII character expected"},
        {"comment_char /\nescape_char /\nLC_CTYPE\n", "d:3:1: / begins comments and escapes"},
        {"repertoiremap x\n", "d:1:1: repertoiremap: unknown outside a category"},
    };
    for (const auto &test : cases) {
        qbgl_test::write_file(directory_ / "d", test.text);
        const std::string error = error_of(directory_ / "d");
        EXPECT_EQ(error.substr(0, error.find('\n')), test.message) << test.text;
    }
    EXPECT_THROW(DefinitionReader().read(directory_ / "missing"), SystemError);
    EXPECT_THROW(DefinitionReader().find("no_WHERE"), DataError);
}
