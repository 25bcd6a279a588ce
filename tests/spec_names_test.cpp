// Locale specifications and file names, over the built-in registry.
#include "spec/text.h"
#include "support/faults.h"
#include "support/files.h"

#include <functional>
#include <gtest/gtest.h>
#include <sstream>
#include <vector>

namespace {

using namespace qbgl_test;
using std::string;

constexpr int UNTOUCHED = 99;

// The tables write "*V" for the long form whose values are V, "*V~W" when that of GL_TIME is W, and "*V$TAIL" with a tail behind
// it.
string written_out(const string &text) {
    if (text.empty() || text[0] != '*') return text;
    const size_t tail = std::min(text.find('$'), text.size()), time = std::min(text.find('~'), tail);
    string result;
    for (const string keyword : {"GL_CTYPE", "GL_COLLATE", "GL_NUMERIC", "GL_MONETARY", "GL_TIME", "GL_MESSAGES"}) {
        const bool other = keyword == "GL_TIME" && time < tail;
        result += keyword + " = " + (other ? text.substr(time + 1, tail - time - 1) : text.substr(1, time - 1)) + " ; ";
    }
    return result.substr(0, result.size() - 3) + text.substr(std::min(tail + 1, text.size()));
}

// What a function makes of a text: its output, or the error number behind "failed ", which for a silent failure is UNTOUCHED.
struct Case {
    string input, expected;
};
const string INVALID = "failed 7", SILENT = "failed 99";

class Names : public testing::Test {
  protected:
    Names() { gl_cache_registry(nullptr, "/nowhere"); }
    ~Names() override { gl_free_registry_cache(); }

    using Call = std::function<int(void *ctx, const char *text, char *out)>;
    static Call with(int (*function)(void *, const char *, char *, const char *), const string &path) {
        return [=](void *ctx, const char *text, char *out) { return function(ctx, text, out, path.c_str()); };
    }

    // The output is a heap block of the documented size, for the address sanitizer.
    static string run(size_t room, const string &input, const Call &call) {
        int32_t error = UNTOUCHED;
        std::vector<char> out(room, '?'), unseen(room, '?');
        const int result = call(&error, input.c_str(), out.data());
        EXPECT_EQ(call(nullptr, input.c_str(), unseen.data()), result);
        return result == 0 ? string(out.data(), strnlen(out.data(), room)) : "failed " + std::to_string(error);
    }

