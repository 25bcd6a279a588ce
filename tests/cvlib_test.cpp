#include "support/conversion.h"
#include "support/conversion_shapes.h"
#include "support/faults.h"
#include "support/files.h"

#include "cvlib/canned.h"
#include "cvlib/engine.h"
#include "qbnxdl/entry_points.h"
#include "util/log.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <random>
#include <vector>

namespace {

using namespace qbgl;
using namespace qbgl_test;
using namespace std::string_literals;
using std::string;

Descriptor load(const string &text) {
    const TempDir directory;
    write_file(directory.path() / "object", text);
    gl_cv *cd = nullptr;
    const int result = gl_iconv_open1(&cd, (directory / "object").c_str());
    EXPECT_EQ(result, cd->error == 0 ? 0 : -1);
    return {cd, gl_cv_unload};
}

// The messages of a body, joined.
template <class Body> string messages_of(Body body) {
    vrn_debug_initialized = vrn_popups = 1;
    testing::internal::CaptureStdout();
    body();
    vrn_debug_initialized = vrn_popups = 0;
    return testing::internal::GetCapturedStdout();
}

const ConversionObject TWO_BYTES{
    {{"\0"s, {TERMINATOR, "\0"s}}, {"a", {M, "a"}}, {"b", {SUBSTITUTED, "xyz"}}, {"c", {0, ""}}, {"\x8E\xA1", {M, "two!"}}},
    {1, 2, 1, 4}};

TEST(ConversionObjectFile, IsCheckedLineByLine) {
    // Each edit of a good file: what goes, "=>", what stands there instead.
    const auto expect = [good = TWO_BYTES.text()](int error, const string &message, std::initializer_list<string> edits) {
        for (const string &edit : edits) {
            SCOPED_TRACE(edit);
            Descriptor cd(nullptr, gl_cv_unload);
            const string part = edit.substr(0, edit.find("=>")), instead = edit.substr(part.size() + 2);
            const string log = messages_of([&] { cd = load(string(good).replace(good.find(part), part.size(), instead)); });
            EXPECT_EQ(log.substr(log.find('\n') + 1), message); // the first line says that the file was opened
            EXPECT_EQ(cd->error, error);
            EXPECT_EQ(convert(*cd, "a", 4), error != 0 ? (Outcome{-1, 0, 0, 4, 77, ""}) : (Outcome{0, 0, 1, 3, 0, "a"}));
        }
    };
    expect(0, "VRN: CVO file loaded successfully.\n",
           {"HEADER_LINES=3=>=3", "LINES=3=>=5\nfree\n", "=3=>=-1", "=3=>=4\n" + string(126, 'x'),
            "0 0\n0000\n1 4 0 0 1 2\n1\n1.5=> 0 0\n 0000\n 1 4 0 0 1 2\n 1\n 1.5"});
    expect(8, "VRN: Invalid CVO file. Wrong FILE_TYPE.\n", {"codeset_conversion_object=>locale", "FILE=> FILE"});
    expect(8, "VRN: Invalid CVO file. Wrong Version.\n", {"=9=>=10", "=9=>=9 "});
    expect(8, "", {"HEADER_LINES==>", "=3=>=999999", "=3=>=4\n" + string(127, 'x')});
    expect(11, "",
           {"0 0\n=>0 0 \n", "\n0000\n=>\n0000 \n", "\n0000\n=>\n50102030405000\n", "2\n1\n=>2 1\n", "\n1\n1.5=>\n1 1.5",
            "1.5=>1.5x", "1.5=>-1", "1.5=>1e99"});
    expect(11, "VRN: cv->target_max_len should be in range 1..4\n", {"1 4 0=>1 0 0", "1 4 0=>1 5 0"});
    expect(3, "", {"1 4 0=>1 3 0"});      // a record of four bytes
    expect(11, "", {"\n0 0\n=>\n1 0\n"}); // a second table that is not there
    expect(21, "", {"\n2 1 1=>\n5 1 1"});
}

TEST(ConversionDescriptor, TellsTheRoomForItsOutput) {
    const Descriptor cd = load(TWO_BYTES.text());
    using Case = std::tuple<float, int, int>;
    for (const auto &[factor, length, size] : {Case{1.0F, 10, 10}, Case{1.5F, 10, 20}, Case{0.5F, 3, 3}, Case{0.0F, 3, 0},
                                               Case{4.0F, 0, 0}, Case{4.0F, 0x7FFFFFFF, 0x7FFFFFFF}}) {
        cd->expansion = factor;
        EXPECT_EQ(gl_cv_outbuflen(cd.get(), length), size) << factor;
        EXPECT_EQ(gl_iconv_expansion(cd.get()), factor);
    }
}

// What a table does not list is a character where the header names a rule by which the source has it.
TEST(ConversionObjectFile, NamesRulesForWhatItDoesNotList) {
    const string smile = "\xF0\x9F\x98\x80", in_gb18030 = "\x94\x39\xFC\x36";
    using Case = std::tuple<const char *, string, Outcome>;
    for (const auto &[rules, text, outcome] :
         {Case{"utf8", "a" + smile, {-1, GL_EILSEQ, 1, 8, 0, "a"}}, Case{"utf8", "a\xED\xA0\x80", {-1, 0, 1, 8, 0, "a"}},
          Case{"utf8 gb18030", smile + "b", {0, 0, 5, 2, 1, in_gb18030 + "xyz"}},
          Case{"utf8 gb18030", smile.substr(0, 3), {-1, 0, 0, 9, 0, ""}}, Case{"gb18030 utf8", in_gb18030, {0, 0, 4, 5, 0, smile}},
          Case{"gb18030", in_gb18030, {-1, GL_EILSEQ, 0, 9, 0, ""}},
          Case{"gb18030 utf8", in_gb18030.substr(0, 3), {-1, 0, 0, 9, 0, ""}},
          Case{"gb18030 utf8", "\xE3\x32\x9A\x36", {-1, 0, 0, 9, 0, ""}}, Case{"utf7 utf8", smile, {-1, 0, 0, 9, 0, ""}}}) {
        const Descriptor cd = load(TWO_BYTES.text(string("UNLISTED=") + rules));
        EXPECT_EQ(convert(*cd, text, 9), outcome) << rules;
        EXPECT_EQ(convert(*cd, text, 3).output, "a"s.substr(0, text[0] == 'a' ? 1 : 0)) << rules << ": no room for four bytes";
    }
}

// Without a count only the record of the terminator ends a conversion.
TEST(ConversionObjectFile, EndsTextAtTheTerminatorAlone) {
    const Mapped mapped{M, "x"}, terminator{TERMINATOR, "\0"s}, unmapped{0, ""};
    using Case = std::pair<int, ConversionObject>;
    for (const auto &[error, object] :
         {Case{0, {{{"\0"s, terminator}, {"a", mapped}}}}, Case{0, {{{"\0"s, unmapped}, {"a", mapped}}}},
          Case{0, {{{"a", mapped}}}}, Case{GL_EBADFILE, {{{"\0"s, mapped}, {"a", mapped}}}},
          Case{GL_EBADFILE, {{{"\0"s, terminator}, {"\x81\0"s, mapped}}, {1, 2, 1, 1}}},
          Case{GL_EBADFILE, {{{"\0\0"s, mapped}, {"\0a"s, mapped}}, {2, 2, 1, 1}}},
          Case{GL_EBADFILE, {{{"\0\0"s, terminator}, {"\0a"s, mapped}, {"a\0\0"s, mapped}}, {2, 3, 1, 1}}},
          Case{GL_EBADFILE, {{{"\0"s, terminator}, {"a", mapped}}, {1, 2, 1, 1}, {{"\0\0"s, terminator}, {"aa", mapped}}, true}}}) {
        EXPECT_EQ(load(object.text())->error, error) << object.text();
    }
}

TEST(ConversionDescriptor, IsOpenedOrSaysWhyNot) {
    const TempDir tree;
    const ScopedEnv base{"QUORBANEDIR", tree.path().string()}, path{"GL_PATH", nullptr};
    write_file(tree.path() / "vrn/cm3/registry", "one 819\nuno 819\ntwo 57350\nthree 57351\n");
    for (const char *name : {"vrn/cv9/0333e006.cvo", "vrn/cv9/one_two.cvo", "own/0333e006.cvo"})
        write_file(tree.path() / name, TWO_BYTES.text());
    write_file(tree.path() / "vrn/cv9/e0060333.cvo", "FILE_TYPE=other\n");

    const auto expect = [](auto open, int result, int error, const gl_cv *canned,
                           std::initializer_list<std::pair<const char *, const char *>> names) {
        for (const auto &[target, source] : names) {
            SCOPED_TRACE(testing::PrintToString(target) + " " + testing::PrintToString(source));
            gl_cv untouched = {}, *cd = &untouched;
            EXPECT_EQ(open(&cd, target, source), result);
            EXPECT_EQ(cd != nullptr ? cd->error : -1, error);
            EXPECT_EQ(is_canned(cd) ? cd : nullptr, canned);
            EXPECT_EQ(gl_cv_unload(cd), cd != nullptr ? 0 : -1);
        }
    };
    const auto in = [](const char *directory) {
        return
            [=](gl_cv **cd, const char *target, const char *source) { return gl_cv_load(cd, target, source, nullptr, directory); };
    };
    const string own = tree / "own", long_name(1018, 's'), too_long = long_name + "s", too_long_file = "x." + string(1022, 'n');
    expect(in(nullptr), 1, 0, nullptr, {{"two", "one"}, {"ja_jp.TWO", "819"}});
    expect(in(own.c_str()), 1, 0, nullptr, {{"two", "uno"}});
    expect(in("/none"), 0, -1, nullptr, {{"two", "two"}, {"en_us.one", "819"}});
    expect(in(nullptr), -1, 7, &cd_einval, {{"four", "one"}, {"two", "four"}, {nullptr, "one"}, {"two", nullptr}});
    expect(in(nullptr), -1, 8, nullptr, {{"three", "one"}, {"one", "two"}});
    expect(in("/none"), -1, 8, nullptr, {{"two", "one"}});

    expect(gl_cv_open, 1, 0, nullptr, {{"en_us.two", "de_de.one@x"}, {"x.two rest", ".one"}});
    expect(gl_cv_open, 0, -1, nullptr, {{"en_us.one", "x.one@dict"}});
    expect(gl_cv_open, -1, 8, nullptr, {{"en_us.one", "en_us.uno"}}); // names count, not numbers
    expect(gl_cv_open, -1, 8, &cd_fileerr, {{"x.one", too_long_file.c_str()}});
    for (const string &nameless : {"two"s, ""s, "en_us."s, "x.@"s, too_long_file + "n"})
        expect(gl_cv_open, -1, 8, &cd_fileerr, {{nameless.c_str(), "x.one"}, {"x.one", nameless.c_str()}});

    expect(gl_iconv_open, 0, 0, nullptr, {{"two", "one"}});
    expect(gl_iconv_open, -1, 8, nullptr, {{"one", "two"}, {"", long_name.c_str()}}); // 1024 bytes with the terminator
    expect(gl_iconv_open, -1, 8, &cd_fileerr, {{"one", "one"}, {"", too_long.c_str()}});
    const auto by_file = [](gl_cv **cd, const char *name, const char *) { return gl_iconv_open1(cd, name); };
    expect(by_file, 0, 0, nullptr, {{"one_two.cvo", nullptr}});
    expect(by_file, -1, 8, nullptr, {{nullptr, nullptr}});
}

TEST(ConversionDescriptor, WhatIsNotOpenConvertsNothing) {
    EXPECT_EQ(gl_cv_unload(nullptr), -1);
    const char *in = "a";
    int inleft = 1, outleft = 0, subst = 0;
    for (const gl_cv *cd : {&cd_enomem, &cd_fileerr, &cd_einval, static_cast<const gl_cv *>(nullptr)})
        EXPECT_EQ(gl_mconvlen(const_cast<gl_cv *>(cd), nullptr, &in, &inleft, &outleft, &subst), -1);
    EXPECT_EQ(cd_enomem.error * 100 + cd_fileerr.error * 10 + cd_einval.error, 387);
}

TEST(ConversionDescriptor, OfTheExtensionIsHandedOn) {
    static string calls;
    static int status = 0;
    fn_glu_useIcuCvtCall = [](int source, int target) { return source == 819 && target == 1208 ? 1 : 0; };
    fn_glu_cv_open = [](int, int, int *result) -> void * { return *result = status, &status; };
    fn_glu_cv_close = [](void *handle) { return calls += handle == &status ? "closed " : "?", 0; };
    fn_glu_cv_conv = [](void *, int reset, const char **, int *, char **, int *, int *, int *result) {
        return *result = 14, calls += reset != 0 ? "reset " : "go on ", -7;
    };
    const TempDir tree;
    write_file(tree.path() / "vrn/cm3/registry", "one 819\ntwo 1208\n");
    const ScopedEnv base{"QUORBANEDIR", tree.path().string()}, path{"GL_PATH", nullptr};
    pMap = &status; // the extension counts as initialised
    const auto by_number = [](gl_cv **cd) { return gl_cv_load(cd, "two", "one", nullptr, nullptr); };
    const auto by_name = [](gl_cv **cd) { return gl_cv_open(cd, "ja_jp.two", "ja_jp.one"); };
    // By name, the extension is asked whatever the collation.
    using Case = std::tuple<int, int (*)(gl_cv **), int, int>;
    for (const auto &[collate, open, opening, error] :
         {Case{1, by_number, 0, 0}, Case{0, by_name, 0, 0}, Case{1, by_number, 5, GL_ENOFILE}, Case{0, by_name, 5, 5}}) {
        unicode_collate = collate;
        status = opening;
        gl_cv *cd = nullptr;
        EXPECT_EQ(open(&cd), error == 0 ? 1 : -1);
        EXPECT_EQ(cd->error, error);
        if (error == 0) {
            gl_cv_state state = {};
            EXPECT_EQ(convert(*cd, "", 1, &state).result, -7);
            EXPECT_EQ(convert(*cd, "", 1).error, 14);
        }
        EXPECT_EQ(gl_cv_unload(cd), 0);
    }
    EXPECT_EQ(calls, "go on reset closed go on reset closed ");
    pMap = nullptr;
    unicode_collate = 0;
    fn_glu_useIcuCvtCall = nullptr, fn_glu_cv_open = nullptr, fn_glu_cv_close = nullptr, fn_glu_cv_conv = nullptr;
}

// The halves of conversions, by the names of their files: the codesets 1 and 3 to UTF-8, UTF-8 to 2 and 4; 3 and 4 have states.
const std::pair<const char *, ConversionObject> HALVES[] = {
    {"0001e01c",
     {{{"\0"s, {TERMINATOR, "\0"s}},
       {"a", {M, "a"}},
       {"b", {SUBSTITUTED, "b"}},
       {"c", {M, "\xC3\xA9"}},
       {"d", {0, ""}},
       {"e", {M, "ab"}},
       {"f", {M, "\xC3\xAA"}},
       {"\x81\x40", {M, "\xE3\x81\x82"}},
       {"\x81\x41", {M, "\xF0\x9F\x98\x80"}}},
      {1, 2, 1, 4}}},
    {"e01c0002",
     {{{"\0"s, {TERMINATOR, "\0"s}},
       {"a", {M, "A"}},
       {"b", {M, "BB"}},
       {"\xC3\xA9", {SUBSTITUTED, "e"}},
       {"\xE3\x81\x82", {M, "\x82\xA0"}},
       {"\xF0\x9F\x98\x80", {0, ""}}},
      {1, 4, 1, 2}}},
    {"0003e01c",
     {{{"\0"s, {TERMINATOR, "\0"s}}, {"a", {M, "a"}}, {"\x0E", {TOGGLES, ""}}, {"\x0F", {M, ""}}},
      {1, 2, 1, 3},
      {{"\x0F", {TOGGLES, ""}}, {"\x0E", {M, ""}}, {"KA", {M, "\xE3\x81\x82"}}, {"KI", {0, ""}}},
      true}},
    {"e01c0004",
     {{{"\0"s, {TERMINATOR, "\0"s}}, {"a", {M, "a"}}, {"\xC3\xA9", {0, ""}}, {"\xE3\x81\x82", {SHIFTED, "ka"}}},
      {1, 3, 1, 2},
      {},
      false,
      true,
      "10e10f00"}},
};

class Composed : public testing::Test {
  protected:
    Composed() {
        write_file(tree_.path() / "vrn/cm3/registry", "one 1\nuno 1\ntwo 2\nutf8 57372\n");
        for (const auto &[name, object] : HALVES) put(name, object.text());
    }
    string object(const string &name) const { return tree_ / ("vrn/cv9/" + name + ".cvo"); }
    void put(const string &name, const string &text) const { write_file(object(name), text); }
    static Descriptor open(const char *target, const char *source, int error = 0) {
        gl_cv *cd = nullptr;
        EXPECT_EQ(gl_cv_load(&cd, target, source, nullptr, nullptr), error == 0 ? 1 : -1) << source << " to " << target;
        EXPECT_EQ(cd->error, error) << source << " to " << target;
        return {cd, gl_cv_unload};
    }

