#include "spec/registry.h"
#include "spec/text.h"
#include "support/faults.h"
#include "support/files.h"

#include <gtest/gtest.h>
#include <random>
#include <set>
#include <vector>

namespace {

using namespace qbgl_test;
using qbgl::RegistryEntry;
using std::string;

constexpr int UNTOUCHED = 99;

// Number and error of a look-up.
using Answer = std::pair<int, int>;

class Registry : public testing::Test {
  protected:
    void SetUp() override { gl_free_registry_cache(); }
    void TearDown() override { gl_free_registry_cache(); }

    Answer look_up(const char *name, const char *registry_path) {
        int32_t error = UNTOUCHED;
        const uint16_t number = gl_cs_name2cs_num(&error, name, registry_path);
        EXPECT_EQ(gl_cs_name2cs_num(nullptr, name, registry_path), number);
        return {number, error};
    }
    // Result and error.
    Answer cache(const char *registry_path) {
        int32_t error = UNTOUCHED;
        const int result = gl_cache_registry(&error, registry_path);
        return {result, error};
    }
    string file_of(const string &content) {
        write_file(directory / "registry", content);
        return directory / "registry";
    }

    TempDir directory;
    ScopedEnv base{"QUORBANEDIR", directory.path().string()}, no_path{"GL_PATH", nullptr};
};

constexpr char GOOD[] = "# name number\n"
                        "8859-1 819 iso 8859-1\n"
                        "  # another # comment\n#\n"
                        "\n SJIS\t57350 # of Japan\n"
                        "next\n 17\n"
                        "foo 70000\nfoo 5\n#9 9\nx#9 9\n"
                        "abcdefghijklmnopqrstu 21\n"
                        "123 456x\nlast 65535\n";

TEST_F(Registry, AnswersFromFileAndCache) {
    const struct {
        const char *name;
        int number;
    } known[] = {{"8859-1", 819},
                 {"sjis", 57350},
                 {"SjIs", 57350},
                 {"next", 17},
                 {"x#9", 9},
                 {"123", 456},
                 {"last", 65535},
                 {"foo", 4464},
                 {"abcdefghijklmnopqrstu", 21},
                 {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcd", 21},
                 {"819", 819},
                 {"0819", 819},
                 {"65535", 65535},
                 {"57344", 57344},
                 {"0000000000000000000008191", 0}};
    const char *const unknown[] = {"65536", "99999999999999999999999", "12a", "-1", "", nullptr, "#9",
                                   "iso",   "abcdefghijklmnopqrst",    "utf8"};
    const string path = file_of(GOOD); // of "foo" the first counts, modulo 65536; digits that are no name are a number
    for (const char *const registry_path : {path.c_str(), "/nowhere"}) {
        for (const auto &k : known) EXPECT_EQ(look_up(k.name, registry_path), Answer(k.number, UNTOUCHED)) << k.name;
        for (const char *name : unknown)
            EXPECT_EQ(look_up(name, registry_path), Answer(GL_NO_CODESET, GL_EINVAL)) << (name != nullptr ? name : "null");
        // The second round is served by the cache, which no longer asks for the file.
        EXPECT_EQ(cache(path.c_str()), Answer(0, UNTOUCHED));
        EXPECT_EQ(qbgl::vrn_registry_array_cache, nullptr);
    }
    gl_free_registry_cache();
    EXPECT_EQ(look_up("sjis", "/nowhere"), Answer(GL_NO_CODESET, GL_ENODATA));
}

TEST_F(Registry, DamagedFiles) {
    constexpr Answer FOUND{1, UNTOUCHED}, DIGITS{7, UNTOUCHED}, UNKNOWN{GL_NO_CODESET, GL_EINVAL}, BAD{GL_NO_CODESET, GL_EBADFILE};
    constexpr int BUILT_IN = -1;
    const string name_of_22(22, 'n');
    const struct {
        string content;
        Answer one, seven; // look-ups of "one" and "7" in the file
        int cached;        // entries in the cache, or BUILT_IN with GL_EBADFILE
    } cases[] = {
        {"one 1\n", FOUND, DIGITS, 1},
        {"", UNKNOWN, DIGITS, 0},
        {"# one 1", UNKNOWN, DIGITS, 0},
        {"one 1", BAD, BAD, BUILT_IN},
        {"one 1 ", FOUND, BAD, 1},
        {"one", UNKNOWN, DIGITS, 0}, // nothing follows the name: it is none
        {"one ", BAD, BAD, BUILT_IN},
        {"one\n", BAD, BAD, BUILT_IN},
        {"one -1\n", BAD, DIGITS, BUILT_IN},
        {"one 0x1\none 1\n", {0, UNTOUCHED}, DIGITS, 2},
        {"one # 1\n", BAD, DIGITS, BUILT_IN},
        {"one 57344\n", BAD, DIGITS, BUILT_IN}, // the number of no codeset
        {"zero x\none 1\n", FOUND, DIGITS, BUILT_IN},
        {"zero 0\n" + name_of_22 + " 5\none 1\n", UNKNOWN, DIGITS, 1}, // ends the reading
        {"\xEF\xBB\xBFone 1\n", UNKNOWN, DIGITS, BUILT_IN},
        {"one\a1\n", FOUND, DIGITS, 1},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.content);
        const string path = file_of(c.content);
        EXPECT_EQ(look_up("one", path.c_str()), c.one);
        EXPECT_EQ(look_up("7", path.c_str()), c.seven);
        const bool built_in = c.cached == BUILT_IN;
        EXPECT_EQ(cache(path.c_str()), built_in ? Answer(-1, GL_EBADFILE) : Answer(0, UNTOUCHED));
        int entries = 0;
        for (const RegistryEntry *entry = qbgl::vrn_registry_list_cache; entry != nullptr; entry = entry->next) ++entries;
        EXPECT_EQ(entries, built_in ? 0 : c.cached);
        EXPECT_EQ(qbgl::vrn_registry_array_cache, built_in ? qbgl::vrn_canned_registry : nullptr);
        gl_free_registry_cache();
    }
    // A file that cannot be read is not an empty one.
    EXPECT_EQ(look_up("one", directory.path().c_str()), Answer(GL_NO_CODESET, GL_EBADFILE));
    EXPECT_EQ(cache(directory.path().c_str()), Answer(-1, GL_EBADFILE));
}

TEST_F(Registry, IsSearchedInTheInstallation) {
    EXPECT_EQ(look_up("sjis", nullptr), Answer(GL_NO_CODESET, GL_ENODATA));
    EXPECT_EQ(cache(""), Answer(-1, GL_ENODATA));
    EXPECT_EQ(look_up("sjis", nullptr), Answer(57350, UNTOUCHED)); // now the built-in table serves
    gl_free_registry_cache();

    int32_t error = GL_ENOMEM; // older than the failure, and yet it stays
    EXPECT_EQ(gl_cs_name2cs_num(&error, "sjis", "/nowhere"), GL_NO_CODESET);
    EXPECT_EQ(error, GL_ENOMEM);

    write_file(directory.path() / "vrn/cm3/registry", "sjis 3\n");
    EXPECT_EQ(look_up("sjis", nullptr), Answer(3, UNTOUCHED));
    EXPECT_EQ(look_up("sjis", ""), Answer(GL_NO_CODESET, GL_ENODATA)); // empty means search only when caching
    for (const char *const searched : {static_cast<const char *>(nullptr), ""}) {
        EXPECT_EQ(cache(searched), Answer(0, UNTOUCHED));
        EXPECT_EQ(look_up("sjis", nullptr), Answer(3, UNTOUCHED));
    }
    EXPECT_EQ(gl_cache_registry(nullptr, "/nowhere"), -1);
    EXPECT_EQ(qbgl::vrn_registry_list_cache, nullptr);
}

TEST_F(Registry, BuiltInTable) {
    std::set<string> names;
    int rows = 0;
    for (const auto *row = qbgl::vrn_canned_registry; row->name != nullptr; ++row, ++rows) {
        EXPECT_LE(string(row->name).size(), size_t{qbgl::CODESET_NAME_MAX});
        EXPECT_TRUE(row->number < 0x10000 && row->number != GL_NO_CODESET) << row->name;
        names.insert(row->name);
    }
    EXPECT_EQ(rows, 123);
    EXPECT_EQ(names.size(), 122u); // one stands twice

    cache("/nowhere");
    const struct {
        const char *name;
        int number;
    } cases[] = {{"ascii", 364},          {"C", 819},
                 {"csid933", 933},        {"ccsid28709", 29709},
                 {"tchhstexsbcs", 28709}, {"8859-5", 915},
                 {"greek", 737},          {"ujis", 57351},
                 {"eucjp", 5050},         {"UTF8", 57372},
                 {"cns-extended", 57378}, {"guobiao2312", 57357},
                 {"qa-unix-big5", 57387}, {"ccsid933", GL_NO_CODESET}};
    for (const auto &c : cases) EXPECT_EQ(look_up(c.name, nullptr).first, c.number) << c.name;
}

// Whatever happens to the file, every call ends with a clear answer and the next one on the whole file succeeds.
TEST_F(Registry, SurvivesCutAndChangedFiles) {
    const string good = GOOD;
    std::vector<string> damaged;
    for (size_t size = 0; size < good.size(); ++size) damaged.push_back(good.substr(0, size));
    std::mt19937 random(20260305);
    for (int i = 0; i < 500; ++i) {
        damaged.push_back(good);
        for (int changes = 1 + static_cast<int>(random() % 4); changes > 0; --changes)
            damaged.back()[random() % good.size()] = static_cast<char>(random());
    }
    int built_in = 0;
    for (const string &content : damaged) {
        SCOPED_TRACE(content);
        const string path = file_of(content);
        const Answer found = look_up("last", path.c_str());
        EXPECT_EQ(found.first != GL_NO_CODESET, found.second == UNTOUCHED);
        const Answer result = cache(path.c_str());
        ASSERT_TRUE(result == Answer(0, UNTOUCHED) || result == Answer(-1, GL_EBADFILE));
        built_in += result.first < 0;
        EXPECT_EQ(qbgl::vrn_registry_array_cache != nullptr, result.first < 0);
        // A cache that was read agrees with the file.
        if (qbgl::vrn_registry_list_cache != nullptr && found.first != GL_NO_CODESET) {
            EXPECT_EQ(look_up("last", nullptr), found);
        }
        gl_free_registry_cache();
    }
    EXPECT_GT(built_in, 50);
    EXPECT_EQ(cache(file_of(good).c_str()), Answer(0, UNTOUCHED));
    EXPECT_EQ(look_up("last", nullptr), Answer(65535, UNTOUCHED));
}

int allocations_left, blocks;

TEST_F(Registry, ReadingWithoutMemoryLeavesNothingBehind) {
    const gl_file_functions memory = {
        [](uint32_t size) -> void * { return allocations_left-- > 0 ? ++blocks, malloc(size) : nullptr; },
        [](void *block) {
            --blocks;
            free(block);
        },
        fopen, fclose};
    blocks = 0;
    for (int nth = 0;; ++nth) {
        allocations_left = nth;
        const File stream = stream_of(GOOD);
        RegistryEntry *head = nullptr;
        const int error = qbgl::read_registry(stream.get(), memory, head);
        if (error == 0) {
            EXPECT_EQ(nth, 18); // two blocks an entry
            EXPECT_EQ(blocks, 18);
            qbgl::_gl_free_registry_list(head);
            break;
        }
        ASSERT_EQ(error, GL_ENOMEM);
        EXPECT_EQ(head, nullptr);
        EXPECT_EQ(blocks, 0);
        ASSERT_LT(nth, 100);
    }
    // A malformed last line gives everything back, too.
    allocations_left = 100;
    blocks = 0;
    RegistryEntry *head = nullptr;
    EXPECT_EQ(qbgl::read_registry(stream_of("a 1\nb 2\nc x\n").get(), memory, head), GL_EBADFILE);
    EXPECT_EQ(blocks, 0);
}

TEST_F(Registry, DoesNotUseTheTableOfTheHost) {
    Faults faults;
    faults.arm(Operation::allocate, 1, Lasting::on);
    write_file(directory.path() / "vrn/cm3/registry", GOOD);
    EXPECT_EQ(look_up("sjis", nullptr), Answer(57350, UNTOUCHED));
    EXPECT_EQ(cache(nullptr), Answer(0, UNTOUCHED));
    for (const Operation operation : {Operation::allocate, Operation::open, Operation::close, Operation::read})
        EXPECT_EQ(faults.count(operation), 0u);
}

TEST(RegistryTokens, Readers) {
    char name[8];
    const File stream = stream_of("\v# x\n#y\nAb#C 007\nseven77 65537x\neightiii ");
    EXPECT_EQ(_gl_next_cs_name_from_registry(stream.get(), name, sizeof name), 1);
    EXPECT_STREQ(name, "ab#c");
    EXPECT_EQ(_gl_next_cs_number_from_registry(nullptr, stream.get()), 7);
    EXPECT_EQ(qbgl::ignore_till_eol(stream.get()), 1); // the newline was pushed back
    EXPECT_EQ(_gl_next_cs_name_from_registry(stream.get(), name, sizeof name), 1);
    EXPECT_STREQ(name, "seven77");
    EXPECT_EQ(_gl_next_cs_number_from_registry(nullptr, stream.get()), 1);
    EXPECT_EQ(rest_of(stream.get()).front(), 'x');
    for (const int size : {8, 1, 0, -1})
        EXPECT_EQ(_gl_next_cs_name_from_registry(stream_of("eightiii ").get(), name, size), 0) << size;
    EXPECT_EQ(qbgl::ignore_till_eol(stream_of("abc").get()), 0);

    for (const char *const text : {"0", "0819", "99999999999999999999999999"}) EXPECT_EQ(_gl_all_decimal_digits(text), 1) << text;
    for (const char *const text : {"", "-1", "1a", " 1", "1 "}) EXPECT_EQ(_gl_all_decimal_digits(text), 0) << text;
}

TEST(CodesetNumbers, Ccsid) {
    const struct {
        uint16_t number, ccsid;
    } cases[] = {{0, 0},       {819, 819},    {57343, 57343}, {57344, 0},    {57349, 1202}, {57350, 943}, {57351, 33722},
                 {57352, 950}, {57353, 0},    {57356, 949},   {57357, 1383}, {57372, 1208}, {57373, 874}, {57375, 964},
                 {57382, 878}, {57385, 1051}, {57388, 848},   {57391, 923},  {57392, 1234}, {57393, 0},   {65535, 0}};
    for (const auto &c : cases) EXPECT_EQ(gl_cs_nums2ccsid(nullptr, c.number), c.ccsid) << c.number;
    EXPECT_EQ(gl_ccsid2cs_nums(), 0);
}

TEST(CodesetNumbers, ConversionFileName) {
    for (const char *const directory : {static_cast<const char *>(nullptr), "", "d", "/a/b"}) {
        const string prefix = directory != nullptr ? directory : "";
        std::vector<char> name(prefix.size() + 14);
        gl_cs_nums2cv_fname(nullptr, 819, 57350, name.data(), directory);
        EXPECT_EQ(string(name.data()), prefix + (prefix.empty() ? "" : "\xFF") + "0333e006.cvo");
    }
}

} // namespace
