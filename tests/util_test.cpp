#include "support/faults.h"
#include "support/files.h"

#include "util/lines.h"
#include "util/list.h"
#include "util/log.h"
#include "util/search.h"

#include <algorithm>
#include <climits>
#include <gtest/gtest.h>
#include <optional>
#include <sys/stat.h>
#include <utility>
#include <vector>

namespace {

using namespace qbgl_test;
using std::string;

// What a body writes to standard output, with the log's switches read already or not.
template <class Body> string output_of(int32_t initialized, int32_t echo, Body body) {
    qbgl::vrn_logging = 0;
    qbgl::vrn_debug_initialized = initialized;
    qbgl::vrn_popups = echo;
    testing::internal::CaptureStdout();
    body();
    qbgl::vrn_logging = qbgl::vrn_popups = 0;
    return testing::internal::GetCapturedStdout();
}

TEST(Log, SwitchesFoldCaseDifferently) {
    const TempDir directory;
    const ScopedDirectory inside(directory.path());
    using Case = std::tuple<const char *, bool, bool>;
    for (const auto &[value, log, echo] :
         {Case{"Only", true, true}, Case{"ON", true, false}, Case{"o", false, false}, Case{nullptr, false, false}}) {
        SCOPED_TRACE(value != nullptr ? value : "unset");
        const ScopedEnv log_switch("VRNLOG", value), echo_switch("VRNDEBUG", value);
        const string echoed = output_of(0, 0, [] {
            gl_message("first");
            const ScopedEnv too_late("VRNLOG", "on");
            gl_message("100%s");
        });
        EXPECT_EQ(echoed, echo ? "VRN: first\nVRN: 100%s\n" : "");
        ASSERT_EQ(std::filesystem::exists("vrn.log"), log);
        if (!log) continue;
        string text = read_file("vrn.log");
        EXPECT_EQ(text.replace(std::min<size_t>(21, text.size()), 24, "DATE"), "----\nVRN log started DATE\n----\nfirst\n100%s\n");
        std::filesystem::remove("vrn.log");
    }
    std::filesystem::create_directory("vrn.log"); // which cannot be opened
    const ScopedEnv log_switch("VRNLOG", "on");
    output_of(0, 0, [] {
        gl_message("lost");
        EXPECT_EQ(qbgl::vrn_logging, 1);
    });
}

TEST(Log, GoesToTheHostsFunctionWhateverTheSwitchesSay) {
    std::vector<string> told;
    const auto keep = [](const char *text, void *data) { static_cast<std::vector<string> *>(data)->emplace_back(text); };
    gl_set_log(keep, &told);
    for (const int32_t echo : {0, 1}) output_of(1, echo, [] { gl_message("100%s"); });
    gl_set_log(nullptr, &told);
    gl_message("lost");
    EXPECT_EQ(told, (std::vector<string>{"100%s", "100%s"}));
}

TEST(Log, AssertionStopsAndExitClosesADebugStreamOnce) {
    EXPECT_EXIT(gl_assert_failed("a.cpp", 12), testing::ExitedWithCode(1), "^Assert in a.cpp at line 12 failed.\n$");
    const Faults faults;
    pg_have_debug_file = 1;
    pg_debug_file = std::tmpfile();
    for (int twice = 0; twice < 2; ++twice) _gl_exit_utilities();
    EXPECT_EQ(faults.count(Operation::close), 1U);
    EXPECT_EQ(pg_debug_file, nullptr);
}

TEST(Util, NumbersWrapWithinTheirBytes) {
    EXPECT_EQ(_gl_alloc_ptr(0), nullptr);
    EXPECT_EQ(_gl_digits(INT_MIN, 10), 10);
    EXPECT_EQ(_gl_udigits(UINT_MAX, 2), 32);
    EXPECT_EQ(_gl_ipow(10, 10), 1410065408U);
    EXPECT_EQ(_gl_ipow(7, -2), 1U);
    EXPECT_EQ(_gl_fpow(2, -3), 0.125);
    const std::tuple<gl_desc, int, gl_wchar> moved[] = {{{2, {0x81, 0xFF}}, 1, 0x8200}, {{2, {0, 0}}, -1, 0xFFFF},
                                                        {{2, {0, 0xFF}}, 0xFFFF, 0xFE}, {{3, {1, 0, 0}}, -0x101, 0xFEFF},
                                                        {{4, {0x80}}, INT_MIN, 0},      {{2, {0x8E, 0xA1, 7}}, 0, 0x8EA1}};
    for (const auto &[desc, offset, value] : moved) {
        gl_desc result = {};
        _gl_desc_offset(&desc, offset, &result);
        EXPECT_EQ(_gl_desc_to_gl_wchar(&result), value);
    }
    const gl_desc one = {1, {5, 1}}, same = {1, {5, 2}}, two = {2, {5, 1}}, other = {2, {5, 2}};
    EXPECT_EQ((std::tuple{_gl_desc_eq(&one, &same), _gl_desc_eq(&one, &two), _gl_desc_eq(&two, &other)}), std::tuple(1, 0, 0));
}

std::vector<string> tried;
FILE *open_nothing(const char *path, const char *mode) {
    tried.emplace_back(mode + string(" ") + path);
    return nullptr;
}

class PathSearch : public testing::Test {
  protected:
    const TempDir directory;
    const string root = directory.path().string();
    const ScopedEnv gl_path{"GL_PATH", nullptr}, base{"QUORBANEDIR", root};
    int32_t error = 42;
};

const gl_file_functions RECORDING = {_gl_ext_malloc, _gl_ext_free, open_nothing, nullptr};

TEST_F(PathSearch, TriesThePlacesInOrder) {
    const string longest = "/" + string(255, 'h'), below_longest = longest + "/vrn/lc", fifo = root + "/fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const struct {
        std::optional<string> named; // by the host
        int result;
        const char *gl_path, *base, *name, *version;
        std::vector<string> tried;
        const char *rpath;
    } cases[] = {
        {{}, 0, ":/nil/a::/nil/b:", "/nil", "x.lco", "11", {"r /nil/a/x.lco", "r /nil/b/x.lco"}, "/nil/b"},
        {{}, 0, ":::", "/nil", "x.lco", "11", {}, nullptr},
        {{}, 0, nullptr, "/nil", "x.lco", "11", {"r /nil/vrn/lc11/x.lco", "r /nil/vrn/lc/x.lco"}, "/nil/vrn/lc"},
        {{}, 0, "", "", "0/x", nullptr, {"r " QBGL_DEFAULT_DIRECTORY "/vrn/lc/0/x"}, QBGL_DEFAULT_DIRECTORY "/vrn/lc"},
        {{}, 0, "/nil/a", "/nil", "/nil/x", "11", {"r /nil/x"}, "/"},
        {{}, 0, nullptr, "/nil", fifo.c_str(), "11", {}, "/"}, // nobody would write into it
        {"/host", 0, nullptr, "", "x", "", {"r /host/vrn/lc/x"}, "/host/vrn/lc"},
        {"/host", 0, nullptr, "/variable", "x", "", {"r /variable/vrn/lc/x"}, "/variable/vrn/lc"},
        {longest, 0, nullptr, nullptr, "x", "", {"r " + below_longest + "/x"}, below_longest.c_str()},
        {longest + "h", -1, nullptr, nullptr, "x", "", {"r " + below_longest + "/x"}, below_longest.c_str()},
        {"", 0, nullptr, nullptr, "x", "", {"r " QBGL_DEFAULT_DIRECTORY "/vrn/lc/x"}, QBGL_DEFAULT_DIRECTORY "/vrn/lc"},
        {"/host", 0, nullptr, nullptr, "x", "", {"r /host/vrn/lc/x"}, "/host/vrn/lc"},
        {{}, 0, nullptr, nullptr, "x", "", {"r " QBGL_DEFAULT_DIRECTORY "/vrn/lc/x"}, QBGL_DEFAULT_DIRECTORY "/vrn/lc"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.named.value_or("none") << " " << c.name);
        const ScopedEnv list("GL_PATH", c.gl_path), tree("QUORBANEDIR", c.base);
        string named = c.named.value_or("");
        EXPECT_EQ(gl_set_directory(c.named ? named.c_str() : nullptr), c.result);
        named.assign(named.size(), '?'); // it was copied
        tried.clear();
        char *rpath = nullptr;
        EXPECT_EQ(gl_path_search1(&error, c.name, &rpath, "lc", c.version, &RECORDING), nullptr);
        EXPECT_EQ(std::exchange(error, 0), GL_ENOFILE);
        EXPECT_EQ(tried, c.tried);
        EXPECT_STREQ(rpath, c.rpath);
        gl_destroystring(rpath);
        EXPECT_EQ(gl_path_search(nullptr, c.name, "lc", c.version), nullptr); // a null context is fine
    }
}

