// Locale objects from definitions; that they agree with the platform's locales is the oracle's matter.
#include "locale/compiler.h"
#include "locale/encoder.h"
#include "recipe/locales.h"
#include "support/files.h"
#include "support/message.h"

#include <qbgl.h>

#include <gtest/gtest.h>

using namespace qbgl::compiler;
namespace fs = std::filesystem;

namespace {

// A locale of its own, in which every line can be replaced.
constexpr std::string_view DEFINITION = R"(comment_char %
escape_char /
LC_CTYPE
upper <U0041>..<U005A>;<U0178>
lower <U0061>..<U007A>;<U00FF>
digit <U0030>..<U0039>
punct <U0021>;<U20AC>
class "vowel"; <U0061>;<U0065>
class "greek"; <U03B1>
class "c1"; <U0061>
class "c2"; <U0061>
class "c3"; <U0062>
class "c4"; <U0063>
toupper (<U0061>,<U0041>);(<U00FF>,<U0178>);(<U0250>,<U2C6F>)
translit_start
<U20AC> <U0152>;"<U0045><U0055><U0052>"
translit_end
END LC_CTYPE
LC_COLLATE
order_start forward
UNDEFINED
order_end
END LC_COLLATE
LC_NUMERIC
decimal_point ","
thousands_sep "."
grouping 3;-1
END LC_NUMERIC
LC_MONETARY
int_curr_symbol "EUR "
currency_symbol "<U20AC>"
mon_grouping -1
frac_digits 2
p_sign_posn -1
END LC_MONETARY
LC_TIME
abday "S";"M";"T";"W";"T";"F";"S"
day "Sun";"Mon";"Tue";"Wed";"Thu";"Fri";"S<U00E4>t"
abmon "1";"2";"3";"4";"5";"6";"7";"8";"9";"10";"11";"12"
mon "I";"II";"III";"IV";"V";"VI";"VII";"VIII";"IX";"X";"XI";"XII"
am_pm "vm";"nm"
d_t_fmt "%c"
d_fmt "%x"
t_fmt "%X"
era "+:1:2019//05//01:+*:R<U00EA>iwa:%EC%Ey";"+:1:-0001//12//31:-*:BC:%Ey"
END LC_TIME
LC_MESSAGES
yesexpr "^y"
noexpr "^n"
END LC_MESSAGES
)";

class LocaleCompilerTest : public testing::Test {
  protected:
    // The file of the definition with one text put in the place of another.
    fs::path definition(const std::string &old_text = {}, const std::string &new_text = {}) {
        std::string text(DEFINITION);
        if (!old_text.empty()) text.replace(text.find(old_text), old_text.size(), new_text);
        qbgl_test::write_file(directory_ / "he_XX", text);
        return directory_ / "he_XX";
    }
    std::string compile(const fs::path &file, const std::string &codeset, const std::string &calendar = "gregorian") {
        LocaleCompiler compiler(library_);
        const auto &target = compiler.target(library_.catalogue().find(codeset).value());
        return compiler.object(file, target, codeset, calendar, compiler.header(file, target.mark, calendar));
    }
    std::string message(const fs::path &file, const std::string &codeset = "utf8", const std::string &calendar = "gregorian") {
        const std::string all = qbgl_test::message_of([&] { compile(file, codeset, calendar); });
        return all.substr(std::min(all.size(), file.string().size()));
    }

    using Locale = std::unique_ptr<gl_locale, decltype(&gl_lc_unload)>;
    Locale load(const std::string &object, const std::string &name) {
        qbgl_test::write_file(directory_ / name, object);
        gl_locale *locale = nullptr;
        const int result = gl_lc_load(&locale, name.c_str(), nullptr, directory_.path().c_str());
        EXPECT_EQ(result, 0) << name << ": error " << locale->error;
        return {locale, gl_lc_unload};
    }

    qbgl_test::ScopedEnv installation_{"QUORBANEDIR", QBGL_TREE};
    qbgl_test::TempDir directory_;
    Library library_{fs::path(QBGL_SOURCE_DIR) / "data"};
};

