// Charmaps: loading objects, characters to symbols and back, within the room that callers give.
#include "support/files.h"

#include "qbgl.h"
#include "syms/charmap.h"

#include <array>
#include <gtest/gtest.h>
#include <vector>

namespace {

using namespace qbgl_test;
using std::string;
using namespace std::string_literals;

const string HEADER =
    "FILE_TYPE=charmap_object\nCOMPILER_VERSION=3\nHEADER_LENGTH=5\nCODESET=test\nSOURCE_VERSION=7\n### CHARMAP\n";
// One and two bytes; names that need escapes; ranges that carry and outgrow their digits; definitions that hide earlier ones.
const string RECORDS = "s 3 NUL 1 00\ns 1 A 1 41\ns 5 alpha 1 41\ns 3 a<b 1 42\ns 3 a\\b 1 43\ns 1 D 1 44\ns 1 D 1 45\n"
                       "r 5 j0101 101 5 2 81fe\nr 2 k8 8 4 2 9040\nr 5 j0103 103 2 2 91ff\nr 5 m0000 0 3 2 8300\nr 2 q1 1 1 2 "
                       "8200\ns 5 j0999 2 9040\n";
const string TWO_BYTE_RECORDS = "s 3 NUL 2 0000\ns 1 A 2 0041\nr 2 u0 0 256 2 3000\ns 4 face 4 d83dde00\n";

struct Charmap {
    explicit Charmap(const string &text, const char *name = "t.cmo") {
        write_file(directory / name, text);
        result = gl_cm_load(&cm, name, nullptr, directory.path().c_str());
    }
    Charmap &operator=(Charmap &&) = delete;
    ~Charmap() { gl_cm_unload(cm); }

    string symbols(const string &text, int length) {
        const char *in = text.data();
        cm->error = 0;
        string out(2000, '?');
        const int size = gl_mbstosyms(cm, out.data(), 2000, &in, length);
        consumed = static_cast<int>(in - text.data());
        return size < 0 ? "-1" : out.substr(0, static_cast<size_t>(size) - 1);
    }
    string symbols(const string &text) { return symbols(text, static_cast<int>(text.size())); }
    string text(const string &symbols) {
        const char *in = symbols.c_str();
        cm->error = 0;
        string out(2000, '?');
        const int size = gl_symstombs(cm, out.data(), 2000, &in);
        consumed = static_cast<int>(in - symbols.c_str());
        return size < 0 ? "-1" : out.substr(0, static_cast<size_t>(size - gl_mb_cm_min(cm)));
    }

