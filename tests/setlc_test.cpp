// The handle: creating, loading, choosing functions, selecting, sharing and releasing.
#include "support/locale_object.h"

#include "qbnxdl/entry_points.h"
#include "setlc/handle.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <set>

namespace {

using namespace qbgl_test;
using std::string;

const LocaleObject LATIN(single_byte_codeset()), SJIS(sjis_codeset());

// What a long form or a query holds.
string six(const string &name) {
    string text;
    for (int category = GL_CAT_CTYPE; category <= GL_CAT_MESSAGES; ++category)
        text += string(qbgl::category_params[category]) + " = " + name + " ; ";
    return text;
}

string outcome(gl_locale *locale, char *result) {
    string text = result != nullptr ? result : "error " + std::to_string(locale->error);
    gl_destroystring(result);
    return text;
}
string select(const Locale &locale, int category, const char *spec) {
    return outcome(locale.get(), gl_setlocale_4(locale.get(), category, spec));
}

Locale empty() { return null_locale(gl_free_nonshared_loc); }

// An installation with a registry and objects, and an environment that names none of them.
class Handle : public testing::Test {
  protected:
    Handle() {
        write_file(tree.path() / "vrn/cm3/registry", "8859-1 819\nlatin 819\nsjis 57350\n");
        for (const char *name : {"default.lco", "latin.lco"}) put(name, LATIN.text());
        for (const char *name : {"sjis.lco", "ja_jp/e006.lco"}) put(name, SJIS.text());
    }
    void put(const string &name, const string &text) const { write_file(tree.path() / "vrn/lc11" / name, text); }

    static Locale created() {
        gl_locale *locale = nullptr;
        gl_createlocale_4(&locale);
        return {locale, gl_lc_unload};
    }