std::string latin1(std::string_view utf8) {
    std::string bytes;
    for (size_t i = 0; i < utf8.size(); ++i) {
        const auto byte = static_cast<uint8_t>(utf8[i]);
        bytes += byte < 0x80 ? utf8[i] : static_cast<char>(byte << 6 | (utf8[++i] & 0x3F));
    }
    return bytes;
}

} // namespace

// Those of the platform's locales are compared by the oracle.
TEST_F(LocaleCompilerTest, OwnClassesHaveBitsAsFarAsTheyGo) {
    const Locale locale = load(compile(definition(), "8859-15"), "a.lco");
    gl_locale *l = locale.get();
    const std::tuple<gl_wchar, const char *, bool> cases[] = {{'a', "vowel", true}, {'a', "c2", true},     {'b', "c3", true},
                                                              {'c', "c4", false},   {'a', "greek", false}, {'a', "none", false}};
    for (const auto &[character, name, expected] : cases)
        EXPECT_EQ(_gl_im_iswctype(l, character, gl_ctype(l, name)) != 0, expected) << character << ' ' << name;
    EXPECT_NE(gl_ctype(l, "c4"), 0u) << "known, but without a bit";
    EXPECT_EQ(l->case_growth, 1.0);
    EXPECT_EQ(load(compile(definition(), "utf8"), "b.lco")->case_growth, 1.5);
}

TEST_F(LocaleCompilerTest, CalendarsBringTheirMonthsAndErasTheirLetters) {
    const std::string object =
        compile(definition("R<U00EA>iwa", "<U4EE4><U548C>"), "utf8", "hebrew"); // the language is in the file's name
    const Locale locale = load(object, "a.lco");
    EXPECT_EQ(locale->time.calendar, 2);
    ASSERT_EQ(locale->time.mon.count, 14);
    EXPECT_EQ(locale->time.abmon.count, 14);
    EXPECT_STREQ(locale->time.mon.bytes[0], "תשרי");
    EXPECT_STREQ(locale->time.mon.bytes[13], "אדר ב'");
    EXPECT_STREQ(locale->time.eras[0].third, "R");
    EXPECT_STREQ(locale->time.eras[1].third, "");
}

TEST_F(LocaleCompilerTest, AnOwnCharmapOfTwoBytesServes) {
    const std::string charmap = directory_ / "wide";
    std::string text = "<code_set_name> UNICODE\n<mb_cur_min> 2\n<mb_cur_max> 2\nCHARMAP\n<U0000>..<U007F> \\x00\\x00\n";
    text += "<U00A0>..<U00FF> \\x00\\xa0\n<U3042>..<U3044> \\x30\\x42\nEND CHARMAP\n";
    qbgl_test::write_file(charmap, text + "WIDTH\n<U3042>...<U3043> 2\nEND WIDTH\n");
    LocaleCompiler compiler(library_);
    std::string warning;
    const auto target = compiler.own_target(charmap, warning);
    const std::string header = compiler.header(definition(), target.mark, "gregorian");
    const Locale locale = load(compiler.object(definition(), target, "unicode", "gregorian", header), "a.lco");
    const unsigned full_width = gl_ctype(locale.get(), "full_width");
    EXPECT_NE(_gl_im_iswctype(locale.get(), 0x3043, full_width), 0u);
    EXPECT_EQ(_gl_im_iswctype(locale.get(), 0x3044, full_width), 0u);
    EXPECT_EQ(_gl_im_towupper(locale.get(), 'a'), gl_wchar{'A'});
}

