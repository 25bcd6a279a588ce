// The forms of Unicode: against the platform's iconv, character by character and in blocks; and whatever the cuts and the room.
#include "support/conversion.h"
#include "support/files.h"

#include "unicode/transcode.h"

#include <qbgl.h>

#include <gtest/gtest.h>
#include <iconv.h>

#include <algorithm>
#include <memory>
#include <random>
#include <vector>

namespace {

using namespace qbgl;
using namespace qbgl_test;
using std::string;

struct FormCase {
    const char *number, *iconv;
    UnicodeForm form;
    int unit;
};
constexpr FormCase FORMS[] = {{"57372", "UTF-8", UnicodeForm::UTF8, 1},      {"57404", "UTF-16LE", UnicodeForm::UTF16LE, 2},
                              {"1200", "UTF-16BE", UnicodeForm::UTF16BE, 2}, {"57392", "UTF-32LE", UnicodeForm::UTF32LE, 4},
                              {"1232", "UTF-32BE", UnicodeForm::UTF32BE, 4}, {"57349", "UCS-2LE", UnicodeForm::UCS2LE, 2}};

// What the platform makes of a text, up to what it does not read.
struct Platform {
    string output;
    size_t consumed;
};
Platform by_platform(const FormCase &source, const FormCase &target, string text) {
    const iconv_t cd = iconv_open(target.iconv, source.iconv);
    string output(text.size() * 4 + 16, '\0');
    char *in = text.data(), *out = output.data();
    size_t inleft = text.size(), outleft = output.size();
    iconv(cd, &in, &inleft, &out, &outleft);
    iconv_close(cd);
    output.resize(output.size() - outleft);
    return {output, text.size() - inleft};
}

class UnicodeForms : public testing::Test {
  protected:
    UnicodeForms() { write_file(tree_.path() / "vrn/cm3/registry", "any 1\n"); }

    static Descriptor open(const FormCase &source, const FormCase &target) {
        gl_cv *cd = nullptr;
        EXPECT_EQ(gl_cv_load(&cd, target.number, source.number, nullptr, nullptr), 1) << source.iconv << target.iconv;
        return {cd, gl_cv_unload};
    }

    template <class Check> static void for_each_pair(Check check) {
        for (const FormCase &source : FORMS)
            for (const FormCase &target : FORMS) {
                if (source.form == target.form) continue;
                SCOPED_TRACE(string(source.iconv) + " to " + target.iconv);
                check(source, target, *open(source, target));
                if (HasFailure()) return;
            }
    }

    // Texts of every scalar value: in a row, and in an order in which no two neighbours are of one kind.
    static string every_scalar(const FormCase &form, bool mixed) {
        const uint32_t limit = form.form == UnicodeForm::UCS2LE ? 0x10000 : 0x110000;
        string utf32;
        for (uint32_t i = 0; i < limit; ++i) {
            const uint32_t code = mixed ? static_cast<uint32_t>(i * 389251ULL % limit) : i;
            if (!is_surrogate(code))
                for (int shift = 0; shift < 32; shift += 8) utf32 += static_cast<char>(code >> shift);
        }
        return form.form == UnicodeForm::UTF32LE ? utf32 : by_platform(FORMS[3], form, utf32).output;
    }

