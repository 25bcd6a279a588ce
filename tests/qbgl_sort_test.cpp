// qbgl sort, key and explain as their users see them, under rules that are made here.
#include "support/client.h"

#include <algorithm>
#include <random>

using namespace qbgl_test;
using namespace std::string_literals;

namespace {

std::string to_utf8(const std::string &latin) {
    std::string result;
    for (const char c : latin) result += utf8_bytes(static_cast<uint8_t>(c));
    return result;
}

// Letters by letter, then accents from the end, then case, then hyphens. "ch" stands behind c, æ counts as a and e, ü is u. Other
// letters above ASCII are not in the rules.
Collation french_rules(std::string (*encode)(const std::string &), unsigned backward = 2) {
    Collation rules{{1, backward, 1, 1}, {{0, 0, 0, 0}}};
    const auto add = [&](const std::string &latin, const std::vector<unsigned> &weights) {
        rules.places.emplace_back(encode(latin), rules.rows.size());
        rules.rows.push_back(weights);
    };
    unsigned letter = 10;
    for (const char c : " \t,.:;0123456789"s) add({c}, {letter++, 2, 2, 1});
    for (char c = 'a'; c <= 'z'; ++c, letter += 2) {
        add({c}, {letter, 2, 2, 1});
        add({static_cast<char>(c - 32)}, {letter, 2, 3, 1});
        if (c == 'c') rules.elements.push_back({{'c', 'h'}, static_cast<unsigned>(rules.rows.size())});
        if (c == 'c') rules.rows.push_back({letter + 1, 2, 2, 1});
        if (c == 'e') add("\xE9", {letter, 3, 2, 1}), add("\xC9", {letter, 3, 3, 1}), add("\xE8", {letter, 4, 2, 1});
        if (c == 'o') add("\xF4", {letter, 4, 2, 1});
        if (c == 'u') add("\xFC", {letter, 2, 2, 1});
    }
    add("-", {1, 1, 1, 2});
    add("\xE6", {0x4000, 5, 2, 1});
    rules.expansions = {{'a', 'e'}};
    return rules;
}

constexpr unsigned BACKWARD_AS_WELL = 4; // a direction without the bit of a forward pass

class Sort : public ClientTree {
  protected:
    Sort() {
        add("fr_fr/0333.lco", LocaleObject(single_byte_codeset(), french_rules([](const std::string &s) { return s; }).text()));
        add("fr_fr/e01c.lco", LocaleObject(utf8_codeset(), french_rules(to_utf8, BACKWARD_AS_WELL).text()));
        Collation japanese = Collation::in_order(sjis_codeset());
        for (const auto &[bytes, row] : japanese.places)
            if (bytes[0] == '\x88') japanese.rows[row] = {0x8000 | 500};
        add("ja_jp/e006.lco", LocaleObject(sjis_codeset(), japanese.text()));
        Collation direct = Collation::in_order(single_byte_codeset());
        direct.direct = true;
        add("default.lco", LocaleObject(single_byte_codeset(), direct.text()));
        add("th_th/e01c.lco", LocaleObject(utf8_codeset(), "thai_smo\n"));
    }
};

TEST_F(Sort, OptionsActAsInSort) {
    const std::string at = "qbgl: standard input:";
    const std::string part = "; it is FIELD[.CHARACTER][bfhnrV][,FIELD[.CHARACTER][bfhnrV]]\n";
    const std::vector<Case> CASES = {
        {"", "c\xF4t\xE9\ncot\xE9\nc\xF4te\ncote", 0, "cote\nc\xF4te\ncot\xE9\nc\xF4t\xE9\n", ""},
        {"", "d\nchat\nczar\nafz\n\xE6z\naez\n", 0, "aez\n\xE6z\nafz\nczar\nchat\nd\n", ""},
        {"", "ab\nA-b\na-b\nAb\n", 0, "ab\na-b\nAb\nA-b\n", ""},
        {"", "\xFC\n\nu\n\nt\n", 0, "\n\nt\nu\n\xFC\n", ""}, // equal ones by their bytes
        {"-s -r", "u\n\xFC\nv\n", 0, "v\nu\n\xFC\n", ""},
        {"-u", "v\n\xFC\nu\nt\n\xFC\nv\n", 0, "t\n\xFC\nv\n", ""},
        {"-k2", "1 b\n2 \xE9\n3 e\n", 0, "1 b\n3 e\n2 \xE9\n", ""},
        {"-k 2,2r -k1", "a x\nb y\nc y\n", 0, "b y\nc y\na x\n", ""},
        {"-n", "x\n10\n 9\n-2\n-10.5\n1.25\n1.3\n007\n", 0, "-10.5\n-2\nx\n1.25\n1.3\n007\n 9\n10\n", ""},
        {"-k 2nr -k1", "a 2\nb 10\nc 2\n", 0, "b 10\na 2\nc 2\n", ""},
        {"-h", "2M\n3K\n1G\n500\n-1K\n", 0, "-1K\n500\n3K\n2M\n1G\n", ""},
        {"-V", "a-1.10\na-1.9\na-1\na-1~rc\na-01.9\n", 0, "a-1~rc\na-1\na-01.9\na-1.9\na-1.10\n", ""},
        {"-f -s", "b\nB\nA\na\n", 0, "A\na\nb\nB\n", ""},
        {"-f -u", "a\0b\na\0c\nA\0b\n"s, 0, "a\0b\na\0c\n"s, ""},
        {"--keep-bad", "b\n\0\na\n"s, 1, "a\nb\n\0\n"s,
         at + "2:1: offset 2, byte 00: a NUL character within a line; do NUL characters end the lines (-z)?\n"
              "qbgl: 1 line is no text, and stands behind the others\n"},
        {"--files0-from - x", "", 2, "", "qbgl: --files0-from takes the place of files, but there is x\n"},
        {"-t : -k 2.2,2.2", "a:xb:\nb:za:\nc:yc:\nd\n", 0, "d\nb:za:\na:xb:\nc:yc:\n", ""},
        {"-u -k1,1", "a 2\nb 1\na 1\n", 0, "a 2\nb 1\n", ""},
        {"-b -s -k1.1,1.1", " b\na\n", 0, "a\n b\n", ""},
        {"-z", "b\nx\0a\0"s, 0, "a\0b\nx\0"s, ""},
        {"-c", "a\ne\n\xE9\n", 0, "", ""},
        {"-c", "a\n\xE9\ne\nd\n", 1, "", at + "3: disorder: e\n"},
        {"-c -u", "a\na\n", 1, "", at + "2: disorder: a\n"},
        {"-C", "b\na\n", 1, "", ""},
        {"-c a b", "", 2, "", "qbgl: -c checks one file; b is one more\n"},
        {"-k 0", "", 2, "", "qbgl: -k 0: fields are counted from 1" + part},
        {"-k 1.0", "", 2, "", "qbgl: -k 1.0: characters are counted from 1" + part},
        {"-k 1,x", "", 2, "", "qbgl: -k 1,x: a field is missing" + part},
        {"-k 1q", "", 2, "", "qbgl: -k 1q: there is more than that" + part},
        {"-t ::", "", 2, "", "qbgl: -t ::: a separator is one character\n"},
        {"-S 5x", "", 2, "", "qbgl: -S 5x: a size is a number of kibibytes, or a number with K, M or G\n"},
        {"-S 1 -T /nosuch", std::string(9000, 'a') + "\n" + std::string(9000, 'a'), 3, "",
         "qbgl: cannot make a temporary file in /nosuch: No such file or directory\n"},
        {"-o /dev/full", "a", 3, "", "qbgl: cannot write /dev/full: No space left on device\n"},
    };
    expect_all("sort -l fr_FR.8859-1 ", CASES, words());
}

TEST_F(Sort, CharactersOfSeveralBytesAreCutWholeAndKeysHaveZeroBytes) {
    Codeset unicode = two_byte_codeset(); // the client's conversions have the low byte first
    for (char c = 1; c < 127; ++c) unicode.characters.push_back({{c, '\0'}, 0});
    Collation direct = Collation::in_order(unicode);
    direct.direct = true;
    add("fr_fr/e005.lco", LocaleObject(unicode, direct.text()));
    EXPECT_EQ(client("sort -l fr_FR.utf8 -t é -k 2.2", "aééz\nbéôy\ncézx\n").out, "cézx\nbéôy\naééz\n");
    const std::string input = "b\0\n\0a\0\n\0b\0c\0"s, sort = "sort -l fr_FR.unicode";
    EXPECT_EQ(client(sort, input).out, "a\0\n\0b\0\n\0b\0c\0\n\0"s);
    EXPECT_EQ(client(sort + " -k1,1r", input, 1).out, "b\0c\0\n\0b\0\n\0a\0\n\0"s);
    EXPECT_EQ(client("key -l fr_FR.unicode", input).out, "6200\n6100\n62006300\n");
}

TEST_F(Sort, AnyBytesHaveAPlace) {
    Codeset latin = single_byte_codeset();
    latin.name = "8859-3"; // without a character at A5
    add("fr_fr/e002.lco", LocaleObject(latin));
    const struct {
        std::string locale, sorted, complaint;
    } CASES[] = {
        {"fr_FR.8859-3", "a\nb\nxy\xA5\nxyz\n",
         "3:3: offset 6, byte A5: no character of 8859-3; is the text in another codeset than the locale (-l)?\n"},
        {"fr_FR.utf8", "ba\nb\0\n\xC3\xA9\xC3\nzb\n\xC3\n"s, "2:2: offset 4, byte 00: a NUL character within a line\n"},
    };
    for (const auto &[locale, sorted, complaint] : CASES) {
        const std::string text = "zz\n" + sorted;
        EXPECT_EQ(client("sort -s -l " + locale, sorted.substr(sorted.find('\n') + 1) + sorted.substr(0, sorted.find('\n'))).out,
                  sorted);
        EXPECT_EQ(client("sort -m -l " + locale, sorted).out, sorted);
        EXPECT_EQ(client("sort -c -l " + locale, sorted).err, "");
        EXPECT_EQ(client("key -l " + locale, sorted).err, "qbgl: standard input:" + complaint);
    }
    EXPECT_EQ(client("key --dense -v -l fr_FR.utf8", "\xC3\n").out, "ffc308ff08ff08ff\t\xC3\n"); // of four passes
}

// Words whose neighbours differ in an accent, in case or in a hyphen.
std::vector<std::string> close_words(size_t count) {
    std::mt19937 random(1);
    std::vector<std::string> words;
    for (size_t i = 0; i < count; ++i) {
        std::string word;
        for (size_t length = random() % 9; word.size() < length;) word += "abcehouE\xE9\xE8\xF4\xE6- "s[random() % 14];
        words.push_back(word);
    }
    return words;
}

std::string lines_of(const std::vector<std::string> &words) {
    std::string text;
    for (const std::string &word : words) text += word + "\n";
    return text;
}

TEST_F(Sort, LittleMemoryAndKeysGiveTheSameOrder) {
    const std::string latin = lines_of(close_words(20000)), directory = tree_ / "temporary", half = tree_ / "half";
    const std::string limits = " -S 16K -T " + directory;
    std::filesystem::create_directory(directory);
    for (const auto &[locale, text] : {std::pair("fr_FR.8859-1"s, latin), std::pair("fr_FR.utf8"s, to_utf8(latin))}) {
        for (const std::string &options : {""s, " -s"s, " -u"s, " -r"s, " -k2 -s -r"s, " -k2 -f"s}) {
            const std::string sort = "sort -l " + locale + options;
            const Result whole = client(sort, text);
            EXPECT_EQ(whole.status, 0) << whole.err;
            EXPECT_TRUE(client(sort + limits, text).out == whole.out) << sort;
            EXPECT_EQ(client(sort + " -c", whole.out).status, 0) << sort;
            const size_t middle = text.find('\n', text.size() / 2) + 1;
            write_file(half, client(sort, text.substr(0, middle)).out);
            const std::string other = client(sort, text.substr(middle)).out;
            for (const std::string &merge : {" -m "s, limits + " -m "})
                EXPECT_TRUE(client(sort + merge + half + " -", other).out == whole.out) << sort << merge;
        }
        std::istringstream keys(client("key -v -l " + locale, text).out);
        std::vector<std::string> by_key;
        for (std::string line; std::getline(keys, line);) by_key.push_back(line);
        std::sort(by_key.begin(), by_key.end());
        for (std::string &line : by_key) line.erase(0, line.find('\t') + 1);
        EXPECT_TRUE(lines_of(by_key) == client("sort -l " + locale, text).out) << locale;
    }
}

TEST_F(Sort, NoTemporaryFileSurvivesAndMemoryIsBounded) {
    const std::string directory = tree_ / "temporary", text = lines_of(close_words(1000000));
    std::filesystem::create_directory(directory);
    const auto with_limit = [&](const char *limit) {
        return run({"env", "QUORBANEDIR=" + tree_.path().string(), "prlimit", limit, QBGL, "sort", "-l", "fr_FR.8859-1", "-S", "1M",
                    "-T", directory},
                   text);
    };
    EXPECT_EQ(with_limit("--fsize=65536").status, -1); // ends by a signal when a file grows beyond that
    EXPECT_TRUE(std::filesystem::is_empty(directory));
#ifndef __SANITIZE_ADDRESS__
    const Result bounded = with_limit("--data=8388608");
    EXPECT_EQ(bounded.status, 0) << bounded.err;
    EXPECT_EQ(bounded.out.size(), text.size());
#endif
}

TEST_F(Sort, OutputMayBeInput) {
    const std::string a = tree_ / "a", b = tree_ / "b", sort = "sort -l fr_FR.8859-1 ";
    write_file(a, "d\nb\n");
    write_file(b, "c\na\nb");
    EXPECT_EQ(client(sort + b + " -o " + b).status, 0);
    EXPECT_EQ(client(sort + a + " -o " + a).status, 0);
    EXPECT_EQ(read_file(b), "a\nb\nc\n");
    EXPECT_EQ(client(sort + "-m " + a + " " + b + " -o " + a).status, 0);
    EXPECT_EQ(read_file(a), "a\nb\nb\nc\nd\n");
    for (const char *option : {"", "-m "}) {
        EXPECT_NE(client(sort + option + a + " " + b + " " + tree_.path().string() + " -o " + b).status, 0);
        EXPECT_EQ(read_file(b), "a\nb\nc\n");
    }
}

TEST_F(Sort, ExplanationsNameThePassThatDecides) {
    const struct {
        std::string locale, a, b, sentence;
    } CASES[] = {
        {"fr_FR.utf8", "côte", "coté", "before: pass 2 (backward): e has the weight 2, é has 3"},
        {"fr_FR.utf8", "Abc", "abc", "after: pass 3 (forward): A has the weight 3, a has 2"},
        {"fr_FR.8859-1", "chat", "cz", "after: pass 1 (forward): ch has the weight 31, c has 30"},
        {"fr_FR.utf8", "æ", "af", "before: pass 1 (forward): æ has the weight 34, f has 36"},
        {"fr_FR.8859-1", "æ", "ae", "after: pass 2 (backward): æ has the weight 5, e has 2"},
        {"fr_FR.8859-1", "a-b", "ab", "after: pass 4 (forward): \"ab\" has nothing left to compare with -"},
        {"fr_FR.8859-1", "", "a", "before: pass 1 (forward): \"\" has nothing left to compare with a"},
        {"ja_JP.sjis", "亜", "唖", "before: pass 1 (forward): 亜 has the code 889F, 唖 has 88A0"},
        {"th_TH.utf8", "ab", "aB", "after: pass 3 (variants): at byte 2 the keys have 03 and none"},
        {"default.lco", "é", "z", "after: code values: é has the code E9, z has 7A"},
    };
    for (const auto &[locale, a, b, sentence] : CASES) {
        SCOPED_TRACE(sentence);
        const Result result = run({"env", "QUORBANEDIR=" + tree_.path().string(), QBGL, "explain", "-l", locale, a, b});
        const size_t colon = sentence.find(':');
        const std::string last =
            "\"" + a + "\" sorts " + sentence.substr(0, colon) + " \"" + b + "\"" + sentence.substr(colon) + "\n";
        EXPECT_EQ(result.status, 0) << result.err;
        EXPECT_TRUE(result.out.ends_with(last)) << result.out;
    }
    EXPECT_EQ(client("explain -l fr_FR.utf8 æ aあ").out,
              "pass 1 (forward)\n    æ U+00E6 expanded  |\n    æ as a   26        | a  U+0061 26\n"
              "  * æ as e   34        | あ U+3042 unknown, code E38182: behind all weights\n"
              "\"æ\" sorts before \"aあ\": pass 1 (forward): æ has the weight 34, あ is unknown, code E38182\n");
    EXPECT_TRUE(client("explain -l fr_FR.utf8 aあ a\xFF").out.ends_with("あ is unknown, code E38182, \\xff is no character\n"));
    EXPECT_EQ(
        client("explain --json -l fr_FR.8859-1 A a-").out.substr(0, 297),
        R"({"a":"A","b":"a-","codeset":"8859-1","passes":[{"pass":1,"direction":"forward","rows":[)"
        R"({"a":{"text":"A","bytes":"41","sort":"weight","weight":26},"b":{"text":"a","bytes":"61","sort":"weight","weight":26}},)"
        R"({"a":null,"b":{"text":"-","bytes":"2D","sort":"ignored"}}],"difference":null},{"pass":2,"dir)");
    EXPECT_TRUE(client("explain -l fr_FR.8859-1 u ü").out.ends_with("\"u\" and \"ü\" sort alike: no pass finds a difference\n"));
    EXPECT_EQ(client("explain -l fr_FR.8859-1 aあ b").err, "qbgl: 8859-1 has no あ, which \"aあ\" needs\n");
    EXPECT_EQ(client("explain -l fr_FR.8859-1 a\xFF b").status, 2);
}

} // namespace
