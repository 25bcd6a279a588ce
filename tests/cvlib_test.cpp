#include "support/conversion_shapes.h"
#include "support/faults.h"
#include "support/files.h"

#include "cvlib/engine.h"
#include "qbnxdl/entry_points.h"
#include "util/log.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace {

using namespace qbgl;
using namespace qbgl_test;
using namespace std::string_literals;
using std::string;

using Descriptor = std::unique_ptr<gl_cv, int (*)(gl_cv *)>;

Descriptor load(const string &text) {
    const TempDir directory;
    write_file(directory.path() / "object", text);
    gl_cv *cd = nullptr;
    const int result = gl_iconv_open1(&cd, (directory / "object").c_str());
    EXPECT_EQ(result, cd->error == 0 ? 0 : -1);
    return {cd, gl_cv_unload};
}

// What one call left behind.
struct Outcome {
    int result, error, consumed, outleft, subst;
    string output;
    bool operator==(const Outcome &) const = default;
    friend void PrintTo(const Outcome &o, std::ostream *out) {
        *out << "result " << o.result << ", error " << o.error << ", consumed " << o.consumed << ", outleft " << o.outleft
             << ", subst " << o.subst << ", output " << hexadecimal(o.output);
    }
};

enum class Mode { counted, to_terminator, measured };

// Through blocks of exactly the text's and the output's size, where the sanitizer sees every step too far. `slack` is room that is
// there but not announced.
Outcome convert(gl_cv *cd, const string &text, int room, Mode mode = Mode::counted, gl_cv_state *state = nullptr, int slack = 0) {
    const std::vector<char> source(text.begin(), text.end());
    std::vector<char> target(static_cast<size_t>(std::max(0, room + slack)));
    const char *in = source.data();
    char *out = target.data();
    int inleft = static_cast<int>(source.size()), outleft = room, subst = 77;
    cd->error = 0;
    int result = 0;
    if (mode == Mode::measured)
        result = gl_mconvlen(cd, state, &in, &inleft, &outleft, &subst);
    else
        result = gl_cv_mconv(cd, state, &in, mode == Mode::counted ? &inleft : nullptr, &out, &outleft, &subst);
    const int consumed = static_cast<int>(in - source.data());
    EXPECT_EQ(inleft, int(source.size()) - (mode != Mode::to_terminator ? consumed : 0));
    EXPECT_EQ(out - target.data(), mode != Mode::measured ? room - outleft : 0);
    return {result, cd->error, consumed, outleft, subst, string(target.data(), static_cast<size_t>(out - target.data()))};
}

// The messages of a body, joined.
template <class Body> string messages_of(Body body) {
    vrn_debug_initialized = vrn_popups = 1;
    testing::internal::CaptureStdout();
    body();
    vrn_debug_initialized = vrn_popups = 0;
    return testing::internal::GetCapturedStdout();
}

ConversionObject two_bytes() {
    ConversionObject object;
    object.main = {
        {"\0"s, {TERMINATOR, "\0"s}}, {"a", {M, "a"}}, {"b", {SUBSTITUTED, "xyz"}}, {"c", {0, ""}}, {"\x8E\xA1", {M, "two!"}}};
    object.lengths.source_max = 2;
    object.lengths.target_max = 4;
    return object;
}

TEST(ConversionObjectFile, HeaderIsCheckedLineByLine) {
    const string body = two_bytes().parameters() + two_bytes().tables();
    const string type = "FILE_TYPE=codeset_conversion_object\n", version = "COMPILER_VERSION=9\n", lines = "HEADER_LINES=3\n";
    const string loaded = "CVO file loaded successfully.", bad_type = "Wrong FILE_TYPE.", bad_version = "Wrong Version.";
    using Case = std::tuple<string, int, string>;
    for (const auto &[head, error, message] :
         {Case{type + version + lines, 0, loaded}, Case{type + version + "=3\n", 0, loaded},
          Case{type + version + "x=5\nfree\n\n", 0, loaded}, Case{type + version + "x=-1\n", 0, loaded},
          Case{"FILE_TYPE=locale\n" + version + lines, 8, bad_type}, Case{" " + type + version + lines, 8, bad_type},
          Case{type + "COMPILER_VERSION=10\n" + lines, 8, bad_version},
          Case{type + "COMPILER_VERSION=9 \n" + lines, 8, bad_version}, Case{type + version + "3\n", 8, ""},
          Case{type + version + "=999999\n", 8, ""}, Case{type + version + "=4\n" + string(126, 'x') + "\n", 0, loaded},
          Case{type + version + "=4\n" + string(127, 'x') + "\n", 8, ""}}) {
        SCOPED_TRACE(head);
        int seen = -1;
        const string text = head + body, log = messages_of([&] { seen = load(text)->error; });
        EXPECT_EQ(seen, error);
        for (const string &other : {loaded, bad_type, bad_version})
            EXPECT_EQ(log.find(other + "\n") != string::npos, other == message) << log;
    }
}

