// The client as its users see it: the built program is run, and its output, messages and exit status are looked at.
#include "support/files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <poll.h>
#include <regex>
#include <sstream>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace qbgl_test;
using namespace std::string_literals;

namespace {

constexpr const char *QBGL = QBGL_BINARY_DIR "/qbgl";
constexpr size_t WHOLE = 1 << 30;
const std::string OTHER_CODESET = "; is the text in another codeset (-f)? -c leaves such bytes out";

struct Result {
    int status = -1;
    std::string out, err;
};

// Puts a chunk into the pipe whenever the reader has taken the one before, until there is no more or the reader is gone.
void feed(int pipe, std::string_view input, size_t chunk) {
    for (size_t at = 0; at < input.size(); at += chunk) {
        const std::string_view part = input.substr(at, chunk);
        if (write(pipe, part.data(), part.size()) != static_cast<ssize_t>(part.size())) return;
        for (int waiting = 1; waiting > 0 && ioctl(pipe, FIONREAD, &waiting) == 0; usleep(20)) {
            pollfd state{pipe, POLLOUT, 0};
            if (poll(&state, 1, 0) == 1 && (state.revents & POLLERR) != 0) return;
        }
    }
}

Result run(std::vector<std::string> words, std::string_view input = "", size_t chunk = WHOLE) {
    const File out = stream_of(""), err = stream_of("");
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("pipe");
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[0], 0), dup2(fileno(out.get()), 1), dup2(fileno(err.get()), 2);
        close(ends[0]), close(ends[1]);
        unsetenv("QUORBANEDIR"), unsetenv("GL_PATH");
        std::vector<char *> pointers;
        for (std::string &word : words) pointers.push_back(word.data());
        pointers.push_back(nullptr);
        execvp(pointers[0], pointers.data());
        _exit(127);
    }
    signal(SIGPIPE, SIG_IGN);
    close(ends[0]);
    feed(ends[1], input, chunk);
    close(ends[1]);
    int status = 0;
    waitpid(child, &status, 0);
    rewind(out.get()), rewind(err.get());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, rest_of(out.get()), rest_of(err.get())};
}

// `arguments` are separated by blanks.
Result qbgl(const std::string &arguments, std::string_view input = "", size_t chunk = WHOLE) {
    std::istringstream stream(arguments);
    std::vector<std::string> words{QBGL};
    for (std::string word; stream >> word;) words.push_back(word);
    return run(words, input, chunk);
}

std::string sample(const std::string &name) { return read_file(QBGL_SOURCE_DIR "/examples/text/" + name + ".txt"); }

TEST(Client, TextsGoThereAndBackWhereverBlocksAreCut) {
    const std::pair<const char *, std::string> CASES[] = {
        {"japanese", "sjis"}, {"japanese", "ccsid930"}, {"japanese", "unicode"}, {"chinese_simplified", "gb18030"},
        {"korean", "ksc"},    {"german", "ebcdic"},     {"greek", "8859-7"}};
    for (const auto &[text, codeset] : CASES) {
        SCOPED_TRACE(codeset);
        const std::string original = sample(text).substr(0, 700);
        const std::string whole = original.substr(0, original.rfind('\n') + 1);
        const Result there = qbgl("conv -t " + codeset, whole);
        ASSERT_EQ(there.status, 0) << there.err;
        for (const size_t chunk : {1, 3}) {
            EXPECT_EQ(qbgl("conv -t " + codeset, whole, chunk).out, there.out) << chunk;
            EXPECT_EQ(qbgl("conv -f " + codeset, there.out, chunk).out, whole) << chunk;
        }
    }
}