  private:
    const TempDir tree_;
    const ScopedEnv base_{"QUORBANEDIR", tree_.path().string()}, path_{"GL_PATH", nullptr};
};

// The same by single characters, each in a call with no more than its bytes.
Outcome by_characters(gl_cv &cd, const string &text, int room, bool to_terminator, int unit) {
    Outcome all{0, 0, 0, room, 0, ""};
    while (all.consumed < text.size()) {
        Outcome one{};
        for (size_t length = 1; length <= 4; ++length) {
            if (all.consumed + length > text.size()) break;
            one = convert(cd, text.substr(all.consumed, length), all.room);
            if (one.result == 0 || one.error != 0) break;
            one.result = -1;
        }
        if (one.result != 0 || one.consumed == 0) {
            all.result = -1;
            all.error = one.error;
            return all;
        }
        const string character = text.substr(all.consumed, one.consumed);
        all.output += one.output;
        all.room = one.room;
        all.consumed += one.consumed;
        if (to_terminator && character == string(static_cast<size_t>(unit), '\0')) break;
    }
    return all;
}

TEST_F(UnicodeForms, HaveEveryScalarValue) {
    for_each_pair([](const FormCase &source, const FormCase &target, gl_cv &cd) {
        const FormCase &smaller = target.form == UnicodeForm::UCS2LE ? target : source;
        for (const bool mixed : {false, true}) {
            const string text =
                &smaller == &source ? every_scalar(source, mixed) : by_platform(target, source, every_scalar(target, mixed)).output;
            const string expected = by_platform(source, target, text).output;
            const auto room = static_cast<int>(expected.size());
            const Outcome written = convert(cd, text, room);
            ASSERT_EQ(written, (Outcome{0, 0, text.size(), 0, 0, written.output}));
            ASSERT_TRUE(written.output == expected);
            ASSERT_EQ(convert(cd, text, room, nullptr, true, Way::MEASURE), (Outcome{0, 0, text.size(), 0, 0, ""}));
            ASSERT_GE(gl_iconv_expansion(&cd) * static_cast<double>(text.size()), static_cast<double>(room));
        }
    });
}

// A text of runs of all kinds, with a few bytes damaged.
string random_text(std::mt19937 &random, const FormCase &source) {
    constexpr uint32_t KINDS[][2] = {{0x20, 0x7E},       {0xA0, 0x7FF},       {0x800, 0xFFF},
                                     {0x1000, 0xCFFF},   {0xD000, 0xD7FF},    {0xE000, 0xFFFF},
                                     {0x10000, 0x3FFFF}, {0x40000, 0x10FFFF}, {0, 0}};
    string text;
    for (unsigned runs = random() % 8; runs > 0; --runs) {
        const auto &kind = KINDS[random() % std::size(KINDS)];
        for (unsigned length = random() % 40; length > 0; --length) {
            uint8_t bytes[LONGEST_FORM];
            const uint32_t code = kind[0] + random() % (kind[1] - kind[0] + 1);
            text.append(bytes, bytes + encode(source.form, code, bytes));
        }
    }
    for (unsigned damages = text.empty() ? 0 : random() % 3; damages > 0; --damages)
        text[random() % text.size()] = static_cast<char>(random());
    return text.substr(0, text.size() - (text.empty() ? 0 : random() % std::min<size_t>(text.size(), 5)));
}

// What the platform does not read is no character, and what is cut is none either.
TEST_F(UnicodeForms, StopWhereThePlatformAndSingleCharactersDo) {
    std::mt19937 random(7);
    for_each_pair([&random](const FormCase &source, const FormCase &target, gl_cv &cd) {
        for (int round = 0; round < 1000; ++round) {
            string text = random_text(random, source);
            const bool to_terminator = round % 3 == 0;
            if (to_terminator) text += string(8, '\0');
            const auto room = static_cast<int>(random() % (text.size() * 4 + 2));
            Outcome expected = by_characters(cd, text, room, to_terminator, source.unit);
            ASSERT_EQ(convert(cd, text, room, nullptr, !to_terminator), expected) << "round " << round;
            const Outcome whole = convert(cd, text, static_cast<int>(text.size()) * 4);
            const Platform platform = by_platform(source, target, text);
            if (target.form != UnicodeForm::UCS2LE) { // for which the platform leaves tags out
                ASSERT_EQ(std::pair(whole.consumed, whole.output), std::pair(platform.consumed, platform.output))
                    << "round " << round;
            }
            expected.output.clear();
            ASSERT_EQ(convert(cd, text, room, nullptr, !to_terminator, Way::MEASURE), expected) << "round " << round;
        }
        EXPECT_EQ(convert(cd, "", 0), (Outcome{0, 0, 0, 0, 0, ""})) << target.iconv;
    });
}

} // namespace