    TempDir directory;
    gl_charmap *cm = nullptr;
    int result = 0, consumed = 0;
};

string replaced(string text, const string &from, const string &to) { return text.replace(text.find(from), from.size(), to); }

TEST(LoadCharmap, RefusesWhatIsMalformed) {
    const auto header = [](const string &from, const string &to) { return replaced(HEADER, from, to) + RECORDS; };
    const string longest(127, 'n');
    std::vector<std::pair<string, int>> cases = {
        {header("charmap_object", "locale_object"), GL_EBADFILE},
        {header("VERSION=3", "VERSION=4"), GL_EVERSION},
        {header("HEADER_LENGTH=5", "HEADER_LINES=5"), GL_EBADFILE},
        {header("SOURCE_VERSION=7", "SOURCE_VERSION=x"), GL_EBADFILE},
        {header("CODESET=test", "X=" + string(124, 'x')), 0}, // 127 bytes with the newline fit
        {header("CODESET=test", "X=" + string(125, 'x')), GL_EBADFILE},
        {replaced(HEADER, "### CHARMAP\n", ""), GL_EBADFILE},
        {HEADER + "s 127 " + longest + " 1 41\n", 0},
        {HEADER + "s 128 " + longest + "n 1 41\n", GL_EBADFILE},
        {HEADER + "r 2 a1 1 2 1 fe\n", 0},
    };
    for (const char *records :
         {"s 2 A 1 41\n", "x 1 A 1 41\n", "s 1 A 1 41 \n", "s 1 A 1 4g\n", "s 1 A 0 \n", "s 1 A 5 4142434445\n",
          "s 1 A 1 41\ns 1 B 2 4142\n", "r 2 a1 1 3 1 fe\n", "r 2 a1 1 0 1 41\n", "r 2 a1 2147483646 2 1 41\n",
          "r 2 a1 1 2097153 3 000000\n", "r 2 a1 1 2097151 3 000000\ns 1 A 3 f00000\ns 1 A 3 f00001\n"})
        cases.emplace_back(HEADER + records, GL_EBADFILE);
    for (const auto &[text, error] : cases) {
        const Charmap charmap(text);
        EXPECT_EQ(charmap.cm->error, error) << text;
        EXPECT_EQ(charmap.result, error == 0 ? 0 : -1);
        if (error == 0) continue;
        const char *in = "A";
        char out[8];
        EXPECT_EQ(gl_mbstosyms(charmap.cm, out, 8, &in, 1), -1);
        EXPECT_EQ(gl_symstombs(charmap.cm, out, 8, &in), -1);
        EXPECT_EQ(gl_cm_mblen(charmap.cm, in, 1), -1);
        EXPECT_EQ(charmap.cm->error, error); // that of the load stays
    }
}

TEST(LoadCharmap, FindsTheFileByCodesetOrName) {
    const TempDir tree;
    write_file(tree / "vrn/cm3/registry", "sjis 57350\n");
    write_file(tree / "vrn/cm3/e006.cmo", HEADER + RECORDS);
    write_file(tree / "vrn/cm3/own.cmo", HEADER + RECORDS);
    const ScopedEnv base("QUORBANEDIR", tree.path()), path("GL_PATH", nullptr);
    const string directory = tree / "vrn/cm3";
    const std::tuple<const char *, const char *, int> cases[] = {
        // the last: the codeset's number, or -1 where there is no file
        {"sjis", nullptr, 57350}, {"ja_JP.sjis", directory.c_str(), 57350}, {"own.cmo", nullptr, GL_NO_CODESET},
        {"latin-1", nullptr, -1}, {"none.cmo", directory.c_str(), -1},      {nullptr, directory.c_str(), -1}};
    for (const auto &[spec, where, number] : cases) {
        gl_charmap *cm = nullptr;
        EXPECT_EQ(gl_cm_load(&cm, spec, nullptr, where), number < 0 ? -1 : 0);
        EXPECT_EQ(cm == &cm_filer ? -1 : cm->codeset_number, number);
        gl_cm_unload(cm);
    }
    EXPECT_EQ(cm_filer.error, GL_ENOFILE);
    EXPECT_EQ(cm_nomem.error, GL_ENOMEM);
}

TEST(Symbols, NamesAndCharacters) {
    Charmap charmap(replaced(HEADER, "CODESET=test", "CODESET=" + string(30, 'x')) + RECORDS);
    EXPECT_EQ(gl_cm_csname(charmap.cm), string(21, 'x')); // as much of it as counts
    EXPECT_EQ((std::array{gl_cm_srcver(charmap.cm), gl_cm_cmpver(charmap.cm)}), (std::array{7, 3}));
    EXPECT_EQ((std::array{gl_mb_cm_max(charmap.cm), gl_mb_cm_min(charmap.cm)}), (std::array{2, 1}));
    const std::pair<string, string> both_ways[] = {{"\x42", "<a\\<b>"},      {"\x43", "<a\\\\b>"},
                                                   {"\x83\x00"s, "<m0000>"}, {"\x90\x40", "<j0999>"},
                                                   {"\x91\xFF", "<j0103>"},  {"\x42\x83\x01\x41", "<a\\<b><m0001><alpha>"}};
    for (const auto &[bytes, symbols] : both_ways) {
        EXPECT_EQ(charmap.symbols(bytes), symbols);
        EXPECT_EQ(charmap.text(symbols), bytes);
    }
    EXPECT_EQ(charmap.text("<\\A><A><k8>"), "AA\x90\x40"); // hidden names stand for their characters
    EXPECT_EQ(charmap.symbols("\x44"), "<D>");
    EXPECT_EQ(charmap.symbols("\x90\x42"), "<k10>"); // the digits of the range outgrown, the name leads nowhere
    for (const char *none : {"<k10>", "<j0100>", "<j0106>", "<j106>", "<>", "<A\\", "A", "<j99999999999999999999>"}) {
        EXPECT_EQ(charmap.text("<A>"s + none), "-1") << none;
        EXPECT_EQ(charmap.consumed, 3);
        EXPECT_EQ(charmap.cm->error, 0);
    }
    EXPECT_EQ(charmap.text("<" + string(300, 'A') + ">"), "-1");
    EXPECT_EQ(charmap.text("<j0102><j0103><j0105>"), "\x81\xFF\x91\xFF\x82\x02"); // of two ranges, the later
    EXPECT_EQ(charmap.symbols("\x82\x00"s), "<j0103>");                           // the first range of the file
}

TEST(Symbols, CharactersByARule) {
    const string records = "s 3 NUL 1 00\ns 1 A 1 41\n";
    const auto with_rule = [&](const char *rule) { return replaced(HEADER, "SOURCE_VERSION=7", "UNLISTED="s + rule) + records; };
    Charmap utf8(with_rule("utf8")), gb18030(with_rule("gb18030")), unknown(with_rule("utf16"));
    EXPECT_EQ(unknown.text("<U0378>"), "-1");
    EXPECT_EQ(gl_mbtosymlist(utf8.cm, nullptr, 0, "\xCD\xB8", 2), 1);
    for (const string none :
         {"\xED\xA0\x80", "\xF4\x90\x80\x80", "\xC1\x81", "\xE0\x9F\xBF", "\xFF", "\xF0\x9F\xAB", "\xF0\x9F\xAB\x41"})
        EXPECT_EQ(utf8.symbols(none), "-1") << testing::PrintToString(none);
    for (const string none : {"\xE3\x32\x9A\x36", "\x81\x30\x81\x30", "\x90\x30\x81", "\x90\x3A\x81\x30"})
        EXPECT_EQ(gb18030.symbols(none), "-1") << testing::PrintToString(none);
    EXPECT_EQ(gl_cm_mblen(utf8.cm, "\xF0\x9F\xAB\xA8", 3), -1);
    EXPECT_EQ(utf8.cm->error, GL_EINVAL);
    for (const char *none : {"<UD800>", "<U00110000>", "<U0001fae8>", "<U00000042>", "<U1FAE8>", "<U004>"})
        EXPECT_EQ(utf8.text(none), "-1") << none;
    EXPECT_EQ(gb18030.text("<U0080>"), "-1");
}

TEST(Symbols, InputEndsWhereItShould) {
    Charmap charmap(HEADER + RECORDS);
    EXPECT_EQ(charmap.symbols("A\0B"s, 0), "<alpha>");
    EXPECT_EQ(charmap.symbols("\x83\0A\0"s, 0), "-1"); // a terminator, though the charmap has 8300
    EXPECT_EQ(charmap.symbols("A\0B"s, 3), "<alpha><NUL><a\\<b>");
    for (const string bad : {"\xFF", "\x81", "\x81\x41"}) { // no character, a cut one, a wrong second byte
        EXPECT_EQ(charmap.symbols("A" + bad), "-1");
        EXPECT_EQ(charmap.cm->error, GL_ENOSYM);
        EXPECT_EQ(charmap.consumed, 1);
    }
    EXPECT_EQ(gl_cm_mblen(charmap.cm, "\x81\xFE", 1), -1);
    EXPECT_EQ(charmap.cm->error, GL_EINVAL);
    EXPECT_EQ((std::array{gl_cm_mblen(charmap.cm, "", 1), gl_cm_mblen(charmap.cm, nullptr, 1)}), (std::array{1, 0}));

    Charmap two(HEADER + TWO_BYTE_RECORDS);
    EXPECT_EQ(two.symbols("\0A\x30\0\xD8\x3D\xDE\0\0\0\0A"s, 0), "<A><u0><face>");
    EXPECT_EQ(two.consumed, 8);
    EXPECT_EQ(two.text("<A>"), "\0A"s);
}

TEST(Symbols, WideCharacters) {
    Charmap charmap(HEADER + RECORDS), two(HEADER + TWO_BYTE_RECORDS);
    const auto wide_symbols = [](gl_charmap *cm, const std::vector<gl_wchar> &text, int length, long consumed) {
        const gl_wchar *in = text.data();
        std::vector<char> out(text.size() * 16 + 1, '?');
        const int size = gl_wcstosyms(cm, out.data(), static_cast<int>(out.size()), &in, length);
        EXPECT_EQ(in - text.data(), consumed);
        return size <= 0 ? std::to_string(size) : string(out.data(), static_cast<size_t>(size) - 1);
    };
    EXPECT_EQ(wide_symbols(charmap.cm, {0x41, 0x81FE, 0, 0x42}, 0, 2), "<alpha><j0101>");
    EXPECT_EQ(wide_symbols(charmap.cm, {0x41, 0, 0x42}, 3, 3), "<alpha><NUL><a\\<b>");
    EXPECT_EQ(wide_symbols(charmap.cm, {0x41, 0xFF}, 2, 1), "-1");
    EXPECT_EQ(wide_symbols(charmap.cm, {0x4141}, 1, 1), "<alpha><alpha>"); // behind the input is nothing to advance to
    EXPECT_EQ(wide_symbols(charmap.cm, {0}, 0, 0), "0");
    EXPECT_EQ(wide_symbols(two.cm, {0x41, 0xD83DDE00, 0}, 0, 2), "<A><face>");
    const std::vector<gl_wchar> many(3000, 0x9040); // more than any block
    string expected;
    for (int i = 0; i < 3000; ++i) expected += "<j0999>";
    EXPECT_EQ(wide_symbols(charmap.cm, many, 3000, 3000), expected);

    const char *in = "<alpha><j0101>";
    gl_wchar out[3] = {9, 9, 9};
    EXPECT_EQ(gl_symstowcs(charmap.cm, out, 3, &in), 3);
    EXPECT_EQ(std::vector<gl_wchar>(out, out + 3), (std::vector<gl_wchar>{0x41, 0x81FE, 0}));
}

// Every size of the output, with a canary behind.
TEST(Symbols, RoomOfEverySize) {
    Charmap charmap(HEADER + RECORDS), two(HEADER + TWO_BYTE_RECORDS);
    const auto stored = [](const string &out, const string &expected) {
        return out == expected + string(30 - expected.size(), '?');
    };
    for (int size = -1; size <= 25; ++size) {
        string out(30, '?');
        const string text = "AB\x81\xFE", symbols = "<alpha><a\\<b><j0101>";
        const char *in = text.c_str();
        const size_t fits = size > 20 ? 20 : size > 13 ? 13 : size > 7 ? 7 : 0;
        EXPECT_EQ(gl_mbstosyms(charmap.cm, out.data(), size, &in, 0), static_cast<int>(fits) + 1) << size;
        EXPECT_EQ(in, text.c_str() + text.size());
        EXPECT_TRUE(stored(out, size > 0 ? symbols.substr(0, fits) + '\0' : "")) << size << out;

        out.assign(30, '?');
        in = "<A><A>";
        two.cm->error = 0;
        EXPECT_EQ(gl_symstombs(two.cm, out.data(), size, &in), size < 6 ? -1 : 6);
        EXPECT_EQ(two.cm->error, size < 6 ? GL_EBADARG : 0);
        EXPECT_TRUE(stored(out, "\0A\0A\0\0"s.substr(0, size < 4 ? 0 : size < 6 ? 2 : 4) + (size < 2 ? "" : "\0\0"s))) << size;
        std::vector<gl_wchar> wide(30, 9);
        in = "<A><A>";
        EXPECT_EQ(gl_symstowcs(two.cm, wide.data(), size, &in), size < 3 ? -1 : 3);
        EXPECT_EQ(std::count(wide.begin() + std::max(size, 0), wide.end(), 9), 30 - std::max(size, 0)) << size;
    }
}

TEST(Symbols, ListOfAllNames) {
    const string escapes(80, '<');
    Charmap charmap(HEADER + RECORDS + "s 80 " + escapes + " 1 7e\ns 1 t 1 7e\n");
    const auto names = [&](const string &bytes, int max) {
        string out(static_cast<size_t>(std::max(max, 0) + 1) * GL_SYMBOL_SLOT, '?');
        const int count = gl_mbtosymlist(charmap.cm, out.data(), max, bytes.data(), static_cast<int>(bytes.size()));
        string result = std::to_string(count);
        for (int i = 0; i < std::min(count, max); ++i) result += " "s + &out[static_cast<size_t>(i) * GL_SYMBOL_SLOT];
        EXPECT_EQ(out.substr(out.size() - GL_SYMBOL_SLOT), string(GL_SYMBOL_SLOT, '?'));
        return result;
    };
    EXPECT_EQ(names("A", 1), "2 <alpha>");
    EXPECT_EQ(names("\x90\x40", 9), "2 <j0999> <k8>");
    EXPECT_EQ(names("\x82\x00"s, 9), "2 <j0103> <q1>"); // ranges in the order of the file
    EXPECT_EQ(names("~", 9), "2 <t> ");                 // a symbol longer than its slot
    EXPECT_EQ(gl_mbtosymlist(charmap.cm, nullptr, 1, "A", 1), -1);
    EXPECT_EQ(charmap.cm->error, GL_EBADARG);
    EXPECT_EQ(gl_mbtosymlist(charmap.cm, nullptr, 0, "\xFF", 1), -1);
    EXPECT_EQ(charmap.cm->error, GL_EILSEQ);
}

} // namespace
