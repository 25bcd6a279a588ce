// The client as its users see it: the built program is run, and its output, messages and exit status are looked at.
#include "support/files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;
using namespace std::string_literals;

namespace {

struct Result {
    int status = -1;
    std::string out, err;
};

struct Call {
    std::vector<std::string> arguments;
    std::string input = {};
    size_t chunk = 0;      // 0: all at once; otherwise this many bytes are there at a time
    std::string tree = {}; // QUORBANEDIR; unset when empty
    rlim_t data_limit = RLIM_INFINITY;
};

std::string contents(int descriptor) {
    std::string text(static_cast<size_t>(lseek(descriptor, 0, SEEK_END)), '\0');
    if (pread(descriptor, text.data(), text.size(), 0) != static_cast<ssize_t>(text.size())) throw std::runtime_error("pread");
    close(descriptor);
    return text;
}

void feed(int pipe, const Call &call) {
    for (size_t at = 0; at < call.input.size();) {
        const size_t size = call.chunk == 0 ? call.input.size() : std::min(call.chunk, call.input.size() - at);
        if (write(pipe, call.input.data() + at, size) != static_cast<ssize_t>(size)) return; // the program has ended
        at += size;
        // Until the reader has taken these, or is gone, there is nothing more.
        for (int waiting = 1; call.chunk != 0 && waiting > 0 && ioctl(pipe, FIONREAD, &waiting) == 0; usleep(20)) {
            pollfd state{pipe, POLLOUT, 0};
            if (poll(&state, 1, 0) == 1 && (state.revents & POLLERR) != 0) return;
        }
    }
}

Result run(const Call &call) {
    const int out = memfd_create("out", 0), err = memfd_create("err", 0);
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("pipe");
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[0], 0), dup2(out, 1), dup2(err, 2);
        close(ends[0]), close(ends[1]);
        signal(SIGPIPE, SIG_DFL);
        unsetenv("QUORBANEDIR"), unsetenv("GL_PATH");
        if (!call.tree.empty()) setenv("QUORBANEDIR", call.tree.c_str(), 1);
        const rlimit limit{call.data_limit, RLIM_INFINITY};
        if (call.data_limit != RLIM_INFINITY) setrlimit(RLIMIT_DATA, &limit);
        std::vector<char *> words{const_cast<char *>("qbgl")};
        for (const std::string &argument : call.arguments) words.push_back(const_cast<char *>(argument.c_str()));
        words.push_back(nullptr);
        execv(QBGL_BINARY_DIR "/qbgl", words.data());
        _exit(127);
    }
    signal(SIGPIPE, SIG_IGN);
    close(ends[0]);
    feed(ends[1], call);
    close(ends[1]);
    int status = 0;
    waitpid(child, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, contents(out), contents(err)};
}

Result conv(std::vector<std::string> arguments, std::string input, size_t chunk = 0) {
    arguments.insert(arguments.begin(), "conv");
    return run({std::move(arguments), std::move(input), chunk});
}

std::string sample(const std::string &name) { return qbgl_test::read_file(QBGL_SOURCE_DIR "/examples/text/" + name + ".txt"); }

// Behind the JSON value at the beginning of a text, or npos.
size_t behind_json(std::string_view text) {
    const auto list = [&](char end, bool members) -> size_t {
        for (size_t at = 1; at < text.size();) {
            if (text[at] == end) return at + 1;
            for (int part = members ? 0 : 1; part < 2; ++part) {
                const size_t length = behind_json(text.substr(at));
                if (length == std::string_view::npos || (part == 0 && (text[at] != '"' || text[at + length] != ':'))) return length;
                at += length + (part == 0 ? 1 : 0);
            }
            if (text[at] == ',') ++at;
            while (text[at] == '\n') ++at;
        }
        return std::string_view::npos;
    };
    if (text.empty()) return std::string_view::npos;
    if (text[0] == '{') return list('}', true);
    if (text[0] == '[') return list(']', false);
    if (text[0] != '"')
        return text.find_first_not_of("0123456789") > 0 ? text.find_first_not_of("0123456789") : std::string_view::npos;
    for (size_t at = 1; at < text.size(); ++at) {
        if (text[at] == '"') return at + 1;
        if (static_cast<unsigned char>(text[at]) < 0x20) break;
        if (text[at] == '\\') ++at;
    }
    return std::string_view::npos;
}