TEST_F(PathSearch, ALaterSuccessKeepsTheEarlierErrorNumber) {
    const string plain = root + "/vrn/lc";
    write_file(plain + "/x", "found");
    string cookie_name = plain + "/x";
    std::replace(cookie_name.begin(), cookie_name.end(), '/', qbgl::PATH_COOKIE);
    for (const string &list : {"/nil:" + plain, string()}) {
        const ScopedEnv gl_path_here("GL_PATH", list);
        const File file(gl_path_search(&error, "x", "lc", "11"), fclose);
        ASSERT_NE(file, nullptr);
        EXPECT_EQ(rest_of(file.get()), "found");
        const Faults faults;
        // The first uses libc's functions throughout; a name with a cookie is opened, and so closed, through the table by both.
        for (const auto search : {gl_path_search_no_ext_rpath, gl_path_search_rpath}) {
            char *rpath = search(nullptr, &error, "x", "lc", "11");
            EXPECT_STREQ(rpath, plain.c_str());
            const bool by_table = search == gl_path_search_rpath;
            EXPECT_EQ(faults.blocks(), by_table ? 1U : 0U);
            (by_table ? _gl_ext_free : free)(rpath);
            char initial[] = "handed back";
            EXPECT_EQ(search(initial, &error, cookie_name.c_str(), "lc", "11"), initial);
            EXPECT_EQ(faults.streams(), 0U);
            EXPECT_EQ(faults.count(Operation::open), by_table ? 4U : 1U);
            EXPECT_EQ(search(nullptr, nullptr, "y", "lc", "11"), nullptr);
        }
        EXPECT_EQ(error, 42);
    }
}

