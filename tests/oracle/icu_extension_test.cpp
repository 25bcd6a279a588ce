// Locales and conversions that the extension library serves, against ICU called directly.
#include "support/conversion.h"
#include "support/files.h"

#include "qbgl.h"
#include "qbgl_extension.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>
#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/ucnv.h>
#include <unicode/ulocdata.h>
#include <unicode/uniset.h>
#include <unicode/unistr.h>

using namespace std::string_literals;

namespace {

using namespace qbgl_test;

using Locale = std::unique_ptr<gl_locale, void (*)(gl_locale *)>;

constexpr int TEXTS = 2500, ORDERED_PAIRS = 5000; // of each locale

icu::UnicodeString read_utf8(const std::string &text) { return icu::UnicodeString::fromUTF8(text); }
std::string utf8(const icu::UnicodeString &text) {
    std::string bytes;
    return text.toUTF8String(bytes);
}

int sign(int value) { return (value > 0) - (value < 0); }

// Of every kind of name: objects of ours, the modifier, a codeset of another kind, and names that only ICU has.
constexpr const char *LOCALES[] = {"cs_CZ.utf8",     "de_DE.utf8",          "da_DK.utf8",      "sv_SE.utf8",     "es_ES.utf8",
                                   "fr_CA.utf8",     "fr_FR.utf8",          "pl_PL.utf8",      "sk_SK.utf8",     "hu_HU.utf8",
                                   "tr_TR.utf8",     "lt_LT.utf8",          "lv_LV.utf8",      "et_EE.utf8",     "el_GR.utf8",
                                   "ru_RU.utf8",     "uk_UA.utf8",          "bg_BG.utf8",      "he_IL.utf8",     "ar_EG.utf8",
                                   "th_TH.utf8",     "hi_IN.utf8",          "ja_JP.utf8",      "ko_KR.utf8",     "zh_CN.utf8",
                                   "zh_TW.utf8",     "vi_VN.utf8@icu",      "is_IS.utf8@icu",  "nl_NL.utf8@icu", "ro_RO.utf8@icu",
                                   "hr_HR.utf8@icu", "fi_FI.utf8@icu",      "az_AZ.utf8@icu",  "cy_GB.utf8@icu", "ka_GE.utf8@icu",
                                   "my_MM.utf8@icu", "sr_Latn_RS.utf8@icu", "haw_US.utf8@icu", "km.utf8@icu",    "chr_US.utf8@icu"};

// Words of a language's letters, marks and digits, some of them a changed copy of the one before, and some of any characters.
class Texts {
  public:
    Texts(const icu::Locale &language, uint32_t seed) : random_(seed) {
        UErrorCode status = U_ZERO_ERROR;
        ULocaleData *const data = ulocdata_open(language.getName(), &status);
        icu::UnicodeSet set;
        ulocdata_getExemplarSet(data, set.toUSet(), USET_ADD_CASE_MAPPINGS, ULOCDATA_ES_STANDARD, &status);
        ulocdata_close(data);
        EXPECT_TRUE(U_SUCCESS(status)) << language.getName();
        for (int i = 0; i < set.size(); ++i)
            if (set.charAt(i) >= 0) letters_ += static_cast<char32_t>(set.charAt(i));
        letters_ += U"aAbzZchCHstß09-., 'éŁǅﬁ\u0301\u0307\u0323\u00AD\u200D\u3042漢가\U0001D54F";
    }

    icu::UnicodeString next() {
        if (!last_.empty() && below(3) == 0)
            last_[below(last_.size())] = one();
        else
            last_.assign(1 + below(below(10) == 0 ? 80 : 12), U'\0');
        icu::UnicodeString text;
        for (char32_t &code : last_) {
            if (code == 0) code = one();
            text.append(static_cast<UChar32>(code));
        }
        return text;
    }

  private:
    size_t below(size_t limit) { return random_() % limit; }
    char32_t one() {
        if (below(20) != 0) return letters_[below(letters_.size())];
        char32_t any;
        do {
            any = 1 + static_cast<char32_t>(below(0x1FFFF));
        } while (U_IS_SURROGATE(any));
        return any;
    }