TEST(ConversionObjectFile, DamagedBodiesAreRefused) {
    const string tables = two_bytes().tables(), rest = "0000\n1 4 0 0 1 2\n1\n1.5\n";
    using Case = std::tuple<string, int>;
    for (const auto &[body, error] :
         {Case{"0 0\n" + rest + tables, 0}, Case{" 0 0\n 0000\n 1 4 0 0 1 2\n 1\n 1.5\n" + tables, 0},
          Case{"0 0 \n" + rest + tables, 11}, Case{"0 0\n0000 \n1 4 0 0 1 2\n1\n1.5\n" + tables, 11},
          Case{"0 0\n50102030405000\n1 4 0 0 1 2\n1\n1.5\n" + tables, 11}, Case{"0 0\n0000\n1 4 0 0 1 2 1\n1.5\n" + tables, 11},
          Case{"0 0\n0000\n1 4 0 0 1 2\n1 1.5\n" + tables, 11}, Case{"0 0\n0000\n1 4 0 0 1 2\n1\n1.5x\n" + tables, 11},
          Case{"0 0\n0000\n1 4 0 0 1 2\n1\n-1\n" + tables, 11}, Case{"0 0\n0000\n1 4 0 0 1 2\n1\n1e99\n" + tables, 11},
          Case{"0 0\n0000\n1 0 0 0 1 2\n1\n1.5\n" + tables, 11}, Case{"0 0\n0000\n1 5 0 0 1 2\n1\n1.5\n" + tables, 11},
          Case{"0 0\n0000\n1 3 0 0 1 2\n1\n1.5\n" + tables, 3}, // a record of four bytes
          Case{"0 0\n" + rest, 3}, Case{"0 0\n" + rest + "5 1 1 00\n1 1\n", 21}, Case{"1 0\n" + rest + tables, 3},
          Case{"1 0\n" + rest + tables + "5 1 1 00\n", 21}}) {
        SCOPED_TRACE(body.substr(0, 60));
        const Descriptor cd = load(ConversionObject::HEADER + body);
        EXPECT_EQ(cd->error, error);
        EXPECT_EQ(convert(cd.get(), "a", 4), error != 0 ? (Outcome{-1, 0, 0, 4, 77, ""}) : (Outcome{0, 0, 1, 3, 0, "a"}));
    }
    const auto range = [] { load(ConversionObject::HEADER + "0 0\n0000\n1 5 0 0 1 2\n1\n1.5\n"s); };
    EXPECT_NE(messages_of(range).find("cv->target_max_len should be in range 1..4\n"), string::npos);
}

TEST(ConversionObjectFile, FieldsAndSequencesAreKept) {
    ConversionObject object = two_bytes();
    object.sequences = "10e02AbcD41b24297a";
    object.expansion = "1.25";
    const Descriptor cd = load(object.text());
    EXPECT_EQ(cd->expansion, 1.25F);
    const int lengths[] = {1, 0, 2, 4};
    EXPECT_TRUE(std::equal(lengths, lengths + 4, cd->sequence_length));
    EXPECT_EQ(string(reinterpret_cast<char *>(cd->sequence), 1), "\x0E");
    EXPECT_EQ(string(reinterpret_cast<char *>(cd->sequence[2]), 2), "\xAB\xCD");
    EXPECT_EQ(string(reinterpret_cast<char *>(cd->sequence[3]), 4), "\x1B$)z");
    EXPECT_EQ(cd->source_max_len * 10 + cd->target_max_len, 24);
}