bool all_lines_are_json(std::string_view text) {
    while (!text.empty()) {
        const size_t behind = behind_json(text);
        if (behind == std::string_view::npos || text.substr(behind, 1) != "\n") return false;
        text.remove_prefix(behind + 1);
    }
    return true;
}

TEST(Client, TextsGoThereAndBackWhereverBlocksAreCut) {
    const struct {
        const char *text, *codeset;
    } CASES[] = {{"japanese", "sjis"}, {"japanese", "ccsid930"}, {"japanese", "unicode"}, {"chinese_simplified", "gb18030"},
                 {"korean", "ksc"},    {"german", "ebcdic"},     {"greek", "8859-7"}};
    for (const auto &[text, codeset] : CASES) {
        SCOPED_TRACE(codeset);
        const std::string original = sample(text).substr(0, 700);
        const std::string whole = original.substr(0, original.rfind('\n') + 1);
        const Result there = conv({"-t", codeset}, whole);
        ASSERT_EQ(there.status, 0) << there.err;
        for (const size_t chunk : {1, 3}) {
            EXPECT_EQ(conv({"-t", codeset}, whole, chunk).out, there.out) << chunk;
            const Result back = conv({"-f", codeset}, there.out, chunk);
            EXPECT_EQ(back.out, whole) << chunk << back.err;
        }
    }
}