TEST_F(LocaleCompilerTest, ErrorsNameFileAndLine) {
    EXPECT_EQ(message(definition("sep \".\"", "sep \"<U4E00>\""), "8859-1"),
              ":26:15: U+4E00: 8859-1 has no such character, and no rule says what to write instead");
    EXPECT_EQ(message(definition(":BC:", ":")), ":45:5: an era of six fields expected");
    EXPECT_EQ(message(definition("2019//05", "2019//99")), ":45:5: field 3 of an era is 2019/99/01, not a date");
    EXPECT_EQ(message(definition("\"<U20AC>\"", '"' + std::string(256, 'x') + '"')),
              ":31:17: currency_symbol: of more than 255 bytes, which no host's record has room for");
    EXPECT_EQ(message(definition("grouping 3;-1", "grouping 3;-2")), ":27:10: grouping: -2 is no group size");
    EXPECT_EQ(message(definition("frac_digits 2", "frac_digits 128")), ":33:13: frac_digits: 128 is out of range");
    EXPECT_EQ(message(definition("mon \"I\"", "alt_mon \"I\"")), ":36:1: no mon in this category");
    EXPECT_EQ(message(definition(), "8859-1", "islamic"), ":36:1: no month names of the islamic calendar in he");
    EXPECT_THROW(compile(definition(), "schmxexsbcs"), DataError) << "shift states";
    EXPECT_THROW(compile(definition(), "korhstdbcs"), DataError) << "no terminator";
}

TEST_F(LocaleCompilerTest, TextsSortAsTheRulesSay) {
    struct Case {
        const char *name;
        std::string rules, codeset, sorted; // UTF-8, with < or = between texts
    };
    const Case cases[] = {
        {"reordering in a row",
         "order_start forward\n<a>\n<b>\n<c>\norder_end\nreorder-after <c>\n<a>\n<d>\nreorder-after <b>\n<e>\n"
         "reorder-end\n",
         "8859-1", "b<e<c<a<d"},
        {"sections",
         "script <X>\nscript <Y>\norder_start <X>;forward\n<a>\norder_end\norder_start <Y>;forward\n<b>\norder_end\n"
         "reorder-sections-after <Y>\n<X>\nreorder-sections-end\n",
         "8859-1", "b<a"},
        {"ellipses and ranges", "order_start forward;forward\n<z>\n<b> <b>;<z>\n.. ..;<b>\n<e>\n<U0031>..<U0033>\norder_end\n",
         "8859-1", "z<b<bz<c<cb<d<e<1<2<3"},
        {"ranges by twos and in decimal", "order_start forward\n<U0061>..(2)..<U0065>\n<U0058>....<U0060>\n<b>\norder_end\n",
         "8859-1", "a<c<e<X<Y<`<b"},
        {"other names", "collating-symbol <m>\nsymbol-equivalence <n> <m>\norder_start forward\n<n>\n<b> <m>\n<a>\norder_end\n",
         "8859-1", "b<a"},
        {"characters that the rules have not", "order_start forward\n<c>\nUNDEFINED\n<a>\norder_end\n", "8859-1", "c<b<d<db<é<a"},
        {"and those behind all others", "order_start forward;forward\n<U00E9>\n<a>\norder_end\n", "utf8", "é<a<b<z<一<丁<丁a<丁b"},
        {"what a rule says of them", "order_start forward\n<c>\nUNDEFINED IGNORE\n<a>\norder_end\n", "8859-1", "c=cb=dc=ce<ca=cda"},
        {"a run of codes", "order_start forward;forward\n<z>\n<U4E00>..<U5200> <U4E00>;<U4E00>\n<U5201>..<U9000>\n<a>\norder_end\n",
         "utf8", "z<一=丁<刁<刂<刂z<刃<a"},
        {"codes alone", "codepoint_collation\n", "utf8", "A<B<a<é<一"},
    };
    for (const Case &test : cases) {
        const Locale locale =
            load(compile(definition("order_start forward\nUNDEFINED\norder_end\n", test.rules), test.codeset), "a.lco");
        const auto sign = [](int order) { return (order > 0) - (order < 0); };
        const std::string sorted = test.codeset == "utf8" ? test.sorted : latin1(test.sorted);
        for (size_t at = 0, end; (end = sorted.find_first_of("<=", at)) != std::string::npos; at = end + 1) {
            const size_t next_end = std::min(sorted.find_first_of("<=", end + 1), sorted.size());
            const std::string a = sorted.substr(at, end - at), b = sorted.substr(end + 1, next_end - end - 1);
            const int result = gl_mbscoll(locale.get(), a.c_str(), b.c_str()),
                      back = gl_mbscoll(locale.get(), b.c_str(), a.c_str());
            EXPECT_EQ(std::pair(sign(result), sign(back)), sorted[end] == '<' ? std::pair(-1, 1) : std::pair(0, 0))
                << test.name << ": " << sorted.substr(at, next_end - at);
        }
    }
}