TEST(ConversionObjectFile, ShapeChoosesTheFunction) {
    struct Case {
        ConversionObject::Lengths lengths;
        bool source_stateful, target_stateful;
        gl_cv_function function;
    };
    const auto from_le = little_endian_unicode_source_miconv, to_le = little_endian_unicode_target_miconv;
    for (const Case &c : {Case{{2, 2, 1, 1}, false, false, from_le}, Case{{4, 4, 2, 2}, false, true, from_le},
                          Case{{2, 4, 1, 1}, false, false, mb_miconv}, Case{{2, 2, 1, 2}, true, false, mb_miconv},
                          Case{{1, 1, 2, 2}, false, false, to_le}, Case{{1, 1, 4, 4}, true, false, to_le},
                          Case{{1, 1, 2, 2}, false, true, mb_miconv}, Case{{1, 1, 2, 4}, false, false, mb_miconv},
                          Case{{1, 1, 3, 3}, false, false, mb_miconv}, Case{{1, 1, 1, 1}, false, false, sb_miconv},
                          Case{{0, 1, 0, 1}, false, false, sb_miconv}, Case{{1, 1, 1, 1}, true, false, mb_miconv},
                          Case{{1, 2, 1, 1}, false, false, mb_miconv}}) {
        for (const int flag : {0, 1}) {
            ConversionObject object{{{"a", {M, "b"}}}, c.lengths, {}, c.source_stateful, c.target_stateful};
            object.single_byte_table_flag = flag;
            const Descriptor cd = load(object.text());
            EXPECT_EQ(cd->convert, c.function) << object.parameters();
            EXPECT_EQ(cd->single_byte_table != nullptr, flag == 0 && c.function == sb_miconv);
        }
    }
}

TEST(ConversionObjectFile, SingleByteTableHasHoles) {
    ConversionObject object;
    object.main = {{"A", {M, "\xC1"}}, {"B", {SUBSTITUTED, "?"}}, {"C", {0, ""}}};
    object.single_byte_table_flag = 0;
    const Descriptor cd = load(object.text());
    string expected(256, '\0');
    expected['A'] = '\xC1', expected['B'] = '?';
    EXPECT_EQ(string(reinterpret_cast<char *>(cd->single_byte_table), 256), expected);
    EXPECT_EQ(cd->error, 0);
}

TEST(ConversionObjectFile, ExpansionRoundsUp) {
    const Descriptor cd = load(two_bytes().text());
    using Case = std::tuple<float, int, int>;
    for (const auto &[factor, length, size] : {Case{1.0F, 10, 10}, Case{1.5F, 10, 20}, Case{0.5F, 3, 3}, Case{0.0F, 3, 0},
                                               Case{4.0F, 0, 0}, Case{4.0F, 0x7FFFFFFF, 0x7FFFFFFF}}) {
        cd->expansion = factor;
        EXPECT_EQ(gl_cv_outbuflen(cd.get(), length), size) << factor;
        EXPECT_EQ(gl_iconv_expansion(cd.get()), factor);
    }
}

class Opening : public testing::Test {
  protected:
    Opening() {
        write_file(tree.path() / "vrn/cm3/registry", "one 819\nuno 819\ntwo 57350\nthree 57351\n");
        for (const char *name : {"vrn/cv9/0333e006.cvo", "vrn/cv9/one_two.cvo", "own/0333e006.cvo"})
            write_file(tree.path() / name, two_bytes().text());
        write_file(tree.path() / "vrn/cv9/e0060333.cvo", "FILE_TYPE=other\n");
    }
    // The result, and what the descriptor says; -1 for none.
    struct Opened {
        int result, error;
        const gl_cv *canned;
        bool operator==(const Opened &) const = default;
        friend void PrintTo(const Opened &o, std::ostream *out) {
            *out << o.result << ", error " << o.error << ", canned " << o.canned;
        }
    };
    template <class Open> static Opened opened(Open open) {
        const gl_cv untouched = {};
        gl_cv *cd = const_cast<gl_cv *>(&untouched);
        const int result = open(&cd);
        if (cd == nullptr) return {result, -1, nullptr};
        const Opened seen{result, cd->error, is_canned(cd) ? cd : nullptr};
        EXPECT_EQ(gl_cv_unload(cd), 0);
        return seen;
    }

