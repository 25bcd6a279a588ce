#include "support/cost.h"
#include "support/locale_object.h"

#include "coll/lists.h"
#include "coll/section.h"
#include "setlc/categories.h"

#include <gtest/gtest.h>

namespace {

using namespace qbgl;
using namespace qbgl_test;
using namespace std::string_literals;
using std::string;

// The category's section and what follows it, as loading does: 1, or what failed.
int read_section(gl_locale *locale, int category, const string &body) {
    const File file = stream_of(body);
    int32_t error = 0;
    const auto then = [&](int result, int (*init)(gl_locale *)) {
        if (error != 0) locale->error = error;
        return result != 0 ? result : init(locale);
    };
    switch (category) {
    case GL_CAT_CTYPE: return then(read_ctype(file.get(), locale), [](gl_locale *) { return 1; });
    case GL_CAT_COLLATE: return then(read_collate(file.get(), locale), [](gl_locale *) { return 1; });
    case GL_CAT_NUMERIC: return then(_gl_read_numeric(file.get(), &locale->numeric, &error), init_numeric_info);
    case GL_CAT_MONETARY: return then(_gl_read_monetary(file.get(), &locale->monetary, &error), init_monetary_info);
    case GL_CAT_TIME: return then(_gl_read_time(file.get(), &locale->time, &error), init_time_info);
    default: return then(_gl_read_messages(file.get(), &locale->messages, &error), init_message_info);
    }
}

// A locale with the codeset and another section.
Locale with_section(const Codeset &codeset, int category, const string &body) {
    Locale locale = null_locale();
    EXPECT_EQ(read_section(locale.get(), GL_CAT_CTYPE, ctype_text(codeset)), 1);
    EXPECT_EQ(read_section(locale.get(), category, body), 1);
    return locale;
}

// Edits of a good section by the error that they give: what goes, "=>", what stands there instead.
using Edits = std::vector<std::pair<int, std::vector<string>>>;

void expect_errors(int category, const Codeset &codeset, const string &good, const Edits &edits_by_error) {
    for (const auto &[error, edits] : edits_by_error) {
        for (const string &edit : edits) {
            SCOPED_TRACE(edit);
            const Locale locale = null_locale();
            if (category != GL_CAT_CTYPE) read_section(locale.get(), GL_CAT_CTYPE, ctype_text(codeset));
            const string part = edit.substr(0, edit.find("=>")), instead = edit.substr(part.size() + 2);
            ASSERT_NE(good.find(part), string::npos);
            const int result = read_section(locale.get(), category, string(good).replace(good.find(part), part.size(), instead));
            EXPECT_EQ(locale->error, error);
            EXPECT_EQ(result > 0, error == 0);
        }
    }
}

Codeset small_codeset(string growth = "1.25") {
    return {"small",
            {{"\0"s, 0}, {"\n", 0}, {"A", 1, "", "a"}, {"a", 2, "A", ""}, {"\x81\x40", 4, "", "\x82\x40\x41"}, {"\x82\x40\x41", 8}},
            {{3, "own"}, {5, "other"}},
            std::move(growth)};
}

TEST(CharacterTypes, AreReadWithTheirChecks) {
    const string good = ctype_text(small_codeset());
    expect_errors(GL_CAT_CTYPE, small_codeset(), good,
                  {{0, {"=>", "own=>" + string(127, 'x')}},
                   {21, {"3 1 1=>5 1 1"}},
                   {3, {"3 1 1=>2 1 1", "own=>" + string(128, 'x')}},
                   {11,
                    {"3 1 1=>3 0 1", "3 1 1=>3 2 1", "\n2\n3 own=>\n2 \n3 own", "3 own=>3 own ", "\n2\n3 own=>\n5000\n3 own",
                     "\n3\n0000=>\n2\n0000", "\n3\n0000=>\n-1\n0000", "\n3\n0000=>\n99999\n0000", " 1.25=> one", " 1.25\n=> 1.25",
                     " 1.25=> -1", " 1.25=> nan", " 1.25=>" + string(127, ' ') + "1"}}});
    // The characters with case are the codeset's: one that runs over the terminator would lead a walk over a text's end.
    Codeset foreign = small_codeset();
    foreign.characters = {{"\0"s, 0}, {"A", 1}, {"\x81\x40", 4}};
    const string table = ctype_text(foreign).substr(0, ctype_text(foreign).find("2\n3 own"));
    expect_errors(GL_CAT_CTYPE, small_codeset(), table + good.substr(good.find("2\n3 own")), {{11, {"=>"}}});
}

TEST(CharacterTypes, EndTextAtTheTerminatorAlone) {
    using Characters = std::vector<Character>;
    const Character nul{"\0"s, GL_CLASS_CNTRL}, letter{"A", 1}, wide_nul{"\0\0"s, 0}, wide_letter{"\0A"s, 1};
    for (const auto &[error, characters] : {std::pair<int, Characters>{0, {nul, letter, {"\x81\x40", 4}}},
                                            {0, {wide_nul, wide_letter, {"\x30\0"s, 4}}},
                                            {GL_EBADFILE, {nul, letter, {"\x81\0"s, 4}}},
                                            {GL_EBADFILE, {letter, wide_letter}},
                                            {GL_EBADFILE, {wide_nul, wide_letter, {"\x81\x40\0\0"s, 4}}},
                                            {GL_EBADFILE, {wide_nul, wide_letter, {"\x81\x40\x41", 4}}},
                                            {GL_EBADFILE, {{"\0"s, GL_CLASS_SPACE}, letter}},
                                            {GL_EBADFILE, {{"\0"s, GL_CLASS_DIGIT}, letter}},
                                            {GL_EBADFILE, {{"\0\0"s, GL_CLASS_BLANK}, wide_letter}}})
        expect_errors(GL_CAT_CTYPE, {}, ctype_text({"some", characters}), {{error, {"=>"}}});
    const string one_byte = ctype_text({"some", {nul, letter}});
    expect_errors(GL_CAT_CTYPE, {}, one_byte, {{GL_EBADFILE, {"1 1 1=>0 1 1", "1 1 1=>1 0 1"}}});
}

// The table of a category without data is everyone's: it is written as one without characters, and takes none.
TEST(CharacterTypes, AreNoneWithoutData) {
    const Locale locale = null_locale();
    gl_multi *table = locale->ctype.codeset_table;
    const gl_desc letter = {1, {'a'}};
    FILE *file = tmpfile();
    EXPECT_EQ(
        (std::tuple{_gl_insert_desc_multi(&letter, nullptr, table), _gl_compress_multi(table),
                    _gl_fprintf_multi(file, table, [](FILE *stream, const void *) { return fputs("0000", stream) < 0 ? -1 : 0; }),
                    _gl_fscanf_multi(file, table, 4, [](FILE *, void *, uint32_t) { return 0; }), _gl_multi_max_length(table)}),
        (std::tuple{-1, 0, 0, -1, 0}));
    fclose(file);
}

// Both tables are in the compact form, and the pairs with the second one.
TEST(CharacterTypes, AreReadInTheCompactForm) {
    std::vector<unsigned> values('a' - 'A' + 1);
    values.front() = 1, values.back() = 2;
    const string table = "1 1 11 0000\n1 1\n0000100104\n4100100104\n6100100104\n0000000\n" + numbers({'A', 'a' - 'A' + 1}) +
                         list(values) + "\n" + numbers({1, 1}) + "\n",
                 pairs = "2\n" + difference(0, 0) + difference('a', 0) + difference('A', 0) + difference(0, 'A') + " 1.5\n",
                 good = table + "0\n" + table + pairs;
    const Locale locale = null_locale();
    ASSERT_EQ(read_section(locale.get(), GL_CAT_CTYPE, good), 1);
    EXPECT_EQ((std::pair{locale->ctype.case_pairs[1].upper, locale->ctype.case_pairs[1].lower}), std::pair(0U, gl_wchar{'a'}));
    EXPECT_EQ((std::pair{locale->ctype.case_pairs[2].upper, locale->ctype.case_pairs[2].lower}), std::pair(gl_wchar{'A'}, 0U));
    const auto class_of = [&locale](gl_wchar wc) {
        return locale->ctype.maps->cells[locale->ctype.maps->page_blocks[0] * 256 + wc].classes;
    };
    EXPECT_EQ((std::tuple{class_of('A'), class_of('B'), class_of('a')}), std::tuple(1, 0, 2));
    expect_errors(
        GL_CAT_CTYPE, {}, good,
        {{11, {pairs + "=>2\n" + pairs.substr(3), pairs + "=>2 " + pairs.substr(2), pairs + "=>2\np" + pairs.substr(2)}}});
}

TEST(CharacterTypes, GrowByWhatTheirCaseTakes) {
    for (const auto &[growth, factor] : {std::pair{"2.25", 2.25}, {"1.1 comment", 1.1}, {"0.5", 1.5}}) { // two bytes become three
        const Locale other = null_locale();
        read_section(other.get(), GL_CAT_CTYPE, ctype_text(small_codeset(growth)));
        EXPECT_EQ(other->case_growth, factor);
    }
    const Locale none = null_locale();
    EXPECT_EQ(read_section(none.get(), GL_CAT_CTYPE, "1 1 1 0000\n0 0\n0\n1 1 1 0000\n0 0\n0\n"), 1);
    EXPECT_EQ(none->case_growth, 4.0);
}

// --- LC_COLLATE

Collation some_rules(bool direct = false) {
    return {{1, 2},
            {{0, 0}, {1, 1}, {5, 6}, {0x4001, 0x4001}, {5, 6}, {0x8007, 1}},
            {{"A", 2}, {"a", 4}, {"\x81\x40", 3}, {"\n", 1}, {"\0"s, 0}},
            {{{'A', 'a', '\n'}, 2}, {{'a'}, 5}},
            {{'a'}, {'A', 'A'}},
            direct};
}

TEST(Collation, IsReadWithItsChecks) {
    const string good = some_rules().text(), tail = "\n000000000\n";
    expect_errors(GL_CAT_COLLATE, small_codeset(), good,
                  {{0, {"=>"}},
                   {11,
                    {"as_specified=>as_specified" + string(1, '\0'), good + "=>", good + "=>as_specified",
                     "\n0\n5 2 2 2=>\n0 \n5 2 2 2", "\n5 2 2 2=>\n3 2 2 2", "\n5 2 2 2=>\n65536 2 2 2", "\n5 2 2 2=>\n5 9 2 2",
                     "\n5 2 2 2=>\n5 -1 2 2", "\n5 2 2 2=>\n5 2 -2 2", "\n5 2 2 2=>\n5 2 2 16385", "00010002=>000100020",
                     "30002=>30006", "30002=>00002", "\n20000=>\n00000", "40014001=>40024001", "\n00010002\n=>\n00010002 \n"}},
                   {21, {"as_specified\n2=>as_specified\n5"}},
                   {1, {"30002" + hex('A', 8) + "=>30002" + hex('B', 8)}}});
    Collation ranked = some_rules(), direct = some_rules(true);
    ranked.rows[0] = {0x8008, 1};
    ranked.ranked_rows = direct.ranked_rows = 2;
    ranked.ranks = direct.ranks = {{"A", 7}, {"\x81\x40", 3}};
    expect_errors(GL_CAT_COLLATE, small_codeset(), ranked.text(),
                  {{0, {"=>"}},
                   {11,
                    {"as_ranked=>as_specified", "\n2\n0\n5=>\n0\n0\n5", "\n2\n0\n5=>\n6\n0\n5", "\n2\n0\n5=>\n2 \n0\n5",
                     "80080001=>00000001", ranked.text() + "=>" + direct.text()}}});
}

TEST(Collation, TheCompactFormIsTheSameRules) {
    Collation rules = some_rules();
    const Locale plain = null_locale(), compact = null_locale();
    ASSERT_EQ(read_section(plain.get(), GL_CAT_COLLATE, rules.text()), 1);
    rules.compact = true;
    const string good = rules.text(), begin = "\n00010002\n",
                 elements = numbers({3, 2, coded('A'), coded('a'), coded('\n'), 1, 5, coded('a' - 'A')}) + "\n",
                 expansions = numbers({1, coded('a'), 2, coded('A' - 'a'), coded('A')}) + "\n",
                 first = list({0, 1, 5, 0x4001, 5, 0x8007}) + "\n";
    ASSERT_NE(good.find("2\n5 2 2 2 32775" + begin + elements + expansions + first), string::npos) << good;
    ASSERT_EQ(read_section(compact.get(), GL_CAT_COLLATE, good), 1);
    EXPECT_EQ(compact->collate.direct, 0);
    EXPECT_EQ(compact->coll_growth, plain->coll_growth);
    EXPECT_STREQ(gl_order_fingerprint(compact.get()), gl_order_fingerprint(plain.get())); // that of all rules
    const string elements_end = begin + elements, expansions_end = elements_end + expansions;
    const auto weights = [&](const string &text) { return expansions_end + first + "=>" + expansions_end + text + "\n"; };
    expect_errors(
        GL_CAT_COLLATE, small_codeset(), good,
        {{0, {"=>", weights(list({0, 1, 5, 0x4001, 5, 0x8007}, false))}},
         {11,
          {elements_end + "=>" + begin + "\n", elements_end + "=>" + begin + elements.substr(1),
           elements_end + "=>" + begin + number(0) + elements, elements_end + "=>" + begin + number(16) + elements.substr(1),
           elements_end + "=>" + begin + numbers({3, 6}) + elements.substr(2), elements_end + "=>" + begin + "oooooooo" + elements,
           elements_end + "=>" + begin + elements.substr(0, 2) + " " + elements.substr(2),
           expansions_end + "=>" + elements_end + expansions.substr(0, expansions.size() - 1),
           weights(list({0, 1, 5, 0x4002, 5, 0x8007})), weights(list({0, 1, 5, 0x4001, 5})),
           weights(list({0, 1, 5, 0x4001, 5, 0x8007, 1})), weights(numbers({1, 5})), weights(numbers({1, UINT32_MAX})),
           weights(number(0x20000) + list({1, 5, 0x4001, 5, 0x8007})), weights("p" + first), weights("/" + first)}}});
}

// Rows that are alike on every pass form a class, and so do an expansion and the rows that stand for nothing but it. Of a class,
// the elements are first, then the expansion, then the characters; the last one represents it.
TEST(Collation, ListsNameWhatNoPassTellsApart) {
    Collation rules;
    rules.directions = {1, 1};
    rules.rows = {{3, 3},           {1, 1},           {5, 6},           {1, 2},           {5, 6},      {0x4001, 0x4001},
                  {0x4000, 0x4000}, {0x4001, 0x4001}, {0x4001, 0x4000}, {0x8001, 1},      {0x8001, 1}, {1, 1},
                  {1, 2},           {6, 5},           {5, 6},           {0x4002, 0x4003}, {1, 0x4000}};
    const std::pair<const char *, unsigned> PLACES[] = {
        {"a", 1},  {"b", 2},  {"c", 4}, {"d", 14}, {"e", 5},  {"f", 7},  {"g", 6},  {"h", 8},        {"i", 9},
        {"j", 10}, {"k", 11}, {"l", 3}, {"m", 12}, {"n", 13}, {"o", 15}, {"p", 16}, {"\xF0\x10", 2}, {"\xF0\xF0", 1}};
    rules.places.assign(std::begin(PLACES), std::end(PLACES));
    rules.elements = {{{'x', 'y'}, 1}, {{'l', 0xF010, 'c'}, 4}};
    rules.expansions = {{'n', 'n'}, {0xF0F0}, {'n'}, {'n'}};
    rules.places.insert(rules.places.end(), {{"x", 13}, {"y", 0}});
    const Locale locale = null_locale();
    ASSERT_EQ(read_section(locale.get(), GL_CAT_COLLATE, rules.text()), 1);
    string all_one, pairs;
    for (char **text = locale->all_one; *text != nullptr; ++text) all_one += *text + " "s;
    for (auto *pair = locale->equivalence; pair->member != nullptr; ++pair)
        pairs += pair->member + "="s + pair->representative + " ";
    EXPECT_EQ(all_one, "xy a k \xF0\xF0 ");
    EXPECT_EQ(pairs, "l\xF0\x10"
                     "c=\xF0\x10 b=\xF0\x10 c=\xF0\x10 d=\xF0\x10 \xF0\xF0=f e=f nn=g l=m ");
}

TEST(Collation, ManyRowsTakeTimeInProportion) {
    expect_in_proportion(1 << 13, [](size_t count) {
        Collation rules{std::vector<unsigned>(8, 1), {}};
        for (unsigned row = 0; row < count; ++row) rules.rows.push_back({2, 2, 2, 2, 2, 2, 2, row / 4});
        EXPECT_EQ(read_section(null_locale().get(), GL_CAT_COLLATE, rules.text()), 1);
    });
}

// --- the categories with texts

TEST(Texts, AreReadWithTheirChecks) {
    const Codeset codeset = sjis_codeset();
    const LocaleObject object(codeset);
    expect_errors(GL_CAT_NUMERIC, codeset, object.numeric,
                  {{0, {"=>", "2 3 3\n=>0\n", "2 3 3\n=>15 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1\n"}},
                   {4, {"2 3 3\n=>16 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1\n"}},
                   {11, {"2 3 3\n=>2 3 3 x\n", "1 2e=>-1 2e"}},
                   {8, {"1 2e=>2 2e", "1 2e=>1 2e ", "1 2e=>1999999999 2e"}},
                   {1, {"1 2e=>1 80"}}}); // no character
    expect_errors(
        GL_CAT_MONETARY, codeset, object.monetary,
        {{0, {"=>"}}, {8, {"1 45\n=>1 45 \n"}}, {11, {"1 3\n=>2 3\n", "\n2\n2\n1=>\n2\n2 \n1", "2147483647\n=>2147483647"}}});
    expect_errors(GL_CAT_MESSAGES, codeset, object.messages, {{0, {"=>"}}, {8, {"\n2 6e6f=>\n1 6e6f"}}, {1, {"796573=>838383"}}});
    for (const int category : {GL_CAT_NUMERIC, GL_CAT_MONETARY, GL_CAT_TIME, GL_CAT_MESSAGES}) { // without a codeset
        const Locale locale = null_locale();
        const LocaleObject plain(single_byte_codeset());
        const string sections[] = {plain.numeric, plain.monetary, plain.time, plain.messages};
        EXPECT_EQ(read_section(locale.get(), category, sections[category - GL_CAT_NUMERIC]), 0);
        EXPECT_EQ(locale->error, GL_ENOCODESET);
    }
    EXPECT_EQ(_gl_read_monetary(stream_of(object.monetary).get(), &null_locale()->monetary, nullptr), -1);
}

std::u32string wide_text(const gl_wchar *wide) { return wide != nullptr ? std::u32string(wide, wide + gl_wcslen(wide)) : U"null"; }

TEST(Texts, HaveWideFormsAndTheConversionRecord) {
    for (const Codeset &codeset : {sjis_codeset(), two_byte_codeset()}) {
        const auto texts = [&](const std::vector<string> &ascii) { return string_lines(codeset, ascii); };
        const Locale locale =
            with_section(codeset, GL_CAT_NUMERIC, texts({string(255, '.'), string(256, ',')}) + "3 3 258 -1\n" + texts({"+", ""}));
        ASSERT_EQ(read_section(locale.get(), GL_CAT_MONETARY,
                               texts({"EUR ", "E", ".", ""}) + "0\n" + texts({"", "-"}) + "2\n2147483647\n1\n300\n-1\n0\n1\n4\n"),
                  1);
        ASSERT_EQ(read_section(locale.get(), GL_CAT_MESSAGES, texts({"y", "n", "yes", "no"})), 1);
        EXPECT_EQ(wide_text(locale->messages.yesstr.wide), U"yes");
        EXPECT_EQ(string(locale->messages.nostr.bytes, codeset.encode("no").size() + 4), codeset.encode("no") + "\0\0\0\0"s);
        const gl_lconv &conv = *gl_localeconv(locale.get());
        EXPECT_EQ(wide_text(conv.w_decimal_point), std::u32string(255, '.'));
        EXPECT_EQ((std::tuple{conv.thousands_sep, conv.w_thousands_sep, conv.mon_grouping}), std::tuple(nullptr, nullptr, nullptr));
        EXPECT_EQ(wide_text(conv.w_num_positive_sign) + wide_text(conv.w_negative_sign) + wide_text(conv.w_positive_sign), U"+-");
        EXPECT_STREQ(conv.grouping, "\3\2\xFF");
        EXPECT_EQ(wide_text(conv.w_int_curr_symbol) + wide_text(conv.w_currency_symbol), U"EUR E");
        EXPECT_EQ((std::array<int, 8>{conv.int_frac_digits, conv.frac_digits, conv.p_cs_precedes, conv.p_sep_by_space,
                                      conv.n_cs_precedes, conv.n_sep_by_space, conv.p_sign_posn, conv.n_sign_posn}),
                  (std::array<int, 8>{2, 127, 1, 44, -1, 0, 1, 4}));
        free_glconv_monetary(&locale->conv);
        EXPECT_EQ(conv.n_sign_posn, 127);
        EXPECT_NE(conv.decimal_point, nullptr);
    }
}

// --- LC_TIME

const string ERA = "+:0:1989/01/08:+*:Heisei:%EC %Ey:H";

TEST(Time, IsReadWithItsChecks) {
    const Codeset codeset = sjis_codeset();
    const string good = LocaleObject(codeset).time, eras = "\n1\n" + string_line(ERA);
    ASSERT_NE(good.find(eras), string::npos);
    expect_errors(GL_CAT_TIME, codeset, good,
                  {{0, {"=>", "gregorian=>arabic", eras + "=>\n0\n", eras + "=>\n-1\n"}},
                   {50, {"gregorian=>julian", "gregorian=>Gregorian"}},
                   {11,
                    {"gregorian=>" + string(32, 'g'), "3 53756e=>-3 53756e", "\n12\n=>\n12 \n", "\n12\n=>\n5000\n",
                     "\n12\n" + string_line("Jan") + "=>\n11\n"}},
                   {3, {string_line("Sunday") + "=>", "3 53756e=>2 53756e", string_line("one") + "=>"}},
                   {1, {string_line("Mon") + "=>" + string_line("\x80")}}});
}

TEST(Time, ErasFollowTheirGrammar) {
    const Codeset codeset = sjis_codeset();
    const string good = LocaleObject(codeset).time;
    const auto with = [&](const string &era) { return string_line(ERA) + "=>" + string_line(era); };
    expect_errors(GL_CAT_TIME, codeset, good,
                  {{49,
                    {with(""), with("*:0:1989/01/08:+*:a:b:c"), with("+0:1989/01/08:+*:a:b:c"), with("+:0,1989/01/08:+*:a:b:c"),
                     with("+:0:1989-01/08:+*:a:b:c"), with("+:0:1989/01:+*:a:b:c"), with("+:0:1989/01/08:+:a:b:c"),
                     with("+:0:1989/01/08:*:a:b:c"), with("+:0:1989/01/08:+*"), with("+:0:1989/01/08:+*:\x80:b:c")}},
                   {3, {with("+:0:1989/01/08:+*:a"), with("+:0:1989/01/08:+*:a:b")}}});
}

} // namespace