    const TempDir tree;
    const ScopedEnv base{"QUORBANEDIR", tree.path().string()}, path{"GL_PATH", nullptr}, all{"GL_ALL", nullptr},
        language{"GL_LANG", nullptr}, ctype{"GL_CTYPE", nullptr};
};

TEST_F(Handle, IsCreatedOrCanned) {
    const Locale null = empty(), loaded = created();
    EXPECT_EQ((std::tuple{null->error, null->case_growth, null->mbscoll, null->conv.frac_digits}),
              std::make_tuple(0, 1, nullptr, 127));
    EXPECT_EQ(select(loaded, 1, nullptr), six("default.lco"));
    EXPECT_EQ((std::tuple{loaded->upper[0xE0], loaded->lower[u8'A'], loaded->classes[0xE0]}),
              std::make_tuple(0xC0, 'a', (LETTER | GL_CLASS_LOWER)));
    write_file(tree.path() / "own/default.lco", SJIS.text());
    gl_locale *locale = nullptr;
    for (const auto &[directory, codeset] :
         {std::pair{tree / "own/", "sjis"}, {tree / "own", "8859-1"}, {string(116, 'x'), "8859-1"}}) {
        EXPECT_EQ(gl_createlocale2_4(&locale, directory.c_str()), 0);
        EXPECT_STREQ(locale->codeset_name[2], codeset);
        gl_lc_unload(locale);
    }
    locale = nullptr;
    EXPECT_EQ(gl_createlocale2_4(&locale, string(117, 'x').c_str()), -1);
    EXPECT_EQ(reinterpret_cast<intptr_t>(locale), GL_ENOFILE);
    EXPECT_EQ(gl_lc_load(&locale, nullptr, nullptr, nullptr), -1);
    EXPECT_EQ(outcome(locale, nullptr), "error 2");
    gl_lc_unload(locale);
    std::filesystem::remove(tree / "vrn/lc11/default.lco");
    EXPECT_EQ(created().get(), &loc_filer);
    auto *canned = const_cast<gl_locale *>(&loc_nomem);
    gl_free_nonshared_loc(canned);
    EXPECT_EQ((std::tuple{gl_setlocale_4(canned, 1, ""), gl_copy_cat(canned, loaded.get(), 1)}), std::make_tuple(nullptr, -1));
}

TEST_F(Handle, ComesFromAWholeObject) {
    using Case = std::tuple<int, string, string>; // error, what goes, what stands there instead
    for (const auto &[error, part, instead] :
         {Case{0, "HEADER_LINES=3\n", "=5\n" + string(126, 'x') + "\n\n"}, Case{GL_EBADFILE, "object", "object "},
          Case{0, "### LC_TIME\n", "### LC_TIME \n" + string(300, '#') + "\n### LC_TIME\n"},
          Case{GL_EBADFILE, "### LC_TIME\n", string(127, '#') + "### LC_TIME\n"}, // no line of its own
          Case{GL_EBADFILE, "### LC_MESSAGES\n", "### LC_MESSAGES"}, Case{GL_EVERSION, "=11", "=12"},
          Case{GL_EBADFILE, "LINES=3", "LINES=2"}, Case{GL_EBADFILE, "LINES=3", "LINES 3"},
          Case{GL_EBADFILE, "=3", "=4\n" + string(127, 'x')}, Case{GL_EBADFILE, "8859-1", string(20, 'x')},
          Case{0, "8859-1", string(19, 'x')}, Case{GL_ELOADCAT, "as_specified", "as_it_comes"}, Case{GL_EBADCAL, "greg", "g"}}) {
        string text = LATIN.text();
        text.replace(text.find(part), part.size(), instead);
        const Locale locale = load_locale(text);
        EXPECT_EQ(locale->error, error) << part << " => " << instead;
        EXPECT_EQ(locale->locale_name[2][0] != '\0', error == 0);
        EXPECT_EQ(locale->conv.decimal_point != nullptr,
                  error == 0 || error == GL_EBADCAL || instead[0] == '#'); // what was read stays
    }
    const string text = LATIN.text();
    const size_t numeric = text.find("### LC_NUMERIC"), time = text.find("### LC_TIME");
    put("turned.lco", text.substr(0, numeric) + text.substr(time) + text.substr(numeric, time - numeric));
    const Locale locale = created();
    EXPECT_EQ(select(locale, 1, "turned.lco"), six("turned.lco")); // one by one in any order
    EXPECT_STREQ(locale->time.day[0], "Sunday");
}

TEST_F(Handle, SelectsByNameListAndEnvironment) {
    const Locale locale = created();
    const string longest = string(28, 'n') + ".lco";
    for (const string &name : {longest, string("own.lco")}) put(name, LATIN.text());
    LocaleObject without_characters = LATIN;
    without_characters.ctype = "0 4 1 0000\n0 0\n0\n0 4 1 0000\n0 0\n0\n";
    put("bad.lco", "FILE_TYPE=locale_object\nCOMPILER_VERSION=10\n");
    const auto expect = [&](int category, const string &spec, const string &result) {
        EXPECT_EQ(select(locale, category, spec.c_str()), result) << spec;
    };
    for (const auto &[category, spec, result] : {std::tuple{6, string("own.lco"), string("own.lco")},
                                                 {4, "GL_TIME = own.lco GL_NUMERIC=  latin.lco", "latin.lco"},
                                                 {3, longest, longest},
                                                 {1, six(longest) + string(311 - 285, ' '), six(longest)},
                                                 {1, string(312, ' '), "error 9"},
                                                 {0, "own.lco", "error 9"},
                                                 {8, "own.lco", "error 9"},
                                                 {6, "none.lco", "error 8"},
                                                 {6, string(33, 'n'), "error 8"},
                                                 {6, "GL_TIME = ", "error 8"}})
        expect(category, spec, result);
    EXPECT_EQ(select(locale, 8, nullptr), "error 9");
    EXPECT_EQ(select(locale, 6, nullptr), longest); // stays when there is no file
    expect(6, "bad.lco", "error 51");
    EXPECT_EQ(select(locale, 6, nullptr), "");
    EXPECT_EQ(locale->time.day[0], nullptr);
    put("none.lco", without_characters.text());
    for (const int category : {1, 2}) expect(category, "none.lco", "error 57"); // the same alone as with those that need it
    char room[] = "ab";
    EXPECT_EQ(gl_tombsupper(locale.get(), room, ""), 0);
    EXPECT_STREQ(room + 1, "b"); // a terminator is no longer than it was
    std::filesystem::remove(tree / "vrn/lc11/none.lco");
    expect(1, "native", six("native"));
    expect(1, "", six("default.lco"));
    const ScopedEnv third("GL_LANG", "own.lco"), second("GL_CTYPE", "latin.lco");
    expect(2, "", "latin.lco");
    expect(3, "", "own.lco");
    for (const auto &[value, name] : {std::pair{longest, longest}, {"", "latin.lco"}, {string(33, 'n'), "error 8"}}) {
        const ScopedEnv first("GL_ALL", value);
        expect(2, "", name);
        expect(2, "own.lco", "own.lco");
    }
}

TEST_F(Handle, KeepsItsCategoriesInOneCodeset) {
    const Locale locale = created();
    LocaleObject alias = LATIN;
    alias.codeset = "latin";
    put("alias.lco", alias.text());
    EXPECT_EQ(select(locale, GL_CAT_TIME, "alias.lco"), "alias.lco"); // another name of the same
    for (const int category : {GL_CAT_COLLATE, GL_CAT_MESSAGES}) EXPECT_EQ(select(locale, category, "sjis.lco"), "error 58");
    EXPECT_EQ(select(locale, 1, "sjis.lco"), six("sjis.lco"));
    EXPECT_EQ((std::tuple{locale->error, locale->upper, locale->mbstowcs}), std::make_tuple(0, nullptr, _gl_im_mbstowcs));
    EXPECT_EQ(select(locale, GL_CAT_CTYPE, "latin.lco"), "latin.lco"); // on the way from one to the other
    EXPECT_EQ((std::tuple{locale->error, locale->upper[0xE0], locale->mbscoll}),
              std::make_tuple(GL_EMIXEDCS, 0xC0, _gl_is_mbscoll_back));
}

// Whatever of a selection fails, comparison, keys and fingerprint go by the rules that the handle has then.
TEST_F(Handle, ComparesByTheRulesThatItHas) {
    Collation by_value = Collation::in_order(single_byte_codeset()), reversed = by_value;
    by_value.direct = true;
    std::reverse(reversed.rows.begin() + 1, reversed.rows.end());
    put("values.lco", LocaleObject(single_byte_codeset(), by_value.text()).text());
    put("reversed.lco", LocaleObject(single_byte_codeset(), reversed.text()).text());
    const Locale fresh = {empty().release(), gl_lc_unload}, used = created();
    for (const Locale *locale : {&fresh, &used})
        for (const auto &[rules, order] : {std::pair{"values.lco", -1}, {"reversed.lco", 1}, {"values.lco", -1}}) {
            const string spec = string("GL_NUMERIC = none.lco GL_COLLATE = ") + rules + " GL_CTYPE = latin.lco";
            EXPECT_EQ(select(*locale, 1, spec.c_str()), "error 8");
            char keys[2][16];
            gl_mbsxfrm(locale->get(), keys[0], "a", 16);
            gl_mbsxfrm(locale->get(), keys[1], "b", 16);
            EXPECT_EQ((std::tuple{gl_mbscoll(locale->get(), "a", "b"), strcmp(keys[0], keys[1]) < 0 ? -1 : 1}),
                      (std::tuple{order, order}))
                << rules;
        }
}

TEST_F(Handle, KnowsItsOrder) {
    const string own = "0123456789abcdef";
    const auto with_line = [](const string &line) {
        LocaleObject object(single_byte_codeset());
        object.header = "FILE_TYPE=locale_object\nCOMPILER_VERSION=11\nHEADER_LINES=4\n" + line + "\n";
        return object.text();
    };
    for (const char *line :
         {"ORDER=0123456789abcde", "ORDER=0123456789abcdef0", "ORDER=0123456789ABCDEF", "XORDER=0123456789abcdef"})
        EXPECT_STREQ(gl_order_fingerprint(load_locale(with_line(line)).get()), gl_order_fingerprint(created().get())) << line;
    put("told.lco", with_line("ORDER=" + own));
    Collation rules = Collation::in_order(single_byte_codeset());
    std::set<string> known = {own, gl_order_fingerprint(load_locale(SJIS).get())};
    const auto expect_new = [&] {
        const Locale locale = load_locale(LocaleObject(single_byte_codeset(), rules.text()));
        EXPECT_EQ(locale->error, 0);
        EXPECT_TRUE(known.insert(gl_order_fingerprint(locale.get())).second);
    };
    expect_new();
    ++rules.rows.back()[0], expect_new();
    rules.directions[0] = 2, expect_new();
    rules.expansions = {{'a', 'b'}}, expect_new();
    rules.elements = {{{'a', 'b'}, 3}}, expect_new();
    rules.places.pop_back(), expect_new();
    const Locale locale = created(), target = empty();
    EXPECT_TRUE(known.contains(gl_order_fingerprint(locale.get())));
    EXPECT_STREQ(gl_order_fingerprint(target.get()), "0000000000000000");
    select(locale, GL_CAT_COLLATE, "told.lco");
    gl_copy_cat(target.get(), locale.get(), 1);
    for (const Locale *each : {&locale, &target}) EXPECT_EQ(gl_order_fingerprint(each->get()), own);
    select(locale, GL_CAT_CTYPE, "latin.lco");
    EXPECT_EQ(gl_order_fingerprint(locale.get()), own);
    put("broken.lco", LATIN.text().replace(LATIN.text().find("as_specified"), 2, "??"));
    select(locale, GL_CAT_COLLATE, "broken.lco");
    EXPECT_STREQ(gl_order_fingerprint(locale.get()), "0000000000000000");
}

TEST_F(Handle, IsOneOfTheInstalled) {
    for (const char *name : {"ja_jp/e006euro.lco", "xx/e006.lco", "ja_jp/0333.lco", "ja_jp/deeper/e006.lco"})
        put(name, SJIS.text());
    put("ja_jp/broken.lco", "");
    put("ja_jp/e006.txt", SJIS.text());
    put("a-name-of-more-than-32-characters.lco", SJIS.text());
    const std::vector<string> expected = {"default.lco", "ja_JP.sjis", "ja_JP.sjis@euro", "ja_jp/0333.lco",
                                          "latin.lco",   "sjis.lco",   "xx/e006.lco"};
    const string searched = (tree / "vrn/lc11:/nowhere:") + (tree / "vrn/cm3");
    for (const bool by_path : {false, true}) {
        const ScopedEnv directories("GL_PATH", by_path ? searched.c_str() : nullptr);
        std::vector<string> names(gl_locale_count(nullptr), string(64, '?'));
        for (int i = 0; string & name : names) name.resize(gl_locale_name(nullptr, i++, name.data(), 64));
        EXPECT_EQ(names, expected);
    }
    int32_t error = 0;
    char name[] = "??????????????";
    EXPECT_EQ(gl_locale_name(&error, 7, name, 64), -1);
    EXPECT_EQ(error, GL_EBADARG);
    for (const auto &[room, text] : {std::pair(0, "??????????????"), {1, ""}, {11, "default.lc"}}) {
        EXPECT_EQ(gl_locale_name(&error, 0, name, room), -1);
        EXPECT_EQ(std::exchange(error, 0), GL_E2BIG);
        EXPECT_STREQ(name, text);
    }
    gl_free_registry_cache();
    EXPECT_EQ(gl_locale_name(&error, 1, name, 64), 10); // takes stock itself
    gl_free_registry_cache();
}

TEST_F(Handle, SharesCategories) {
    Locale source = created();
    const Locale target = empty(), pieces = empty();
    EXPECT_EQ((std::tuple{gl_copy_cat(target.get(), source.get(), 8), target->error}), std::make_tuple(-1, GL_EBADARG));
    EXPECT_EQ((std::tuple{gl_copy_cat(source.get(), target.get(), 1), source->error}), std::make_tuple(-1, GL_ENOCAT));
    EXPECT_EQ(gl_copy_cat(target.get(), source.get(), 1), 0);
    EXPECT_EQ((std::tuple{gl_copy_cat(target.get(), source.get(), 6), target->error}), std::make_tuple(-1, GL_EHASCAT));
    EXPECT_EQ(select(target, 1, nullptr), six("default.lco"));
    EXPECT_EQ((std::tuple{target->ctype.maps, target->collate.weights[0], target->mbscoll, target->time.day[0]}),
              std::make_tuple(source->ctype.maps, source->collate.weights[0], source->mbscoll, source->time.day[0]));
    EXPECT_NE(target->upper, source->upper);
    EXPECT_NE(target->conv.currency_symbol, source->conv.currency_symbol);
    EXPECT_EQ((std::tuple{target->upper[0xE0], target->time.eras}), std::make_tuple(0xC0, nullptr));
    // What takes the place of a shared category is the target's own.
    EXPECT_EQ(select(target, 1, "sjis.lco"), six("sjis.lco"));
    EXPECT_EQ((std::tuple{strcmp(source->time.day[0], "Sunday"), _gl_im_towupper(source.get(), 0xE0)}), std::make_tuple(0, 0xC0));
    for (const int category : {GL_CAT_MONETARY, GL_CAT_CTYPE, GL_CAT_TIME, GL_CAT_COLLATE, GL_CAT_MESSAGES, GL_CAT_NUMERIC}) {
        EXPECT_EQ(gl_copy_cat(pieces.get(), source.get(), category), category == GL_CAT_NUMERIC ? 0 : -1);
        EXPECT_EQ(pieces->error, category == GL_CAT_NUMERIC ? 0 : GL_EMIXEDCS);
    }
    source.reset(); // what is shared is not touched when the target goes
    EXPECT_STREQ(pieces->conv.int_curr_symbol, "EUR ");
}

// An extension that serves locales of one name; its handles are the numbers of their opening.
int opened, failure;
string closed;
void *open_number(const char *, void *map, int16_t *error) {
    *error = static_cast<int16_t>(failure);
    return map == &opened && failure == 0 ? reinterpret_cast<void *>(intptr_t{++opened}) : nullptr;
}
void *close_number(void *handle) { return closed += std::to_string(reinterpret_cast<intptr_t>(handle)) + " ", nullptr; }
int serves(const char *name, int category) { return strcmp(name, "latin.lco") == 0 && category != GL_CAT_NUMERIC; }

TEST_F(Handle, LeavesCategoriesToTheExtension) {
    const Locale source = created();
    unicode_collate = 1, pMap = &opened;
    qbgl::fn_glu_useIcuLocCall = serves, qbgl::fn_glu_lc_open = open_number, qbgl::fn_glu_lc_close = close_number;
    for (const int category : {3, 4, 6}) EXPECT_EQ(select(source, category, "latin.lco"), "latin.lco");
    EXPECT_EQ((std::tuple{source->mbscoll, source->mbfscoll, source->mbsxfrm}),
              std::make_tuple(_glu_mbscoll, _glu_mbfscoll, _glu_mbsxfrm));
    EXPECT_EQ((std::tuple{source->glu_flag[3], source->glu_flag[4], source->glu_handle[3]}),
              std::make_tuple(1, 0, source->glu_handle[6]));
    {
        const Locale target = empty();
        EXPECT_EQ(gl_copy_cat(target.get(), source.get(), 1), 0);
        EXPECT_EQ(target->glu_handle[3], source->glu_handle[3]);
        EXPECT_EQ(select(target, GL_CAT_MONETARY, "latin.lco"), "latin.lco"); // with a handle of its own
    }
    EXPECT_EQ(closed, "2 ");
    EXPECT_EQ(select(source, GL_CAT_COLLATE, "default.lco"), "default.lco");
    EXPECT_EQ((std::tuple{source->glu_flag[3], source->mbscoll, closed}), std::make_tuple(0, _gl_is_mbscoll_back, "2 "));
    gl_free_category(source.get(), GL_CAT_TIME);
    EXPECT_EQ(closed, "2 1 ");
    failure = 77;
    EXPECT_EQ(select(source, GL_CAT_TIME, "latin.lco"), "error 77");
    unicode_collate = 0, pMap = nullptr;
    qbgl::clear_entry_points();
}

} // namespace