    const TempDir tree;
    const ScopedEnv base{"QUORBANEDIR", tree.path().string()}, path{"GL_PATH", nullptr};
};

TEST_F(Opening, ByNumber) {
    struct Case {
        const char *target, *source, *directory;
        Opened expected;
    };
    const string own = tree / "own", none = tree / "none";
    for (const auto &[target, source, directory, expected] :
         {Case{"two", "one", nullptr, {1, 0, nullptr}}, Case{"ja_jp.TWO", "819", nullptr, {1, 0, nullptr}},
          Case{"two", "uno", own.c_str(), {1, 0, nullptr}}, Case{"en_us.one", "819", nullptr, {0, -1, nullptr}},
          Case{"two", "two", none.c_str(), {0, -1, nullptr}}, Case{"four", "one", nullptr, {-1, 7, &cd_einval}},
          Case{"two", "four", nullptr, {-1, 7, &cd_einval}}, Case{nullptr, "one", nullptr, {-1, 7, &cd_einval}},
          Case{"two", nullptr, nullptr, {-1, 7, &cd_einval}}, Case{"three", "one", nullptr, {-1, 8, nullptr}},
          Case{"two", "one", none.c_str(), {-1, 8, nullptr}}, Case{"one", "two", nullptr, {-1, 8, nullptr}}}) {
        EXPECT_EQ(
            opened([to = target, from = source, in = directory](gl_cv **cd) { return gl_cv_load(cd, to, from, nullptr, in); }),
            expected)
            << (target != nullptr ? target : "null") << " " << (source != nullptr ? source : "null");
    }
}

TEST_F(Opening, ByName) {
    const auto by_spec = [](string target, string source) {
        return opened([&](gl_cv **cd) { return gl_cv_open(cd, target.c_str(), source.c_str()); });
    };
    const auto by_codeset = [](string target, string source) {
        return opened([&](gl_cv **cd) { return gl_iconv_open(cd, target.c_str(), source.c_str()); });
    };
    const Opened file_error{-1, 8, &cd_fileerr}, not_found{-1, 8, nullptr};
    EXPECT_EQ(by_spec("en_us.two", "de_de.one@x"), (Opened{1, 0, nullptr}));
    EXPECT_EQ(by_spec("x.two rest", ".one"), (Opened{1, 0, nullptr}));
    EXPECT_EQ(by_spec("en_us.one", "x.one@dict"), (Opened{0, -1, nullptr}));
    EXPECT_EQ(by_spec("en_us.one", "en_us.uno"), not_found); // names count, not numbers
    for (const string &nameless : {"two"s, ""s, "en_us."s, "x.@"s, "x." + string(1023, 'n')}) {
        EXPECT_EQ(by_spec(nameless, "x.one"), file_error);
        EXPECT_EQ(by_spec("x.one", nameless), file_error);
    }
    EXPECT_EQ(by_spec("x.one", "x." + string(1022, 'n')), file_error); // the file name is too long
    EXPECT_EQ(by_codeset("two", "one"), (Opened{0, 0, nullptr}));
    EXPECT_EQ(by_codeset("one", "two"), not_found);
    EXPECT_EQ(by_codeset("one", "one"), file_error);
    EXPECT_EQ(by_codeset("", string(1018, 's')), not_found); // 1024 bytes with the terminator
    EXPECT_EQ(by_codeset("", string(1019, 's')), file_error);
    EXPECT_EQ(opened([](gl_cv **cd) { return gl_iconv_open1(cd, "one_two.cvo"); }), (Opened{0, 0, nullptr}));
    EXPECT_EQ(opened([](gl_cv **cd) { return gl_iconv_open1(cd, nullptr); }), not_found);
}