  private:
    const TempDir tree_;
    const ScopedEnv base_{"QUORBANEDIR", tree_.path().string()}, path_{"GL_PATH", nullptr};
};

// The lane goes by units then, or by pieces of UTF-8; where it stops is told in bytes of the source.
TEST_F(Composed, StopsInTextOfUnitsWhereTheTableDoes) {
    put("e01ce005",
        ConversionObject{{{"a", {M, "\0a"s}}, {"\xC3\xA9", {M, "\0\xE9"s}}, {"\xE3\x81\x82", {M, "\x30\x42"}}}, {1, 4, 2, 2}}
            .text());
    std::minstd_rand random(5);
    for (const char *target : {"2", "57349"}) {
        for (const auto &[source, unit, swap] : {std::tuple("57404", 2U, 0U), {"1200", 2U, 1U}, {"57392", 4U, 0U}}) {
            const Descriptor cd = open(target, source);
            void *const lane = cd->lane;
            ASSERT_NE(lane, nullptr);
            for (int round = 0; round < 300; ++round) {
                string text;
                for (size_t length = random() % 400; text.size() < length * unit;) {
                    const uint32_t odd[] = {0xE9, 0xEA, 0x1F600, 0xDC00, 0}, code = random() % 100 == 0 ? odd[random() % 5]
                                                                                    : random() % 4 == 0 ? 0x3042
                                                                                                        : 'a';
                    for (size_t i = 0; i < unit; ++i) text += static_cast<char>(code >> (8 * (i ^ swap)));
                }
                text.resize(text.size() - std::min<size_t>(text.size(), random() % 3));
                const int room = static_cast<int>(random() % (text.size() + 8));
                cd->lane = nullptr;
                const Outcome expected = convert(*cd, text, room);
                cd->lane = lane;
                ASSERT_EQ(convert(*cd, text, room), expected) << source << " to " << target << ", round " << round;
            }
        }
    }
}

TEST_F(Composed, GivesWayToAnObjectAndNamesWhatItLacks) {
    open("5", "1", GL_ENOFILE), open("2", "5", GL_ENOFILE), open("5", "1200", GL_ENOFILE), open("1200", "5", GL_ENOFILE);
    open("57372", "2", GL_ENOFILE), open("1", "57372", GL_ENOFILE);
    gl_cv *cd = nullptr;
    EXPECT_EQ(gl_iconv_open(&cd, "two", "uno"), 0);
    EXPECT_EQ(convert(*cd, "b", 9).output, "BB");
    EXPECT_EQ(gl_cv_unload(cd), 0);
    EXPECT_EQ(gl_cv_load(&cd, "2", "1", nullptr, "/none"), -1); // neither the pair nor its halves
    EXPECT_EQ(cd->error, GL_ENOFILE);
    EXPECT_EQ(gl_cv_unload(cd), 0);
    put("00010002", TWO_BYTES.text());
    EXPECT_EQ(convert(*open("2", "1"), "b", 9).output, "xyz");
    put("00010002", "FILE_TYPE=other\n");
    open("2", "1", GL_ENOFILE);
    std::filesystem::remove(object("00010002"));
    // A file that is there and cannot be opened is not replaced by what may be something else.
    gl_setextfunc(nullptr, GL_EXT_FOPEN, reinterpret_cast<gl_extfunc>(+[](const char *, const char *) -> FILE * {
                      errno = EMFILE;
                      return nullptr;
                  }));
    open("57404", "57372", GL_ENOFILE);
    gl_setextfunc(nullptr, GL_EXT_FOPEN, nullptr);
    open("57404", "57372");
    for (const char *half : {"0001e01c", "e01c0002"}) {
        const string good = read_file(object(half));
        put(half, good.substr(0, good.size() / 2));
        open("2", "1", GL_EBADFILE);
        put(half, good);
    }
    // Halves that are sound, and make a text run on.
    put("0001e01c", ConversionObject{{{"\0"s, {M, "a"}}, {"a", {0, ""}}}}.text());
    open("2", "1", GL_EBADFILE);
}

TEST_F(Composed, FailsWithAnErrorAndLeavesNothing) {
    for (const auto &[source, target] : {std::pair("1", "2"), {"3", "4"}, {"3", "1200"}, {"57404", "4"}, {"57404", "57372"}})
        for (const Operation operation : {Operation::allocate, Operation::open, Operation::read})
            for_each_fault(operation, [&, source = source, target = target](const Faults &faults) {
                gl_cv *cd = nullptr;
                const int result = gl_cv_load(&cd, target, source, nullptr, nullptr), error = cd->error;
                // An object of the pair is looked for in vain, and the halves are found in the second directory as well as in the
                // first.
                const bool in_file = operation != Operation::allocate && (error == GL_ENOFILE || error == GL_EBADFILE);
                const bool expected =
                    result == 1 ? operation != Operation::read || !faults.hit() : faults.hit() && (error == GL_ENOMEM || in_file);
                EXPECT_TRUE(expected) << source << " to " << target << ": " << result << ", error " << error;
                if (result == 1) {
                    EXPECT_EQ(convert(*cd, "", 9).result, 0);
                }
                EXPECT_EQ(gl_cv_unload(cd), 0);
            });
}

TEST(Engine, EndsShiftsAndNamesFailures) {
    const string ka = "\x81\x40";
    const Descriptor cd = load(TO_SHIFTED.text()), plain = load(TWO_BYTES.text());
    EXPECT_EQ(convert(*cd, ka + "a" + ka, 99).output, "\x0EKA\x1B(a\x0EKA\x1B("); // no state: initial at both ends
    EXPECT_EQ(convert(*cd, ka + "\0a"s, 99, nullptr, false).output, "\x0EKA\x1B(\0"s);
    EXPECT_EQ(convert(*cd, "\x81\x43" + ka, 99, nullptr, false).output, "\x0ENU\x1B(");
    const auto failures = [&] { convert(*plain, "c", 9), convert(*plain, "d", 9), convert(*plain, "a", 0); };
    EXPECT_EQ(messages_of(failures),
              "VRN: Error in Translation (GL_EILSEQ)\nVRN: Error in Translation.\nVRN: Error in Translation (GL_E2BIG)\n");
}

} // namespace