    // The texts of `invalid`, separated by "|", fail with GL_EINVAL.
    static void check(size_t room, const std::vector<Case> &cases, const string &invalid, const Call &call) {
        for (const Case &c : cases) EXPECT_EQ(run(room, written_out(c.input), call), written_out(c.expected)) << c.input;
        std::istringstream texts(invalid);
        for (string text; std::getline(texts, text, '|');) EXPECT_EQ(run(room, written_out(text), call), INVALID) << text;

        // In place, and without a text, an output, or an end within the limit.
        string input = written_out(cases[0].input), buffer = input + string(room, '\0');
        EXPECT_EQ(call(nullptr, buffer.data(), buffer.data()), 0);
        EXPECT_EQ(buffer.c_str(), written_out(cases[0].expected));
        for (const char *const text : {input.c_str(), static_cast<const char *>(nullptr)}) {
            int32_t error = UNTOUCHED;
            EXPECT_EQ(call(&error, text, text == nullptr ? buffer.data() : nullptr), -1);
            EXPECT_EQ(error, GL_EINVAL);
        }
        input += " ; ";
        input.resize(285, 'x');
        EXPECT_EQ(run(room, input, call), INVALID);
    }
};

TEST_F(Names, SpecificationToFileName) {
    const auto in = [](const string &path) {
        return [=](void *ctx, const char *text, char *out) { return gl_lc_spec2lc_fname(ctx, text, out, nullptr, path.c_str()); };
    };
    const std::vector<Case> cases = {{"ja_JP.SJIS", "ja_jp/e006.lco"},
                                     {"DE_de.8859-1@EuR1", "de_de/0333EuR1.lco"},
                                     {"de_de.8859-1@", "de_de/0333.lco"},
                                     {"xx_XX.000000000000000000819@abcd", "xx_xx/0333abcd.lco"}};
    check(208, cases,
          "|xx_xx.0000000000000000000819|de_de.8859-1@euros|de_de.8859-1@eu-o|de_de.8859-1@euro@|en_us|en_us.|en_us.@euro|"
          "en_us.nosuch|en_us.#819|en_us. 819|en_us.57344|ja_jp.sjis |ja_jp.sjis;| ja_jp.sjis|jap_jp.sjis|j\xE4_jp.sjis|ja-jp.sjis|"
          "j",
          in("ignored"));
    for (const string &directory : {string(), string(2000, 'd')}) {
        const string mark = directory.empty() ? "" : directory + "\xFF";
        const std::vector<Case> long_cases = {{"GL_CTYPE = ja_JP.sjis ; GL_TIME = en_us.57350@x",
                                               "GL_CTYPE = " + mark + "ja_jp/e006.lco ; GL_TIME = " + mark + "en_us/e006x.lco"},
                                              {"*de_de.utf8@euro$ ; ", "*" + mark + "de_de/e01ceuro.lco$ ; "}};
        check(208 + 6 * directory.size(), long_cases,
              "*ja_jp.sjis~ja_jp.utf8|*ja_jp.sjis$ ; GL_TIME = ja_jp.sjis|GL_CTYPE= ja_jp.sjis|GL_CTYPE =  ja_jp.sjis|"
              "GL_CTYPE = ja_jp.sjis; GL_TIME = ja_jp.sjis|GL_CTYPE = ja_jp.sjis ; ja_jp.sjis|*ja_jp.sjis |GL_CTYPE = ja_jp",
              in(directory));
    }
}

TEST_F(Names, MessageDirectory) {
    const auto in = [](const char *directory) {
        return [=](void *ctx, const char *text, char *out) { return gl_lc_spec2msg_dname(ctx, text, out, nullptr, directory); };
    };
    const std::vector<Case> cases = {{"GL_MESSAGES = de_de.819@euro ; GL_TIME = ja_jp.819", "de_de/0333"},
                                     {"*ja_jp.sjis~de_de.sjis", "ja_jp/e006"}};
    check(11, cases, "GL_TIME = ja_jp.sjis|ja_jp", in(nullptr));
    // The text behind the keyword begins with the directory.
    EXPECT_EQ(run(11, "ja_jp.sjis", in("/opt/lc")), "ja_jp/e006");
    EXPECT_EQ(run(11, written_out("*ja_jp.sjis"), in("/opt/lc")), "/opt/lc\xFFja");
    EXPECT_EQ(run(11, written_out("*ja_jp.sjis"), in("/opt/locale/files")), "/opt/local");
}

TEST_F(Names, CodesetOfASpecification) {
    const auto call = [](void *ctx, const char *text, char *out) {
        const uint16_t number = gl_lc_spec2cs_num(ctx, out != nullptr ? text : nullptr, nullptr);
        if (number == GL_NO_CODESET) return -1;
        strcpy(out, std::to_string(number).c_str());
        return 0;
    };
    const std::vector<Case> cases = {{"ja_jp.819@abcd", "819"},
                                     {"sjis", "57350"},
                                     {string(284, '0'), "0"}, // a name of which 21 characters count
                                     {"GL_TIME = en_us.819 ; GL_CTYPE = de_de.8859-1 ; ", "819"}};
    check(6, cases,
          "|ja_jp.sjis |ja_jp|GL_CTYPE = ja_jp.sjis ; GL_TIME = en_us.utf8|GL_CTYPE = sjis|GL_CTYPE = ja_jp.sjis ;|" +
              string(285, '0'),
          call);
}

TEST_F(Names, NormalForm) {
    const Call normalise_short = with(_gl_lc_short_spec2lc_short_norm, ""), normalise = with(gl_lc_spec2lc_norm, "");
    const std::vector<Case> cases = {{"JA_jp.SJIS", "ja_JP.57350"},
                                     {"xx_xx.65535@1234", "xx_XX.65535@1234"},
                                     {"de_DE.819@", "de_DE.819"},
                                     {"*ja_jp.sjis", SILENT}};
    check(17, cases, "de_DE|*ja_jp.nosuch", normalise_short);
    check(200, cases, "de_DE|de_DE.nosuch", normalise);

    string longest, longest_norm; // the longest keyword, repeated
    for (int i = 0; i < 6; ++i) {
        longest += "GL_MONETARY = xx_xx.65535@abcd ; ";
        longest_norm += "GL_MONETARY = xx_XX.65535@abcd ; ";
    }
    const std::vector<Case> long_cases = {{longest, longest_norm},
                                          {"*JA_jp.57350@x$ ; anything", "*ja_JP.57350@x$ ; "},
                                          {"*ja_jp.sjis$ ;", SILENT},
                                          {"GL_CTYPE = ja_jp.sjis", SILENT}};
    check(200, long_cases, "GL_CTYPE = ja_jp.sjis ; |*ja_jp.sjis~ja_jp.utf8$ ; |GL_CTYPE = ja_jp ; |GL_CTYPE ja_jp.sjis ; ",
          normalise);
}

TEST_F(Names, ShortToLong) {
    const Call call = with(gl_lc_short2lc_long, "/nowhere");
    const std::vector<Case> cases = {{"de_DE.8859-1@EURO ; GL_X", "*de_de.8859-1@euro"},
                                     {"en_US\twhatever", "*en_us"},
                                     {"en_us " + string(278, 'x'), "*en_us"},
                                     {"de_DE.819@", "*de_de.819@"},
                                     {"xx_xx.0000000000000000819@abcde", "*xx_xx.0000000000000000819@abcde"},
                                     {"de_DE.57344", SILENT}}; // a number, but of no codeset
    check(277, cases,
          "|xx_xx.0000000000000000819@abcdef|xx_xx.00000000000000000819|de_DE.819@euro; |de_DE.819@euro |de_DE.819@eu-o|de_DE;|"
          "de_DE@euro|de_DE.|de_DE.;|de_DE.#819|de_DE.819;|de_DE.819 |de_DE.819 ; |de_DE.819\x80|de_DE.nosuch|de_D|en_us " +
              string(279, 'x'),
          call);
    gl_free_registry_cache();
    EXPECT_EQ(run(277, "ja_jp.sjis", call), "failed 15");
    EXPECT_EQ(run(277, "ja_jp.#", call), INVALID); // not looked up
    EXPECT_EQ(run(277, "ja_jp", call), written_out("*ja_jp"));
}

TEST_F(Names, LongToShort) {
    const std::vector<Case> cases = {{"*ja_jp.sjis~JA_JP.Sjis", "ja_jp.sjis"},
                                     {"x " + written_out("*EN_us$ ; y"), "en_us"},
                                     {"*de_DE.819@", "de_de.819@"},
                                     {"*xx_xx.000000000000000000819@ABC", "xx_xx.000000000000000000819@abc"},
                                     {"*ja_jp~j1_jp", SILENT},
                                     {"*de_D1.819", SILENT}};
    check(32, cases,
          "|*xx_xx.000000000000000000819@abcd|*de_DE.0000000000000000000819|*de_DE.nosuch|*de_DE.|*de_DE.#819|*de_DE.;819|*de_DE;|"
          "*de_DE.819;|*de_DE.819@eu-o|*de-DE.819|*ja_jp~ja-jp|*ja_jp~ja_jq|*ja_jp~ja_jp.sjis|*ja_jp.sjis~ja_jp|"
          "*ja_jp.sjis~ja_jp.57350|*ja_jp.sjis~ja_jp.sji|*ja_jp.sjis~ja_jp.sjis@x|*ja_jp.sjis@x~ja_jp.sjis@xy|GL_TIME = ja_jp|"
          "GL_TIME=ja_jp " +
              written_out("*ja_jp"),
          with(gl_lc_spec2lc_short, ""));
}

TEST_F(Names, CategoryOfALongForm) {
    const auto select = [](int selector) {
        return [=](void *ctx, const char *text, char *out) { return gl_lc_spec2category(ctx, text, selector, out, nullptr); };
    };
    const string text = "GL_CTYPE = aa_AA.sjis ; GL_TIME = bb_BB.57350@x ; GL_COLLATE = cc_CC.SJIS ; "
                        "GL_MONETARY = dd_DD.shift-jis ; GL_MESSAGES = ee_EE.sjis ; GL_NUMERIC = ff_FF.sjis";
    const string untouched(32, '?'), expected[] = {untouched,         untouched,       "aa_AA.sjis", "cc_CC.SJIS", "ff_FF.sjis",
                                                   "dd_DD.shift-jis", "bb_BB.57350@x", "ee_EE.sjis", untouched};
    for (int selector = 0; selector <= 8; ++selector) EXPECT_EQ(run(32, text, select(selector)), expected[selector]);
    EXPECT_EQ(run(32, text + "-unknown", select(1)), untouched);
    EXPECT_EQ(run(32, text + " ;", select(-1)), INVALID);
    const std::vector<Case> cases = {{"*ja_jp.sjis~en_us", "en_us"}, // without a codeset nothing is looked up
                                     {"*ja_jp.nosuch~en_us@euro", "en_us@euro"},
                                     {"*xx_xx.000000000000000000819@abc$ ; ", "xx_xx.000000000000000000819@abc"}};
    check(32, cases,
          "*xx_xx.000000000000000000819@abcd|*de_DE.0000000000000000000819|*en_us~ja_jp.sjis|*ja_jp.sjis~ja_jp.utf8|*ja_jp.nosuch|"
          "*ja_jp.|*ja_jp.sjis |*ja_j.sjis|*ja_jp.sjis@a-b|GL_CTYPE = ja_jp.sjis|ja_jp.sjis| " +
              written_out("*ja_jp.sjis"),
          select(GL_CAT_TIME));
}

TEST_F(Names, SyntaxOfALongForm) {
    // The "output" of a valid text is empty.
    const auto call = [](void *ctx, const char *text, char *out) {
        const int result = gl_is_lc_spec(ctx, out != nullptr ? text : nullptr);
        if (result == 0) *out = '\0';
        return result;
    };
    const string start = "GL_CTYPE = en_us.";
    const std::vector<Case> cases = {{"*ja_jp.sjis~en_us.nosuch@modifier$ ; ", ""},
                                     {"GL_CTYPE = en_us", ""},
                                     {start + string(284 - start.size(), 'x'), ""},
                                     {"GL_CTYPE = ", SILENT},
                                     {"GL_CTYPE = en_u1", SILENT}};
    check(1, cases,
          "|ja_jp.sjis|GL_CTYPE = en_us ; GL_CTYPE = en_us|GL_CTYPE=en_us|*en-us|*en_us;|*en_us@euro|*en_us.a;b|*en_us.a |"
          "*en_us.a@b;|*en_us$ ; x|" +
              start + string(285 - start.size(), 'x'),
          call);
}

TEST_F(Names, FileNameToPiecesAndPiecesToShortForm) {
    // The pieces, with "|" between them.
    const auto split = [](void *ctx, const char *text, char *out) {
        std::vector<char> place(6), codeset(6), modifier(5);
        const int result = gl_lc_fname2lc_pieces(ctx, text, place.data(), codeset.data(), out != nullptr ? modifier.data() : out);
        if (result == 0) strcpy(out, (string(place.data()) + "|" + codeset.data() + "|" + modifier.data()).c_str());
        return result;
    };
    const std::vector<Case> cases = {{"JA_jp/e006.lco", "ja_JP|57350|"},
                                     {"de_de\\FFFFeuros.lco", "de_DE|65535|euro"},
                                     {"de_de/3", "de_DE|3|"},
                                     {"de_de/3g.lco", "de_DE|3|g"},
                                     {"de_de.0333", SILENT}};
    check(18, cases, "de_de/|de_de/x|de-de/0333.lco|d", split);

    using Pieces = std::tuple<const char *, const char *, const char *, string>;
    for (const auto &[place, codeset, modifier, expected] :
         {Pieces{"JA_jp", "e006", nullptr, "JA_jp.e006"}, Pieces{"de_DE", "123456", "euros", "de_DE.12345@euro"},
          Pieces{"de_DE", "", "", INVALID}, Pieces{"de_DE", "12345x", "", INVALID}, Pieces{"de-DE", "819", "", INVALID},
          Pieces{"de_DEx", "819", "", INVALID}, Pieces{nullptr, "819", "", INVALID}, Pieces{"de_DE", nullptr, "", INVALID}}) {
        const auto join = [&, place = place, codeset = codeset, modifier = modifier](void *ctx, const char *, char *out) {
            return gl_lc_pieces2lc_spec(ctx, place, codeset, modifier, out);
        };
        EXPECT_EQ(run(17, "", join), expected);
    }
}

TEST_F(Names, LongFileNameToLongForm) {
    const TempDir directory;
    const ScopedEnv base("QUORBANEDIR", directory.path().string()), no_path("GL_PATH", nullptr);
    const string files = directory / "vrn/lc11";
    for (const char *const name : {"ja_jp/e006.lco", "de_de/0333euro.lco", "de_de/0333eur.lco", "de_de/333.xyz", "de_de/0333.l"})
        write_file(std::filesystem::path(files) / name, "");
    const std::vector<Case> cases = {{"*JA_jp/E006.LCO~de_de/0333EURO.lco", "*ja_jp.57350~de_de.819@EURO"},
                                     {"*de_de/333.xyz", "*de_de.819"},
                                     {"*ja_jp/e006.lco~ja_jp/e007.lco", "failed 15"}};
    for (const string &where : {string(), files})
        check(187, cases,
              "*de_de/0333eur.lco|*de_de/0333.l|*ja_jp\\e006.lco|*/x\xFFja_jp/e006.lco|*ja_jp/e006.lco$ ; |*ja_jp/e006.lco$;|"
              "*ja_jp/e006.lco$ ; GL_TIME = ja_jp/e006.lco|GL_TIME = ja_jp/e006.lco|x" +
                  written_out("*ja_jp/e006.lco"),
              with(gl_lc_fname2lc_spec, where));
    const string input = written_out(cases[0].input), output = written_out(cases[0].expected);
    EXPECT_EQ(run(187, input.substr(0, input.rfind(' ') + 1) + "de_de/0333.l", with(gl_lc_fname2lc_spec, files)),
              INVALID); // ends inside the suffix
    // A path of 1023 characters is opened, a longer one is not.
    const string padded = files + string(1023 - files.size() - strlen("/de_de/0333EURO.lco"), '/');
    EXPECT_EQ(run(187, input, with(gl_lc_fname2lc_spec, padded)), output);
    EXPECT_EQ(run(187, input, with(gl_lc_fname2lc_spec, padded + "/")), "failed 15");
}

} // namespace