TEST(ConversionDescriptor, WhatIsNotOpenConvertsNothing) {
    EXPECT_EQ(gl_cv_unload(nullptr), -1);
    const Descriptor missing = load("");
    const char *in = "a";
    int inleft = 1, outleft = 0, subst = 0;
    for (const gl_cv *cd :
         {&cd_enomem, &cd_fileerr, &cd_einval, static_cast<const gl_cv *>(missing.get()), static_cast<const gl_cv *>(nullptr)})
        EXPECT_EQ(gl_mconvlen(const_cast<gl_cv *>(cd), nullptr, &in, &inleft, &outleft, &subst), -1);
    EXPECT_EQ(cd_enomem.error * 100 + cd_fileerr.error * 10 + cd_einval.error, 387);
    EXPECT_EQ(gl_cv_unload(const_cast<gl_cv *>(&cd_einval)), 0);
}

TEST(ConversionDescriptor, OfTheExtensionIsHandedOn) {
    static string calls;
    static int status = 0;
    fn_glu_useIcuCvtCall = [](int source, int target) { return source == 819 && target == 1208 ? 1 : 0; };
    fn_glu_cv_open = [](int, int, int *result) -> void * { return *result = status, &status; };
    fn_glu_cv_close = [](void *handle) { return calls += handle == &status ? "closed" : "?", 0; };
    fn_glu_cv_conv = [](void *, int reset, const char **, int *, char **, int *, int *, int *result) {
        return *result = 14, calls += reset != 0 ? "reset " : "go on ", -7;
    };
    const TempDir tree;
    write_file(tree.path() / "vrn/cm3/registry", "one 819\ntwo 1208\n");
    const ScopedEnv base{"QUORBANEDIR", tree.path().string()}, path{"GL_PATH", nullptr};
    pMap = &status; // the extension counts as initialised
    unicode_collate = 1;
    gl_cv *cd = nullptr;
    EXPECT_EQ(gl_cv_load(&cd, "two", "one", nullptr, nullptr), 1);
    gl_cv_state state = {};
    EXPECT_EQ(convert(cd, "", 1, Mode::counted, &state).result, -7);
    EXPECT_EQ(convert(cd, "", 1).error, 14);
    EXPECT_EQ(gl_cv_unload(cd), 0);
    EXPECT_EQ(calls, "go on reset closed");
    unicode_collate = 0; // by name the extension is asked all the same
    EXPECT_EQ(gl_cv_open(&cd, "ja_jp.two", "ja_jp.one"), 1);
    EXPECT_EQ(gl_cv_unload(cd), 0);
    using Case = std::tuple<int, int (*)(gl_cv **), int>;
    for (const auto &[collate, open, error] :
         {Case{0, [](gl_cv **to) { return gl_cv_open(to, "ja_jp.two", "ja_jp.one"); }, 5},
          Case{1, [](gl_cv **to) { return gl_cv_load(to, "two", "one", nullptr, nullptr); }, GL_ENOFILE}}) {
        unicode_collate = collate;
        status = 5;
        EXPECT_EQ(open(&cd), -1);
        EXPECT_EQ(cd->error, error);
        EXPECT_EQ(gl_cv_unload(cd), 0);
    }
    EXPECT_EQ(calls, "go on reset closedclosed");
    pMap = nullptr;
    unicode_collate = 0;
    fn_glu_useIcuCvtCall = nullptr, fn_glu_cv_open = nullptr, fn_glu_cv_close = nullptr, fn_glu_cv_conv = nullptr;
}