TEST_F(PathSearch, TheBaseHasAtMost256Characters) {
    for (const size_t length : {256, 257}) {
        const ScopedEnv tree("QUORBANEDIR", "/" + string(length - 1, 'd'));
        const string echoed = output_of(1, 1, [&] { EXPECT_EQ(gl_path_search(&error, "x", "lc", ""), nullptr); });
        EXPECT_EQ(echoed, length == 256 ? "VRN: Could not open: /" + string(255, 'd') + "/vrn/lc/x\n"
                                        : "VRN: Environment variable QUORBANEDIR cannot be greater than 256 characters\n");
        EXPECT_EQ(std::exchange(error, 0), GL_ENOFILE);
    }
}

TEST_F(PathSearch, LongPathsFailCleanlyWithoutMemory) {
    string deep = root;
    while (deep.size() < 1100) deep += "/" + string(200, 'd');
    write_file(deep + "/x", "");
    const ScopedEnv list("GL_PATH", deep + "/nil:" + deep); // a lack of memory in the first place ends the search
    for_each_fault(Operation::allocate, [&](const Faults &faults) {
        error = 0;
        char *rpath = gl_path_search_rpath(nullptr, &error, "x", "lc", "11");
        EXPECT_EQ(rpath != nullptr, !faults.hit());
        EXPECT_EQ(error, faults.hit() ? GL_ENOMEM : 0);
        gl_destroystring(rpath);
        if (FILE *stream = gl_open_file(&error, (deep + "\xFFx").c_str())) _gl_ext_fclose(stream);
        EXPECT_EQ(error, faults.hit() ? GL_ENOMEM : 0);
    });
}

// Reads from a text, from libc directly and through replaced slots.
template <class Read, class Value> void expect_read(const string &text, Read read, Value value, const string &rest) {
    SCOPED_TRACE(text);
    std::optional<Faults> replaced;
    for (int round = 0; round < 2; ++round) {
        const File file = stream_of(text);
        EXPECT_EQ(read(file.get()), value);
        EXPECT_EQ(rest_of(file.get()), rest);
        if (round == 0) replaced.emplace();
    }
}