TEST(Client, MessagesTellPlaceBytesReasonAndRemedy) {
    const std::string at = "qbgl: standard input:";
    const std::string lacks_it = "; choose a target (-t) that has it, or leave such characters out with -c\n";
    const struct {
        std::string arguments, input;
        int status;
        std::string out, err;
    } CASES[] = {
        {"-t 8859-1", "a\nxy\xE2\x80\x94z", 1, "a\nxy",
         at + "2:3: offset 4, bytes E2 80 94: 8859-1 has no such character of utf8" + lacks_it},
        {"-t 8859-1 -", "\xC3\xA4\xFF", 1, "\xE4", at + "1:2: offset 2, byte FF: no character of utf8" + OTHER_CODESET + "\n"},
        {"-t 8859-1", "\xE2\x82", 1, "",
         at + "1:1: offset 0, bytes E2 82: the text ends inside a character of utf8; was it cut short? -c leaves the rest out\n"},
        {"-c -t 8859-1", "a\xFF\xFE\xE2\x80\x94\xC3\xA4\xE2", 1, "a\xE4", "qbgl: 4 left out\n"},
        {"-c --report -t sjis", "ok\n\xC3\xA4\xFF", 1, "ok\na",
         at + "2:1: offset 3, bytes C3 A4: substituted by 61\n" + at + "2:2: offset 5, byte FF: no character of utf8: left out\n" +
             "qbgl: 1 substituted, 1 left out\n"},
        {"--report -t sjis", "ok", 0, "ok", "qbgl: 0 substituted, 0 left out\n"},
        {"-f unicode -t 8859-1", "a\0\n\0\x0A\x0A"s, 1, "a\n",
         at + "2:1: offset 4, bytes 0A 0A: 8859-1 has no such character of unicode" + lacks_it},
        {"-f unicode -t 8859-1 -c", "a\0b"s, 1, "a", "qbgl: 1 left out\n"},
        {"-f ccsid930 -t sjis", "\xC1\x25\x0E\x44\x81\xE0\x41\x0F", 1, "A\n\x82\xA0",
         at + "2:2: offset 5, byte E0: no character of ccsid930" + OTHER_CODESET + "\n"},
        {"-f sjis -t koi-8", "ab\n\x82\xA0", 1, "ab\n", // by way of UTF-8
         at + "2:1: offset 3, bytes 82 A0: koi-8 has no such character of sjis" + lacks_it},
        {"-f sjis -t koi-8 -c", "a\x82\xA0\x84\x40z", 1, "a\xE1z", "qbgl: 1 left out\n"},
        {"-f ccsid930 -t koi-8 -c", "\xC1\x0E\x44\x81", 1, "A", "qbgl: 1 left out\n"},
        {"-t ccsid930 -c", "\xE3\x81\x82\xEA\xB0\x80", 1, "\x0E\x44\x81\x0F", "qbgl: 1 left out\n"},
        {"-f sjis -t shift-jis", "\x82\xA0\xFF", 0, "\x82\xA0\xFF", ""},
        {"-f ja_jp.sjis", "\x82\xA0", 0, "\xE3\x81\x82", ""},
        {"-t sjis", "", 0, "", ""},
        {"-f sjos --json", "", 2, "",
         R"({"kind":"error","message":"unknown codeset sjos: the nearest are sjis, ujis, sjis-s; `qbgl conv -l` lists all",)"
         R"("codeset":"sjos","nearest":["sjis","ujis","sjis-s"],"status":2})" +
             "\n"s},
        {"--json", "", 2, "", R"({"kind":"error","message":"-f or -t is required; see `qbgl --help`","status":2})" + "\n"s},
        {"x", "", 2, "", "qbgl: -f or -t is required; see `qbgl --help`\n"},
        {"-f sjis /nosuch\x01/file", "", 3, "", "qbgl: cannot open /nosuch\\x01/file: No such file or directory\n"},
        {"-f sjis -o /dev/full", "abc", 3, "", "qbgl: cannot write /dev/full: No space left on device\n"},
    };
    for (const auto &row : CASES) {
        SCOPED_TRACE(row.arguments);
        for (const size_t chunk : {WHOLE, size_t{1}}) {
            const Result result = qbgl("conv " + row.arguments, row.input, chunk);
            EXPECT_EQ(result.status, row.status);
            EXPECT_EQ(result.out, row.out);
            EXPECT_EQ(result.err, row.err);
        }
    }
}

TEST(Client, FindingsFarIntoLargeTextsKeepTheirPlace) {
    // Lines of 9 and of 1 byte, far beyond one block, and one line that is longer than a block.
    std::string text;
    for (int i = 0; i < 30000; ++i) text += "\xE3\x81\x82 line\n\n";
    text += std::string(150000, 'x') + "\xC3\xA4\xFF";
    const Result result = qbgl("conv -t sjis --report", text);
    EXPECT_EQ(result.err.substr(0, result.err.find("; is")),
              "qbgl: standard input:60001:150001: offset 450000, bytes C3 A4: substituted by 61\n"
              "qbgl: standard input:60001:150002: offset 450002, byte FF: no character of utf8");
    std::string cyrillic = "x"; // pieces of an even length end within a character
    for (int i = 0; i < 50000; ++i) cyrillic += "\x84\x40";
    const Result two_steps = qbgl("conv -f sjis -t koi-8", cyrillic + "\x82\xA0");
    EXPECT_EQ(two_steps.out.size(), 50001U);
    EXPECT_TRUE(two_steps.err.starts_with("qbgl: standard input:1:50002: offset 100001, ")) << two_steps.err;
}