TEST(Engine, StopsOnTheCulprit) {
    using Case = std::tuple<string, int, Mode, Outcome>;
    const Descriptor cd = load(two_bytes().text());
    for (const auto &[text, room, mode, expected] :
         {Case{"", 0, Mode::counted, {0, 0, 0, 0, 0, ""}}, Case{"aba", 5, Mode::counted, {0, 0, 3, 0, 1, "axyza"}},
          Case{"aba", 4, Mode::counted, {-1, 14, 2, 0, 1, "axyz"}}, Case{"ab", 3, Mode::counted, {-1, 14, 1, 2, 1, "a"}},
          Case{"ac", 9, Mode::counted, {-1, 1, 1, 8, 0, "a"}}, Case{"ad", 9, Mode::counted, {-1, 0, 1, 8, 0, "a"}},
          Case{"a\x8E", 9, Mode::counted, {-1, 0, 1, 8, 0, "a"}},
          Case{"\x8E\xA1\x8E\xA1", 7, Mode::counted, {-1, 14, 2, 3, 0, "two!"}},
          Case{"aa\0a"s, 9, Mode::counted, {0, 0, 4, 5, 0, "aa\0a"s}},
          Case{"aa\0a"s, 9, Mode::to_terminator, {0, 0, 3, 6, 0, "aa\0"s}},
          Case{"aa\0"s, 2, Mode::to_terminator, {-1, 14, 2, 0, 0, "aa"}}, Case{"aba", 5, Mode::measured, {0, 0, 3, 0, 1, ""}},
          Case{"aba", 4, Mode::measured, {-1, 14, 2, 0, 1, ""}}, Case{"a", -3, Mode::measured, {-1, 14, 0, -3, 0, ""}}}) {
        EXPECT_EQ(convert(cd.get(), text, room, mode), expected) << testing::PrintToString(text);
    }
    const auto three = [&] { convert(cd.get(), "c", 9), convert(cd.get(), "d", 9), convert(cd.get(), "a", 0); };
    EXPECT_EQ(messages_of(three),
              "VRN: Error in Translation (GL_EILSEQ)\nVRN: Error in Translation.\nVRN: Error in Translation (GL_E2BIG)\n");
}

TEST(Engine, FourByteUnitsAskForTwoBytesOfRoom) {
    const ConversionObject object{{{"a", {M, "\0\1\xF6\x01"s}}}, {1, 1, 4, 4}};
    const Descriptor cd = load(object.text());
    EXPECT_EQ(convert(cd.get(), "aa", 6, Mode::counted, nullptr, 2), (Outcome{0, 0, 2, -2, 0, "\x01\xF6\1\0\x01\xF6\1\0"s}));
    EXPECT_EQ(convert(cd.get(), "aa", 5), (Outcome{-1, 14, 1, 1, 0, "\x01\xF6\1\0"s}));
}

// A stateless conversion done plainly, from the mapping.
Outcome model(const ConversionObject &object, const string &text, int room, Mode mode) {
    const size_t source_unit =
        is_unicode_unit(object.lengths.source_min, object.lengths.source_max) ? size_t(object.lengths.source_min) : 0;
    const bool reversed = source_unit == 0 && is_unicode_unit(object.lengths.target_min, object.lengths.target_max);
    const bool single = source_unit == 0 && object.lengths.source_max == 1 && object.lengths.target_max == 1;
    Outcome o{0, 0, 0, room, 0, ""};
    const auto failed = [&](int error) { return o.result = -1, o.error = error, o; };
    while (o.consumed < int(text.size())) {
        const string rest = text.substr(size_t(o.consumed));
        string key;
        if (source_unit != 0)
            key.assign(rest.rbegin() + std::max<ptrdiff_t>(0, ptrdiff_t(rest.size() - source_unit)), rest.rend());
        else
            for (size_t n = 1; n <= (single ? 1 : rest.size()) && !object.main.contains(key); ++n) key = rest.substr(0, n);
        const auto found = object.main.find(key);
        if (found == object.main.end()) return failed(0);
        auto [control, bytes] = found->second;
        if (control == 0) return failed(GL_EILSEQ);
        if (control & RECORD_SUBSTITUTED) o.subst = 1;
        if (o.outleft < (reversed ? 2 : int(bytes.size()))) return failed(GL_E2BIG);
        if (reversed) std::reverse(bytes.begin(), bytes.end());
        o.outleft -= int(bytes.size());
        o.consumed += int(key.size());
        if (mode != Mode::measured) o.output += bytes;
        if (mode == Mode::to_terminator && (control & RECORD_TERMINATOR)) break;
    }
    return o;
}

string random_text(std::mt19937 &random, const ConversionObject &object, size_t size) {
    const bool reversed = is_unicode_unit(object.lengths.source_min, object.lengths.source_max);
    const auto repertoire = std::vector<string>([&] {
        std::vector<string> keys;
        for (const auto &[key, mapped] : object.main) keys.push_back(reversed ? string(key.rbegin(), key.rend()) : key);
        return keys;
    }());
    string text;
    while (text.size() < size) {
        const string &key = repertoire[random() % repertoire.size()];
        switch (random() % 40) {
        case 0: text += key.substr(0, 1); break;
        case 1: text += char(random()); break;
        case 2: text += repertoire[0]; break;
        case 3: text += reversed ? key : string(random() % 40, 'a'); break;
        default: text += key;
        }
    }
    text.resize(size);
    return text;
}