TEST(Tokens, Numbers) {
    expect_read("  7;", _gl_get_int, 7, ";"); // the second blank is lost as the first character
    expect_read("x89.", _gl_get_int, 89, ".");
    expect_read("-45 6", _gl_get_int, -45, " 6");
    expect_read("", _gl_get_int, 0, "");
    expect_read(string(39, '0') + "123,", _gl_get_int, 1, ","); // 40 characters count
    expect_read("-" + string(60, '9'), _gl_get_int, LONG_MIN, "");
    expect_read("-2.25E-1\n", _gl_get_dbl, -0.225, "\n");
    expect_read(string(79, '0') + "789", _gl_get_dbl, 7.0, "789"); // the 80th character is read twice
    const auto hex = [](int digits) { return [digits](FILE *file) { return _gl_get_hex(file, digits); }; };
    expect_read("afgAF\xFF", hex(6), 0xAF0AF0U, "");
    expect_read("123456789a", hex(10), 0x12345678U, "9a");
    expect_read("1f", hex(3), 0x1F0U, "");
    expect_read("5Cx", _gl_get_hex_byte, 0x5CU, "x");
}

TEST(Tokens, WordsAndSkips) {
    using Word = std::pair<int, string>;
    const auto word = [](int size) {
        return [size](FILE *file) {
            std::vector<char> buffer(static_cast<size_t>(size));
            const int result = _gl_get_str(buffer.data(), size, file);
            return Word(result, size > 0 ? buffer.data() : "");
        };
    };
    expect_read("word\n", word(5), Word(0, "word"), "\n"); // ends where the room ends
    expect_read("word next", word(4), Word(-1, "wor"), "d next");
    expect_read("word", word(0), Word(-1, ""), "word");
    const auto skip = [](void (*skipper)(FILE *)) { return [skipper](FILE *file) { return skipper(file), true; }; };
    expect_read(" \t\n\v\f\rx ", skip(_gl_skip_whitespace), true, "x ");
    expect_read("\tx", skip(_gl_skip_space_if_needed), true, "\tx");
    expect_read("\n\n", _gl_skip_nl, 1, "\n");
    expect_read("x\n", _gl_skip_nl, 0, "x\n");

    char whole[] = "text\n";
    EXPECT_EQ(qbgl::replace_nl(whole), 0);
    EXPECT_EQ(qbgl::replace_nl(whole), 1);
    EXPECT_STREQ(whole, "text");
}

TEST(Tokens, OnlyWideHexadecimalFieldsUseTheFgetcSlot) {
    int (*const seven)(FILE *) = [](FILE *) -> int { return '7'; };
    gl_setextfunc(nullptr, GL_EXT_FGETC, reinterpret_cast<gl_extfunc>(seven));
    const File file = stream_of("12");
    EXPECT_EQ(_gl_get_hex(file.get(), 2), 0x77U);
    EXPECT_EQ(_gl_get_hex_byte(file.get()), 0x12U);
    gl_setextfunc(nullptr, GL_EXT_FGETC, nullptr);
}

string contents(const gl_list &list) {
    string forward, backward;
    for (auto *node = list.first; node != nullptr; node = node->next) forward += static_cast<char *>(node->data);
    for (auto *node = list.last; node != nullptr; node = node->prev) backward.insert(0, static_cast<char *>(node->data));
    EXPECT_EQ(forward, backward);
    return forward;
}

// Nodes hold copies, which stay when they go.
TEST(List, InsertsAndDeletesUnlessMemoryIsOut) {
    for_each_fault(Operation::allocate, [](const Faults &faults) {
        gl_list list;
        _gl_list_create(&list);
        std::vector<void *> copies;
        const auto insert = [&](const char *data, gl_list_node *before) {
            gl_list_node *const node = _gl_list_insert(data, 2, before, &list);
            if (node != nullptr) copies.push_back(node->data);
            return node;
        };
        gl_list_node *const c = insert("c", nullptr), *const a = insert("a", c), *const b = insert("b", c),
                            *const d = insert("d", nullptr);
        EXPECT_EQ(contents(list), string(a ? "a" : "") + (b ? "b" : "") + (c ? "c" : "") + (d ? "d" : ""));
        EXPECT_EQ(copies.size() < 4, faults.hit());
        if (!faults.hit()) {
            EXPECT_EQ(qbgl::list_delete(b, &list), c);
            EXPECT_EQ(qbgl::list_delete(a, &list), c);
            EXPECT_EQ(qbgl::list_delete(d, &list), nullptr);
            EXPECT_EQ(contents(list), "c");
        }
        _gl_list_dispose(&list);
        EXPECT_EQ(contents(list), "");
        EXPECT_EQ(faults.blocks(), copies.size());
        for (void *copy : copies) _gl_free_ptr(copy);
    });
}

} // namespace