TEST_F(LocaleCompilerTest, WrongRulesOfOrderAreReportedWithTheirPlace) {
    const std::pair<const char *, const char *> cases[] = {
        {"order_start forward\n<a> <X>\norder_end\n", ":21:1: <X> is not in the order"},
        {"order_start forward\n<a> <a>;<a>\norder_end\n", ":21:1: 2 weights, but order_start has 1 levels"},
        {"<a>\n", ":20:1: an entry outside of order_start and reorder-after"},
        {"order_start <X>;forward\n<a>\norder_end\n", ":20:1: <X>: no such section"},
        {"order_start forward\n..\n<a>\norder_end\n", ":21:1: an ellipsis needs a character before it"},
        {"order_start forward\n<b>\n..\n<a>\norder_end\n", ":22:1: the ellipsis runs backward"},
        {"order_start forward\n<a>\n..\norder_end\n", ":22:1: an ellipsis needs a character behind it"},
        {"order_start forward\n<a>\n<c>\norder_end\nreorder-after <a>\n<c>\nreorder-after <b>\n<d>\n<a>\nreorder-end\n",
         ":26:1: <b> is not in the order"},
        {"order_start forward\n<a>\norder_end\nreorder-sections-after <X>\n<Y>\nreorder-sections-end\n",
         ":23:1: <X>: no such section:24:1: <Y>: no such section"},
        {"collating-element <e> from \"ab\"\ncollating-symbol <e>\n", ":21:1: <e> has a meaning already"},
    };
    for (const auto &[rules, expected] : cases) {
        const fs::path file = definition("order_start forward\nUNDEFINED\norder_end\n", rules);
        std::string all = message(file, "8859-1");
        const std::string next = '\n' + file.string();
        for (size_t at; (at = all.find(next)) != std::string::npos;) all.erase(at, next.size());
        EXPECT_EQ(all, expected);
    }
}

TEST(LocaleRecipe, NamesFilesAndRefusesWhatNoSpecificationSays) {
    EXPECT_EQ(locale_file("ja_jp", 57350), "ja_jp/e006.lco");
    EXPECT_EQ(locale_file("de_de@euro", 819), "de_de/0333euro.lco");
    EXPECT_EQ(locale_file("default", 819), "default.lco");
    for (const char *name : {"", "de", "de_DE", "de_de@latin", "de_dee", "@euro"})
        EXPECT_THROW(locale_file(name, 1), DataError) << name;

    const Catalogue catalogue = Catalogue::parse("a 1 - charmap A\nb 2 - none why\n", "c");
    const std::pair<const char *, const char *> cases[] = {
        {"de_de de_DE\n", "f:1: NAME DEFINITION CODESETS expected"},
        {"\nde_de de_DE b\n", "f:2: b: no such codeset, or one without a source"},
        {"de_de de_DE a\nde_de de_AT 1\n", "f:2: de_de/0001.lco: made twice"},
        {"de_de de_DE a calendar=roman\n", "f:1: roman: unknown calendar"},
        {"de_de de_DE a collation=none\n", "f:1: none: unknown collation"},
    };
    for (const auto &[text, expected] : cases)
        EXPECT_EQ(qbgl_test::message_of([&, text = text] { parse_locales(catalogue, text, "f"); }), expected);
    EXPECT_EQ(parse_locales(catalogue, "he_il he_IL a calendar=hebrew\n", "f").at(0).calendar, "hebrew");
    EXPECT_THROW(Calendars::parse("months hebrew he A B\n", "f"), DataError);
    EXPECT_THROW(Calendars::parse("era \xFF R\n", "f"), DataError);
}