    std::mt19937 random_;
    std::u32string letters_, last_;
};

// From then on the extension decides most comparisons without ICU.
void compare_often(gl_locale *locale) {
    for (int i = 0; i < 70000; ++i) EXPECT_EQ(gl_mbscoll(locale, "0", "1"), -1);
}

class Extension : public testing::Test {
  protected:
    void SetUp() override { gl_useglu(1); }
    void TearDown() override { EXPECT_EQ(gl_unload_glu(), 0); }

    static Locale load(const std::string &specification) {
        gl_locale *locale = nullptr;
        EXPECT_EQ(gl_lc_load(&locale, specification.c_str(), nullptr, nullptr), 0) << specification;
        return {locale, gl_lc_unload};
    }

    const ScopedEnv tree_{"QUORBANEDIR", QBGL_ICU_TREE}, wish_{"GL_USEGLU", "1"};
};

std::string key_of(gl_locale *locale, const std::string &text) {
    std::string key(static_cast<size_t>(gl_mbsxfrm(locale, nullptr, text.c_str(), 0)) + 1, 'x');
    EXPECT_EQ(gl_mbsxfrm(locale, key.data(), text.c_str(), static_cast<int>(key.size())), static_cast<int>(key.size()) - 1);
    std::string cut(key.size() / 2, 'x');
    gl_mbsxfrm(locale, cut.data(), text.c_str(), static_cast<int>(cut.size()));
    EXPECT_EQ(cut, key.substr(0, cut.size()));
    return key;
}

void expect_same_case(gl_locale *locale, const icu::Locale &language, const std::string &text) {
    std::string upper(static_cast<size_t>(gl_case_conv_outbuflen(locale, static_cast<int>(text.size()))) + 1, 'x'), lower = upper;
    upper.resize(static_cast<size_t>(gl_tombsupper(locale, upper.data(), text.c_str())));
    lower.resize(static_cast<size_t>(gl_tombslower(locale, lower.data(), text.c_str())));
    EXPECT_EQ(upper, utf8(read_utf8(text).toUpper(language)));
    EXPECT_EQ(lower, utf8(read_utf8(text).toLower(language)));
}

// What the standard's reports say of a character's columns.
int columns(UChar32 code) {
    const int8_t kind = u_charType(code);
    if (kind == U_CONTROL_CHAR || kind == U_UNASSIGNED || kind == U_SURROGATE || kind == U_LINE_SEPARATOR ||
        kind == U_PARAGRAPH_SEPARATOR)
        return -1;
    if (kind == U_NON_SPACING_MARK || kind == U_ENCLOSING_MARK || (kind == U_FORMAT_CHAR && code != 0xAD)) return 0;
    if ((code >= 0x1160 && code <= 0x11FF) || (code >= 0xD7B0 && code <= 0xD7FB)) return 0;
    const int width = u_getIntPropertyValue(code, UCHAR_EAST_ASIAN_WIDTH);
    return width == U_EA_WIDE || width == U_EA_FULLWIDTH ? 2 : 1;
}

void expect_same_characters(gl_locale *locale, const std::string &text, const icu::UnicodeString &units) {
    std::vector<gl_wchar> wide(text.size() + 1);
    const int count = gl_mbstowcs(locale, wide.data(), text.c_str(), static_cast<int>(wide.size()));
    ASSERT_EQ(count, units.countChar32());
    EXPECT_EQ(_gl_im_mbslen(locale, text.c_str()), count);
    EXPECT_EQ(icu::UnicodeString::fromUTF32(reinterpret_cast<const UChar32 *>(wide.data()), count), units);
    int sum = 0;
    for (int i = 0; i < count && sum >= 0; ++i) {
        const int width = columns(static_cast<UChar32>(wide[static_cast<size_t>(i)]));
        sum = width < 0 ? -1 : sum + width;
    }
    EXPECT_EQ(gl_errno(locale), 0);
    EXPECT_EQ(gl_mbswidth(locale, text.c_str(), count), sum) << text;
    EXPECT_EQ(gl_wcswidth(locale, wide.data(), count), sum);
    EXPECT_EQ(gl_errno(locale), sum < 0 ? GL_EINVAL : 0);
    gl_clear_errno(locale);
}

TEST_F(Extension, OrdersMapsAndMeasuresAsIcuDoes) {
    uint32_t seed = 1;
    for (const std::string specification : LOCALES) {
        SCOPED_TRACE(specification);
        const icu::Locale language(specification.substr(0, specification.find('.')).c_str());
        const Locale owner = load(specification);
        gl_locale *const locale = owner.get();
        ASSERT_EQ(locale->glu_flag[GL_CAT_CTYPE] + locale->glu_flag[GL_CAT_COLLATE], 2);
        UErrorCode status = U_ZERO_ERROR;
        const std::unique_ptr<icu::Collator> collator(icu::Collator::createInstance(language, status));
        ASSERT_TRUE(U_SUCCESS(status));
        compare_often(locale);
        Texts texts(language, seed++);
        icu::UnicodeString last_units = texts.next();
        std::string last = utf8(last_units), last_key = key_of(locale, last);
        for (int i = 0; i < TEXTS && !HasFailure(); ++i) {
            const icu::UnicodeString units = texts.next();
            const std::string text = utf8(units), key = key_of(locale, text);
            const int order = collator->compare(last_units, units, status);
            EXPECT_EQ(sign(gl_mbscoll(locale, last.c_str(), text.c_str())), order) << last << '\n' << text;
            EXPECT_EQ(gl_order_compare(locale, last.c_str(), -1, text.c_str(), -1, -1), order);
            EXPECT_EQ(sign(last_key.compare(key)), order);
            std::string direct(key.size(), 'x');
            const int size = collator->getSortKey(units, reinterpret_cast<uint8_t *>(direct.data()), static_cast<int>(key.size()));
            EXPECT_EQ(size, static_cast<int>(key.size()));
            EXPECT_EQ(key, direct);
            expect_same_case(locale, language, text);
            expect_same_characters(locale, text, units);
            last_units = units, last = text, last_key = key;
        }
        EXPECT_TRUE(U_SUCCESS(status));
    }
}

TEST_F(Extension, ServesWhatHasItsModifier) {
    for (const auto &file : std::filesystem::recursive_directory_iterator(QBGL_ICU_TREE "/vrn/lc11")) {
        if (!file.is_symlink()) continue;
        const std::string name = file.path().lexically_relative(QBGL_ICU_TREE "/vrn/lc11").string();
        EXPECT_EQ(load(name)->glu_flag[GL_CAT_COLLATE], 1) << name;
    }
}

// SHIFT_JIS has it twice.
TEST_F(Extension, KeepsTheBytesOfWhatHasNoCase) {
    char upper[16];
    EXPECT_EQ(gl_tombsupper(load("ja_JP.sjis@icu").get(), upper, "a\x87\x90z"), 4);
    EXPECT_STREQ(upper, "A\x87\x90Z");
}

// With marks behind what is passed over, and marks that ICU is wrong about, where its own comparison is no total order. It would
// not come to an end with the first texts.
TEST_F(Extension, ComparesAsItsKeysDo) {
    const std::vector<std::string> pieces = {
        "a",          "b",      "E",      "o",      "ก",      "เ",      "か",     "1",          " ",         "-",
        "\x01",       "\u00AD", "\u0301", "\u0308", "c",      "h",      "l",      "·",          "ー",        "ゝ",
        "カ",         "가",     "ᄀ",     "ᆨ",     "\uFDD1", "ß",      "ǆ",      "\U0001F600", "\u0323",    "\u0327",
        ".",          "\u0E48", "\u3099", "é",      "\u0627", "\u0653", "\u064E", "\u08CF",     "\u07FD",    "\u1715",
        "\U00010F4D", "\u0C3C", "\u0C4D", "\u0C46", "r",      "\u030C", "๖",      "\u0344",     "\U000116B7"};
    constexpr int LONGEST = 100;
    gl_wchar wide_a[LONGEST], wide_b[LONGEST];
    std::mt19937 random(1);
    const auto text = [&] {
        std::string made;
        for (size_t i = random() % 6; i > 0; --i) made += pieces[random() % pieces.size()];
        return made;
    };
    for (const char *specification : {"fr_CA.utf8", "th_TH.utf8", "cs_CZ.utf8", "ja_JP.utf8", "ko_KR.utf8", "hu_HU.utf8",
                                      "vi_VN.utf8@icu", "en_US.utf8@icu", "el_GR.utf8", "te_IN.utf8@icu"}) {
        SCOPED_TRACE(specification);
        const Locale owner = load(specification);
        gl_locale *const locale = owner.get();
        compare_often(locale);
        EXPECT_EQ(gl_order_compare(locale, "\u0627\u0344\U000116B7\u0344", -1, "\u0627\u0344\U0001E4EE\u0344", -1, 1), 0);
        for (int i = 0; i < ORDERED_PAIRS && !HasFailure(); ++i) {
            const std::string begin = text(), a = begin + text(), b = begin + text();
            const int order = sign(key_of(locale, a).compare(key_of(locale, b)));
            EXPECT_EQ(sign(gl_mbscoll(locale, a.c_str(), b.c_str())), order) << a << '\n' << b;
            EXPECT_EQ(gl_order_compare(locale, a.c_str(), -1, b.c_str(), -1, -1), order) << a << '\n' << b;
            gl_mbstowcs(locale, wide_a, a.c_str(), LONGEST);
            gl_mbstowcs(locale, wide_b, b.c_str(), LONGEST);
            EXPECT_EQ(sign(gl_wcscoll(locale, wide_a, wide_b)), order) << a << '\n' << b;
        }
    }
}

// A handle of which it serves the characters or their order alone has the order of that category's locale, of wide text, too.
TEST_F(Extension, OrdersAlsoWhatItServesByHalf) {
    const std::string texts[] = {
        "", "a", "\x82\x81", "\x82\xA0", "\x83\x41", "\x88\x9F\x82\xA0", "\x8A\xBF", std::string(300, '\x8A') + "b"};
    for (const int served : {GL_CAT_CTYPE, GL_CAT_COLLATE}) {
        const Locale own = load("ja_JP.sjis"), other = load("ja_JP.sjis@icu"), owner = load("ja_JP.sjis@icu");
        gl_locale *const half = owner.get(), *const whole = (served == GL_CAT_CTYPE ? own : other).get();
        gl_destroystring(gl_setlocale_4(half, GL_CAT_CTYPE + GL_CAT_COLLATE - served, own->locale_name[served]));
        ASSERT_EQ(half->glu_flag[GL_CAT_CTYPE] - half->glu_flag[GL_CAT_COLLATE], served == GL_CAT_CTYPE ? 1 : -1);
        gl_wchar wide[2][160];
        for (const std::string &a : texts)
            for (const std::string &b : texts) {
                SCOPED_TRACE(a + " " + b);
                gl_mbstowcs(half, wide[0], a.c_str(), 160);
                gl_mbstowcs(half, wide[1], b.c_str(), 160);
                const int order = sign(gl_mbscoll(whole, a.c_str(), b.c_str()));
                EXPECT_EQ(sign(gl_mbscoll(half, a.c_str(), b.c_str())), order);
                EXPECT_EQ(sign(gl_full_wcscoll(half, wide[0], wide[1])), order);
                EXPECT_EQ(gl_order_compare(half, a.c_str(), -1, b.c_str(), -1, 0),
                          gl_order_compare(whole, a.c_str(), -1, b.c_str(), -1, 0));
                std::string key(4096, 'x'), of_wide = key, counted = key;
                gl_mbsxfrm(whole, key.data(), a.c_str(), 4096);
                gl_wcsxfrm(half, of_wide.data(), wide[0], 4096);
                gl_mbfsxfrm(half, counted.data(), a.c_str(), static_cast<int>(a.size()), 4096);
                EXPECT_EQ(of_wide, key);
                EXPECT_EQ(counted, key);
                EXPECT_EQ(half->error, 0);
            }
    }
}

TEST_F(Extension, TellsOfMalformedTextWhereverItStands) {
    constexpr size_t MOST = 140; // characters before it
    const Locale owner = load("cs_CZ.utf8");
    gl_locale *const locale = owner.get();
    for (const std::string wrong : {"", "\x80", "\xC3", "\xC3\xE3", "\xC0\xAF", "\xE0\x9F\xBF", "\xE3\x81", "\xED\xA0\x80",
                                    "\xF0\x8F\xBF\xBF", "\xF0\x9F\x98", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80"}) {
        for (const char *filler : {"a", "é", "あ"}) {
            std::string text;
            for (size_t count = 0; count < MOST; ++count, text += filler) {
                for (const std::string &made : {text + wrong, text + wrong + filler}) {
                    gl_mbscoll(locale, made.c_str(), "b");
                    EXPECT_EQ(gl_errno(locale), wrong.empty() ? 0 : GL_EILSEQ) << made;
                    gl_clear_errno(locale);
                    gl_mbscoll(locale, "b", made.c_str());
                    EXPECT_EQ(gl_errno(locale), wrong.empty() ? 0 : GL_EILSEQ) << made;
                    gl_clear_errno(locale);
                }
            }
        }
    }
}

// A common data file of three items: a header of 32 bytes, the table, the names, and the items' headers from 128 on.
std::string data_file() {
    std::string file(224, '\0');
    const auto put = [&](size_t at, const std::string &bytes) { file.replace(at, bytes.size(), bytes); };
    put(0, "\x20\0\xDA\x27\x14\0\0\0\0\0\2\0CmnD\1"s);
    put(32, "\3\0\0\0\x1C\0\0\0\x60\0\0\0\x33\0\0\0\x80\0\0\0\x4D\0\0\0\xA0"s);
    put(60, U_ICUDATA_NAME "/coll/root.res\0" U_ICUDATA_NAME "/coll/ucadata.icu\0" U_ICUDATA_NAME "/root.res"s);
    for (const size_t item : {128, 160, 192}) put(item, "\x20");
    return file;
}

TEST_F(Extension, RefusesDamagedFiles) {
    void *const library = dlopen(QBGL_ICU_TREE "/vrn/dll/qbgl_icu.so", RTLD_NOW);
    ASSERT_NE(library, nullptr) << dlerror();
    const auto load = reinterpret_cast<glu_loadIcuData_fn *>(dlsym(library, "glu_loadIcuData"));
    const auto unload = reinterpret_cast<glu_unloadIcuData_fn *>(dlsym(library, "glu_unloadIcuData"));
    const auto load_map = reinterpret_cast<glu_loadMapData_fn *>(dlsym(library, "glu_loadMapData"));
    const auto line_of_data = reinterpret_cast<int (*)(const char *, char *, int)>(dlsym(library, "qbgl_icu_data"));
    const TempDir directory;
    const std::string path = directory / "icudata", common = directory / (U_ICUDATA_NAME ".dat"), whole = data_file();
    char line[64];
    int status = 0;
    const auto expect_refused = [&](const std::string &bytes, int error = GL_EBADFILE) {
        write_file(common, bytes);
        EXPECT_EQ(line_of_data(path.c_str(), line, sizeof line), error);
        EXPECT_EQ(load(path.c_str(), 0, &status), nullptr);
        EXPECT_EQ(status, error);
    };
    const auto expect_status = [&](const std::string &text, int expected) {
        SCOPED_TRACE(text);
        write_file(path, text);
        void *const data = load(path.c_str(), 0, &status);
        EXPECT_EQ(data != nullptr ? 0 : status, expected);
        unload(data);
    };
    EXPECT_EQ(line_of_data(path.c_str(), line, sizeof line), 0);
    expect_status(line, 0);
    EXPECT_EQ(line, "packaged " + std::to_string(U_ICU_VERSION_MAJOR_NUM) + "\n");
    expect_status(U_ICUDATA_NAME ".dat 0", GL_ENOFILE);
    write_file(common, whole);
    EXPECT_EQ(line_of_data(path.c_str(), line, sizeof line), 0);
    const std::string own_line = line;
    for (const auto &[text, expected] :
         std::vector<std::pair<std::string, int>>{{"icudt71l.dat 0", GL_EVERSION},
                                                  {whole, GL_EBADFILE},
                                                  {own_line.substr(0, own_line.size() - 2), GL_EBADFILE},
                                                  {own_line, 0}})
        expect_status(text, expected);
    for (const size_t size : {0, 23, 24, 35, 59, 127, 128, 151, 159, 160, 223}) {
        SCOPED_TRACE(size);
        expect_refused(whole.substr(0, size));
    }
    // The header's size, marks, order of bytes; the count; offsets behind the end, in the table, in the first item; names; sizes.
    const std::vector<std::pair<size_t, char>> changes = {{1, 127},  {0, 8},     {2, 0},     {12, 'X'},  {8, 1},   {32, 0},
                                                          {35, 127}, {39, 127},  {43, 127},  {40, 16},   {48, 48}, {44, 28},
                                                          {74, 'v'}, {118, 's'}, {128, 127}, {129, 127}, {193, 1}, {192, 8}};
    for (const auto &[at, byte] : changes) {
        SCOPED_TRACE(at);
        std::string bytes = whole;
        bytes[at] = byte;
        expect_refused(bytes);
    }
    expect_refused(std::string(whole).replace(66, 1, "1"), GL_EVERSION);
    for (size_t bit = 0; bit < whole.size() * 8; ++bit) { // also where only the sum sees it
        std::string bytes = whole;
        bytes[bit / 8] = static_cast<char>(bytes[bit / 8] ^ 1 << bit % 8);
        write_file(common, bytes);
        EXPECT_EQ(load(path.c_str(), 0, &status), nullptr) << bit;
    }
    write_file(path, "serve * LC_CTYPE\n\0serve * LC_COLLATE\n"s);
    EXPECT_EQ(load_map(path.c_str(), &status), nullptr);
    EXPECT_EQ(status, GL_EBADFILE);
    dlclose(library);
}

// As an object of another order does, whatever may order otherwise needs a word of its owner.
TEST_F(Extension, KeepsItsDataUntilAChangeIsAccepted) {
    const TempDir directory;
    const std::string tree = directory / "tree", etc = tree + "/vrn/etc/", data = etc + "icudata",
                      common = etc + U_ICUDATA_NAME ".dat";
    std::filesystem::create_directories(etc);
    for (const char *part : {"cm3", "cv9", "lc11"})
        std::filesystem::create_directory_symlink(QBGL_ICU_TREE "/vrn/"s + part, tree + "/vrn/" + part);
    const auto expect = [&](const std::string &options, int status, const std::string &begin) {
        const std::string command = QBGLC " tree --icu --data " QBGL_DATA " " + tree + options + " >/dev/null 2>&1";
        EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), status) << options;
        EXPECT_TRUE(read_file(data).starts_with(begin)) << read_file(data).substr(0, 40);
    };
    expect("", 0, "packaged ");
    write_file(etc + "locmap", "serve *.utf8 LC_TYPE\n");
    expect("", 1, "packaged ");
    std::filesystem::remove(etc + "locmap");
    write_file(common, data_file());
    expect("", 4, "packaged ");
    expect(" --accept-changes", 0, U_ICUDATA_NAME ".dat ");
    write_file(common, data_file().substr(1));
    expect(" --accept-changes", 1, U_ICUDATA_NAME ".dat ");
    std::filesystem::rename(common, data);
    expect(" --accept-changes", 1, data_file().substr(1, 20));
}