TEST(Engine, LaneAndStepConvertAsTheMappingSays) {
    std::mt19937 random(7);
    int lanes = 0;
    for (const auto &[name, object] : STATELESS) {
        const Descriptor cd = load(object.text());
        lanes += cd->lane != nullptr ? 1 : 0;
        const size_t unit =
            is_unicode_unit(object.lengths.source_min, object.lengths.source_max) ? size_t(object.lengths.source_min) : 1;
        const int slack = object.lengths.target_min == 4 ? 2 : 0;
        for (size_t size = 0; size <= 40; ++size) {
            for (int variant = 0; variant < 4; ++variant) {
                const string text = random_text(random, object, size);
                const string terminated = text.substr(0, size / unit * unit) + string(unit, '\0');
                const int whole = 400 - model(object, terminated, 400, Mode::counted).outleft;
                for (int room = 0; room <= whole + 20; room += room < whole + 2 ? 1 : 6) {
                    for (const Mode mode : {Mode::counted, Mode::to_terminator, Mode::measured}) {
                        const string &input = mode == Mode::to_terminator ? terminated : text;
                        const Outcome expected = model(object, input, room, mode);
                        ASSERT_EQ(convert(cd.get(), input, room, mode, nullptr, slack), expected)
                            << name << " " << hexadecimal(input);
                        void *const lane = std::exchange(cd->lane, nullptr);
                        ASSERT_EQ(convert(cd.get(), input, room, mode, nullptr, slack), expected)
                            << name << ", no lane " << hexadecimal(input);
                        cd->lane = lane;
                    }
                }
            }
        }
    }
    EXPECT_EQ(lanes, 6);
}