TEST(Client, MessagesTellPlaceBytesReasonAndRemedy) {
    const struct {
        const char *name;
        std::vector<std::string> arguments;
        std::string input;
        int status;
        std::string out, err;
    } CASES[] = {
        {"unmapped",
         {"-t", "8859-1"},
         "a\nxy\xE2\x80\x94z",
         1,
         "a\nxy",
         "qbgl: standard input:2:3: offset 4, bytes E2 80 94: 8859-1 has no such character of utf8; choose a target (-t) that has "
         "it, or "
         "leave such characters out with -c\n"},
        {"invalid",
         {"-t", "8859-1", "-"},
         "\xC3\xA4\xFF",
         1,
         "\xE4",
         "qbgl: standard input:1:2: offset 2, byte FF: no character of utf8; is the text in another codeset (-f)? -c leaves such "
         "bytes "
         "out\n"},
        {"incomplete",
         {"-t", "8859-1"},
         "\xE2\x82",
         1,
         "",
         "qbgl: standard input:1:1: offset 0, bytes E2 82: the text ends inside a character of utf8; was it cut short? -c leaves "
         "the rest "
         "out\n"},
        {"left out", {"-c", "-t", "8859-1"}, "a\xFF\xFE\xE2\x80\x94\xC3\xA4\xE2", 1, "a\xE4", "qbgl: 4 left out\n"},
        {"report",
         {"-c", "--report", "-t", "sjis"},
         "ok\n\xC3\xA4\xFF",
         1,
         "ok\na",
         "qbgl: standard input:2:1: offset 3, bytes C3 A4: substituted by 61\n"
         "qbgl: standard input:2:2: offset 5, byte FF: no character of utf8: left out\n"
         "qbgl: 1 substituted, 1 left out\n"},
        {"report of nothing", {"--report", "-t", "sjis"}, "ok", 0, "ok", "qbgl: 0 substituted, 0 left out\n"},
        {"little-endian lines",
         {"-f", "unicode", "-t", "8859-1"},
         "a\0\n\0\x0A\x0A"s,
         1,
         "a\n",
         "qbgl: standard input:2:1: offset 4, bytes 0A 0A: 8859-1 has no such character of unicode; choose a target (-t) that has "
         "it, or "
         "leave such characters out with -c\n"},
        {"little-endian cut", {"-f", "unicode", "-t", "8859-1", "-c"}, "a\0b"s, 1, "a", "qbgl: 1 left out\n"},
        {"EBCDIC lines",
         {"-f", "ccsid930", "-t", "sjis"},
         "\xC1\x25\x0E\x44\x81\xE0\x41\x0F"s,
         1,
         "",
         "qbgl: standard input:2:2: offset 5, byte"},
        {"two steps",
         {"-f", "sjis", "-t", "koi-8"},
         "ab\n\x82\xA0",
         1,
         "ab\n",
         "qbgl: standard input:2:1: offset 3, bytes 82 A0: koi-8 has no such character of sjis; choose a target (-t) that has it, "
         "or leave "
         "such characters out with -c\n"},
        {"two steps, left out", {"-f", "sjis", "-t", "koi-8", "-c"}, "a\x82\xA0\x84\x40z", 1, "a\xE1z", "qbgl: 1 left out\n"},
        {"shifted target is closed",
         {"-f", "utf8", "-t", "ccsid930", "-c"},
         "\xE3\x81\x82\xEA\xB0\x80",
         1,
         "\x0E\x44\x81\x0F",
         "qbgl: 1 left out\n"},
        {"same codeset", {"-f", "sjis", "-t", "shift-jis"}, "\x82\xA0\xFF", 0, "\x82\xA0\xFF", ""},
        {"locale", {"-f", "ja_jp.sjis"}, "\x82\xA0", 0, "\xE3\x81\x82", ""},
        {"empty", {"-t", "sjis"}, "", 0, "", ""},
        {"unknown", {"-f", "sjos"}, "", 2, "", "qbgl: unknown codeset sjos: the nearest are sjis, "},
        {"no codeset", {"x"}, "", 2, "", "qbgl: -f or -t is required; see `qbgl --help`\n"},
        {"unknown option", {"-f", "sjis", "--nosuch"}, "", 2, "", "qbgl: The following argument was not expected: --nosuch"},
        {"no file",
         {"-f", "sjis", "/nosuch\x01/file"},
         "",
         3,
         "",
         "qbgl: cannot open /nosuch\\x01/file: No such file or directory\n"},
        {"full disk", {"-f", "sjis", "-o", "/dev/full"}, "abc", 3, "", "qbgl: cannot write /dev/full: No space left on device\n"},
    };
    for (const auto &row : CASES) {
        SCOPED_TRACE(row.name);
        for (const size_t chunk : {0, 1}) {
            const Result result = conv(row.arguments, row.input, chunk);
            EXPECT_EQ(result.status, row.status);
            if (!row.out.empty() || row.status != 1) {
                EXPECT_EQ(result.out, row.out);
            }
            // A row may give the beginning of a message only.
            EXPECT_EQ(row.err.ends_with('\n') ? result.err : result.err.substr(0, row.err.size()), row.err);
        }
    }
}

TEST(Client, FindingsFarIntoLargeTextsKeepTheirPlace) {
    // Lines of 10 bytes, far beyond one block, and one line that is longer than a block.
    std::string text;
    for (int i = 0; i < 30000; ++i) text += "\xE3\x81\x82 line\n\n";
    text += std::string(150000, 'x') + "\xC3\xA4\xFF";
    const Result result = conv({"-t", "sjis", "--report"}, text);
    EXPECT_EQ(result.err.substr(0, result.err.find("; is")),
              "qbgl: standard input:60001:150001: offset 450000, bytes C3 A4: substituted by 61\n"
              "qbgl: standard input:60001:150002: offset 450002, byte FF: no character of utf8");
    const Result two_steps = conv({"-f", "sjis", "-t", "koi-8"}, std::string(100001, 'x') + "\x82\xA0");
    EXPECT_EQ(two_steps.out.size(), 100001U);
    EXPECT_EQ(two_steps.err.substr(0, 46), "qbgl: standard input:1:100002: offset 100001, ");
}