TEST(Client, FindingsAsJsonEscapeNames) {
    const TempDir directory;
    const std::string odd = directory / "a\"\n\xFF\\", printed = directory / R"(a\"\\x0a\ufffd\\)",
                      escaped = directory / R"(a\"\u000a\ufffd\\)";
    write_file(odd, "\xC3\xA4\xFF");
    EXPECT_EQ(run({QBGL, "conv", "-t", "sjis", "--json", "--report", odd}).err,
              R"({"kind":"substituted","message":")" + printed + R"(:1:1: offset 0, bytes C3 A4: substituted by 61",)" +
                  R"("finding":"substituted","file":")" + escaped +
                  R"(","line":1,"column":1,"offset":0,"bytes":"C3A4","result":"61","from":"utf8","to":"sjis"})" + "\n" +
                  R"({"kind":"error","message":")" + printed + ":1:2: offset 2, byte FF: no character of utf8" + OTHER_CODESET +
                  R"(","finding":"invalid","file":")" + escaped +
                  R"(","line":1,"column":2,"offset":2,"bytes":"FF","from":"utf8","to":"sjis","status":1})" + "\n" +
                  R"({"kind":"summary","message":"1 substituted, 0 left out","substituted":1,"left_out":0})" + "\n");
}

TEST(Client, ListsNameWhatIsThere) {
    const struct {
        std::string name, member, known_line;
    } CASES[] = {{"codesets", R"(\{"number":\d+,"ccsid":\d+,"names":\["[^"\\]+"(,"[^"\\]+")*\]\})", "\n57350 sjis shift-jis"},
                 {"conversions", R"(\{"source":"[^"\\]+","target":"[^"\\]+"\})", "\nsjis utf8\n"}};
    for (const auto &[name, member, known_line] : CASES) {
        const std::string text = qbgl("list " + name).out, json = qbgl("list " + name + " --json").out;
        EXPECT_NE(text.find(known_line), std::string::npos);
        EXPECT_EQ(std::count(json.begin(), json.end(), '\n'), std::count(text.begin(), text.end(), '\n'));
        const std::string head = "{\"" + name + "\":[", tail = "]}\n";
        ASSERT_TRUE(json.starts_with(head) && json.ends_with(tail));
        std::istringstream members(json.substr(head.size(), json.size() - head.size() - tail.size()) + ",");
        for (std::string line; std::getline(members, line);) EXPECT_TRUE(std::regex_match(line, std::regex(member + ","))) << line;
    }
    EXPECT_EQ(qbgl("conv -l").out, qbgl("list codesets").out);
}

TEST(Client, OutputFilesAreTouchedLast) {
    const TempDir directory;
    const std::string file = directory / "file", to_file = "conv -f sjis -o " + file;
    write_file(file, "kept");
    EXPECT_EQ(qbgl("conv -f nosuch -o " + file).status, 2);
    EXPECT_EQ(qbgl(to_file + " " + directory / "missing").status, 3);
    EXPECT_EQ(qbgl(to_file + " " + file).status, 2);
    EXPECT_EQ(read_file(file), "kept");
    EXPECT_EQ(qbgl(to_file, "\x82\xA0").status, 0);
    EXPECT_EQ(read_file(file), "\xE3\x81\x82");
}

TEST(Client, InstallationsThatLackSomethingSaySo) {
    const TempDir tree;
    const auto complaint = [&] {
        const Result result = run({"env", "QUORBANEDIR=" + tree.path().string(), QBGL, "conv", "-f", "sjis", "-t", "koi-8"});
        EXPECT_EQ(result.status, 3);
        return result.err;
    };
    EXPECT_TRUE(complaint().starts_with("qbgl: there is no installation tree in " + tree.path().string()));
    write_file(tree / "vrn/cm3/registry", read_file(QBGL_TREE "/vrn/cm3/registry"));
    const std::string object = tree / "vrn/cv9/e006e026.cvo";
    EXPECT_TRUE(
        complaint().ends_with("has no conversion from sjis to koi-8: `qbglc conv sjis koi-8 -o " + object + "` makes it\n"));
    write_file(object, "FILE_TYPE=codeset_conversion_object\nCOMPILER_VERSION=8\n");
    EXPECT_NE(complaint().find("is damaged or of another version"), std::string::npos);
}

TEST(Client, EightMebibytesSufficeForAnyText) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer needs memory of its own";
#endif
    std::string text;
    for (const std::string original = sample("german"); text.size() < (64U << 20);) text += original;
    const Result result = run({"prlimit", "--data=8388608", QBGL, "conv", "-t", "8859-1"}, text);
    EXPECT_EQ(result.status, 0) << result.err;
    const auto two_byte_characters = std::count_if(text.begin(), text.end(), [](char c) { return c == '\xC2' || c == '\xC3'; });
    EXPECT_EQ(result.out.size(), text.size() - static_cast<size_t>(two_byte_characters));
}

} // namespace