TEST(StatefulEngine, ShiftStatesFollowTheText) {
    struct Case {
        const ConversionObject &object;
        gl_cv_state before;
        string text;
        int room;
        Outcome outcome;
        int source_shift, target_shift; // afterwards
    };
    constexpr gl_cv_state GO_ON = {}, LAST = {0, 1, 0, 0}, SHIFTED_ON = {0, 0, 0, 1}, SHIFTED_LAST = {0, 1, 0, 1},
                          SOURCE_ON = {0, 0, 1, 0};
    const string ka = "\x81\x40", ki = "\x81\x41";
    for (const auto &[object, before, text, room, outcome, source_shift, target_shift] :
         {Case{TO_SHIFTED, GO_ON, "a" + ka + ki, 6, {0, 0, 5, 0, 1, "a\x0EKAKI"}, 0, 1},
          Case{TO_SHIFTED, GO_ON, "a" + ka + ki, 5, {-1, 14, 3, 1, 1, "a\x0EKA"}, 0, 1},
          Case{TO_SHIFTED, GO_ON, ka, 2, {-1, 14, 0, 2, 0, ""}, 0, 0},
          Case{TO_SHIFTED, SHIFTED_ON, "a", 3, {0, 0, 1, 0, 0, "\x1B(a"}, 0, 0},
          Case{TO_SHIFTED, SHIFTED_ON, "a", 2, {-1, 14, 0, 2, 0, ""}, 0, 1},
          Case{TO_SHIFTED, SHIFTED_ON, ka, 2, {0, 0, 2, 0, 0, "KA"}, 0, 1},
          Case{TO_SHIFTED, LAST, ka + ka, 7, {0, 0, 4, 0, 0, "\x0EKAKA\x1B("}, 0, 1},
          Case{TO_SHIFTED, LAST, ka + ka, 6, {-1, 14, 2, 3, 0, "\x0EKA"}, 0, 1},
          Case{TO_SHIFTED, SHIFTED_LAST, "a", 9, {0, 0, 1, 6, 0, "\x1B(a"}, 0, 0},
          Case{TO_SHIFTED, SHIFTED_LAST, "", 9, {0, 0, 0, 9, 0, ""}, 0, 1},
          Case{TO_SHIFTED, {1, 0, 0, 1}, ka, 9, {0, 0, 2, 6, 0, "\x0EKA"}, 0, 1},
          Case{TO_SHIFTED, SHIFTED_ON, "\x81\x42", 9, {-1, 1, 0, 9, 0, ""}, 0, 1},
          Case{TO_SHIFTED, SHIFTED_ON, "\x81", 9, {-1, 0, 0, 9, 0, ""}, 0, 1},
          Case{FROM_SHIFTED,
               GO_ON,
               "a\x0EKA\x0F\x0F"
               "a\x0E\x0E",
               4,
               {0, 0, 9, 0, 0,
                "a\x81\x40"
                "a"},
               1,
               0},
          Case{FROM_SHIFTED, SOURCE_ON, "KAKA", 3, {-1, 14, 2, 1, 0, "\x81\x40"}, 1, 0},
          Case{FROM_SHIFTED, SOURCE_ON, "KI", 9, {-1, 1, 0, 9, 0, ""}, 1, 0},
          Case{FROM_SHIFTED, SOURCE_ON, "a", 9, {-1, 0, 0, 9, 0, ""}, 1, 0},
          Case{BOTH_SHIFTED, GO_ON, "\x0EK", 0, {-1, 14, 0, 0, 0, ""}, 0, 0}, // nor does the source shift
          Case{BOTH_SHIFTED, GO_ON, "\x0EK", 2, {-1, 14, 1, 1, 0, "\x0E"}, 1, 1},
          Case{BOTH_SHIFTED, LAST, "\x0EKx\x0F", 9, {0, 0, 4, 3, 0, "\x0EKA\x1B(x"}, 0, 0}}) {
        SCOPED_TRACE(testing::PrintToString(text));
        const Descriptor cd = load(object.text());
        gl_cv_state state = before;
        EXPECT_EQ(convert(cd.get(), text, room, Mode::counted, &state), outcome);
        EXPECT_EQ(state.source_shift, source_shift);
        EXPECT_EQ(state.target_shift, target_shift);
        EXPECT_EQ(state.reset * 2 + state.flush, before.reset * 2 + before.flush);
        state = before;
        Outcome measured = outcome;
        measured.output.clear();
        EXPECT_EQ(convert(cd.get(), text, room, Mode::measured, &state), measured);
    }
    const Descriptor cd = load(TO_SHIFTED.text());
    EXPECT_EQ(convert(cd.get(), ka + "a" + ka, 99).output, "\x0EKA\x1B(a\x0EKA\x1B("); // no state: initial at both ends
    EXPECT_EQ(convert(cd.get(), ka + "\0a"s, 99, Mode::to_terminator).output, "\x0EKA\x1B(\0"s);
    EXPECT_EQ(convert(cd.get(),
                      "a\x81\x43"
                      "a",
                      99, Mode::to_terminator)
                  .output,
              "a\x0ENU\x1B(");
}

TEST(StatefulEngine, GoesOnAfterEveryLackOfRoom) {
    std::mt19937 random(9);
    for (const ConversionObject *object : {&TO_SHIFTED, &BOTH_SHIFTED}) {
        const Descriptor cd = load(object->text());
        for (int round = 0; round < 200; ++round) {
            string text;
            for (int n = random() % 20; n > 0; --n)
                text += object == &TO_SHIFTED ? (random() % 2 ? "a" : "\x81\x40") : (random() % 2 ? "a\x0E\x0F" : "\x0EKxK\x0F");
            const string expected = convert(cd.get(), text, 999).output;
            string output;
            gl_cv_state state = {0, 1, 0, 0};
            for (int room = 0; room < 99;) {
                const Outcome part = convert(cd.get(), text, room, Mode::counted, &state);
                output += part.output;
                text.erase(0, size_t(part.consumed));
                if (part.result == 0) break;
                ASSERT_EQ(part.error, GL_E2BIG);
                room = part.consumed > 0 ? static_cast<int>(random() % 6) : room + 1;
            }
            ASSERT_EQ(output, expected);
        }
    }
}

} // namespace