struct Codeset {
    std::string number, icu;
};

// Those of the map that ICU has.
std::vector<Codeset> codesets() {
    std::ifstream map(QBGL_ICU_TREE "/vrn/etc/locmap");
    std::vector<Codeset> found;
    for (std::string line, kind; std::getline(map, line);) {
        std::istringstream words(line);
        Codeset codeset;
        words >> kind >> codeset.number >> codeset.icu;
        UErrorCode status = kind == "codeset" ? U_ZERO_ERROR : U_ILLEGAL_ARGUMENT_ERROR;
        ucnv_close(ucnv_open(codeset.icu.c_str(), &status));
        if (U_SUCCESS(status)) found.push_back(codeset);
    }
    return found;
}

// As measured, too.
Outcome convert_and_measure(gl_cv *cd, const std::string &text, size_t room) {
    Outcome written = convert(*cd, text, static_cast<int>(room)),
            measured = convert(*cd, text, static_cast<int>(room), nullptr, true, Way::MEASURE);
    measured.output = written.output;
    EXPECT_EQ(measured, written);
    return written;
}

// A converter of ICU's that stops at what it cannot convert, what is ignorable among it.
class Direct {
  public:
    explicit Direct(const std::string &name) {
        UErrorCode status = U_ZERO_ERROR;
        converter_ = ucnv_open(name.c_str(), &status);
        const auto stop = [](const void *, UConverterFromUnicodeArgs *, const UChar *, int32_t, UChar32, UConverterCallbackReason,
                             UErrorCode *) {};
        ucnv_setFromUCallBack(converter_, stop, nullptr, nullptr, nullptr, &status);
        ucnv_setToUCallBack(converter_, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
        EXPECT_TRUE(U_SUCCESS(status)) << name;
    }
    Direct(const Direct &) = delete;
    Direct &operator=(const Direct &) = delete;
    ~Direct() { ucnv_close(converter_); }

    // False when there is a character that it lacks.
    bool write(const icu::UnicodeString &text, bool fallback, std::string &bytes) {
        bytes.assign(8 * static_cast<size_t>(text.length()) + 16, '\0');
        UErrorCode status = U_ZERO_ERROR;
        ucnv_setFallback(converter_, fallback);
        const int32_t length = text.extract(bytes.data(), static_cast<int32_t>(bytes.size()), converter_, status);
        bytes.resize(U_SUCCESS(status) ? static_cast<size_t>(length) : 0);
        return U_SUCCESS(status);
    }
    icu::UnicodeString read(const std::string &bytes) {
        UErrorCode status = U_ZERO_ERROR;
        const icu::UnicodeString text(bytes.data(), static_cast<int32_t>(bytes.size()), converter_, status);
        EXPECT_TRUE(U_SUCCESS(status)) << u_errorName(status);
        return text;
    }

  private:
    UConverter *converter_ = nullptr;
};

TEST_F(Extension, ConvertsAsIcuDoes) {
    constexpr UChar32 STEP = 7, LAST = 0x2FFFF;
    constexpr int ROOM = 64;
    size_t compared = 0;
    for (const Codeset &codeset : codesets()) {
        if (codeset.icu == "UTF-8") continue;
        SCOPED_TRACE(codeset.icu);
        gl_cv *to = nullptr, *from = nullptr;
        ASSERT_EQ(gl_cv_load(&to, codeset.number.c_str(), "utf8", nullptr, nullptr), 1);
        ASSERT_EQ(to->glu_flag, 1);
        ASSERT_EQ(gl_cv_load(&from, "utf8", codeset.number.c_str(), nullptr, nullptr), 1);
        Direct icu(codeset.icu);
        icu::UnicodeString known;
        for (UChar32 code = 1; code <= LAST && !HasFailure(); code += code < 0x800 ? 1 : STEP) {
            if (U_IS_SURROGATE(code)) continue;
            const icu::UnicodeString units(code);
            const std::string text = utf8(units);
            std::string bytes;
            const bool exact = icu.write(units, false, bytes), any = exact || icu.write(units, true, bytes);
            const int left = ROOM - static_cast<int>(bytes.size());
            const Outcome wanted =
                any ? Outcome{0, 0, text.size(), left, exact ? 0 : 1, bytes} : Outcome{-1, GL_EILSEQ, 0, ROOM, 0, ""};
            EXPECT_EQ(convert_and_measure(to, text, ROOM), wanted) << text;
            if (exact && known.length() < 20000) known += units;
            ++compared;
        }
        std::string bytes;
        ASSERT_TRUE(icu.write(known, false, bytes));
        const std::string text = utf8(known), back = utf8(icu.read(bytes));
        for (const auto &[cd, source, target] : {std::tuple(to, text, bytes), {from, bytes, back}}) {
            EXPECT_LE(std::ssize(target), gl_cv_outbuflen(cd, static_cast<int>(source.size())) + 8);
            EXPECT_EQ(convert_and_measure(cd, source, target.size()), (Outcome{0, 0, source.size(), 0, 0, target}));
        }
        EXPECT_EQ(gl_cv_unload(to) + gl_cv_unload(from), 0);
    }
    EXPECT_GT(compared, 1000000U);
}

} // namespace