TEST(Client, MachineReadableOutputParses) {
    const qbgl_test::TempDir directory;
    const std::string odd = directory / "a\"\n\xFF\\.txt";
    std::ofstream(odd) << "\xC3\xA4\xFF";
    const Result finding = run({{"conv", "-t", "sjis", "--json", "--report", odd}});
    EXPECT_EQ(finding.status, 1);
    EXPECT_TRUE(all_lines_are_json(finding.err)) << finding.err;
    EXPECT_NE(finding.err.find(R"("finding":"invalid","file":")"), std::string::npos);
    EXPECT_NE(finding.err.find(R"(a\"\u000a\ufffd\\.txt","line":1,"column":2,"offset":2,"bytes":"FF","from":"utf8","to":"sjis")"),
              std::string::npos);
    for (const auto &arguments :
         {std::vector<std::string>{"list", "codesets", "--json"}, {"list", "conversions", "--json"}, {"conv", "-l", "--json"}}) {
        const Result list = run({arguments});
        EXPECT_EQ(list.status, 0);
        EXPECT_TRUE(all_lines_are_json(list.out) && list.out.size() > 1000) << list.out.substr(0, 300);
    }
    const Result unknown = run({{"conv", "-f", "sjos", "--json"}});
    EXPECT_TRUE(all_lines_are_json(unknown.err) && unknown.err.find(R"("nearest":["sjis",)") != std::string::npos) << unknown.err;
    EXPECT_TRUE(all_lines_are_json(run({{"conv", "--json"}}).err));
}

TEST(Client, ListsNameWhatIsThere) {
    EXPECT_NE(run({{"list", "codesets"}}).out.find("57350 sjis shift-jis"), std::string::npos);
    EXPECT_NE(run({{"list", "conversions"}}).out.find("\nsjis utf8\n"), std::string::npos);
}

TEST(Client, OutputFilesAreTouchedLast) {
    const qbgl_test::TempDir directory;
    const std::string file = directory / "file";
    std::ofstream(file) << "kept";
    EXPECT_EQ(run({{"conv", "-f", "nosuch", "-o", file}}).status, 2);
    EXPECT_EQ(run({{"conv", "-f", "sjis", "-o", file, directory / "missing"}}).status, 3);
    EXPECT_EQ(run({{"conv", "-f", "sjis", "-o", file, file}}).status, 2);
    EXPECT_EQ(qbgl_test::read_file(file), "kept");
    EXPECT_EQ(run({{"conv", "-f", "sjis", "-o", file}, "\x82\xA0"}).status, 0);
    EXPECT_EQ(qbgl_test::read_file(file), "\xE3\x81\x82");
}

TEST(Client, InstallationsThatLackSomethingSaySo) {
    const qbgl_test::TempDir directory;
    const Result none = run({{"conv", "-f", "sjis"}, "", 0, directory / "nosuch"});
    EXPECT_EQ(none.status, 3);
    EXPECT_NE(none.err.find("there is no installation tree in " + (directory / "nosuch")), std::string::npos) << none.err;

    const fs::path vrn = fs::path(directory / "tree") / "vrn";
    fs::create_directories(vrn / "cm3");
    fs::create_directories(vrn / "cv9");
    fs::copy(QBGL_TREE "/vrn/cm3/registry", vrn / "cm3");
    const auto complaint = [&] {
        const Result result = run({{"conv", "-f", "sjis", "-t", "koi-8"}, "", 0, directory / "tree"});
        EXPECT_EQ(result.status, 3);
        return result.err;
    };
    EXPECT_NE(complaint().find("has no conversion from sjis to koi-8: `qbglc conv sjis koi-8 -o " + (vrn / "cv9").string() +
                               "/e006e026.cvo` makes it\n"),
              std::string::npos);
    std::ofstream(vrn / "cv9" / "e006e026.cvo") << "FILE_TYPE=codeset_conversion_object\nCOMPILER_VERSION=8\n";
    EXPECT_NE(complaint().find("is damaged or of another version"), std::string::npos);
}

TEST(Client, EightMebibytesSufficeForAnyText) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer needs memory of its own";
#endif
    std::string text;
    for (const std::string original = sample("german"); text.size() < (64U << 20);) text += original;
    const Result result = run({{"conv", "-t", "8859-1"}, text, 0, "", 8 << 20});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out.size(), text.size() - static_cast<size_t>(std::count(text.begin(), text.end(), '\xC3')) -
                                     static_cast<size_t>(std::count(text.begin(), text.end(), '\xC2')));
}

} // namespace
