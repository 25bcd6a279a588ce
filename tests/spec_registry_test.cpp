#include "spec/registry.h"
#include "support/faults.h"
#include "support/files.h"

#include <cstring>
#include <gtest/gtest.h>
#include <utility>
#include <vector>

namespace {

using namespace qbgl_test;
using qbgl::RegistryEntry;
using std::string;

constexpr int UNTOUCHED = 99;

// Number or result, and error.
using Answer = std::pair<int, int>;

class Registry : public testing::Test {
  protected:
    ~Registry() override { gl_free_registry_cache(); }

    Answer look_up(const char *name, const char *registry_path) {
        int32_t error = UNTOUCHED;
        const uint16_t number = gl_cs_name2cs_num(&error, name, registry_path);
        EXPECT_EQ(gl_cs_name2cs_num(nullptr, name, registry_path), number);
        return {number, error};
    }
    Answer cache(const char *registry_path) {
        int32_t error = UNTOUCHED;
        const int result = gl_cache_registry(&error, registry_path);
        EXPECT_EQ(qbgl::vrn_registry_array_cache, result == 0 ? nullptr : qbgl::vrn_canned_registry);
        return {result, error};
    }
    const char *file_of(const string &content) {
        write_file(path, content);
        return path.c_str();
    }

    const TempDir directory;
    const string path = directory / "vrn/cm3/registry";
    const ScopedEnv base{"QUORBANEDIR", directory.path().string()}, no_path{"GL_PATH", nullptr};
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
    // Of "foo" the first counts, modulo 65536; digits that are no name are a number.
    const std::pair<const char *, int> known[] = {{"8859-1", 819}, {"SjIs", 57350}, {"next", 17},
                                                  {"x#9", 9},      {"123", 456},    {"last", 65535},
                                                  {"foo", 4464},   {"0819", 819},   {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcd", 21},
                                                  {"57344", 57344}};
    const char *const unknown[] = {"65536", "99999999999999999999999", "12a", "-1", "", nullptr, "#9", "iso"};
    for (const char *const registry_path : {file_of(GOOD), "/nowhere"}) {
        for (const auto &[name, number] : known) EXPECT_EQ(look_up(name, registry_path), Answer(number, UNTOUCHED)) << name;
        for (const char *name : unknown)
            EXPECT_EQ(look_up(name, registry_path), Answer(GL_NO_CODESET, GL_EINVAL)) << (name != nullptr ? name : "null");
        // The second round is served by the cache, which no longer asks for the file.
        EXPECT_EQ(cache(path.c_str()), Answer(0, UNTOUCHED));
    }
    gl_free_registry_cache();
    EXPECT_EQ(look_up("sjis", "/nowhere"), Answer(GL_NO_CODESET, GL_ENODATA));
}

TEST_F(Registry, DamagedFiles) {
    constexpr Answer FOUND{1, UNTOUCHED}, DIGITS{7, UNTOUCHED}, UNKNOWN{GL_NO_CODESET, GL_EINVAL}, BAD{GL_NO_CODESET, GL_EBADFILE};
    constexpr int BUILT_IN = -1;
    const struct {
        string content;
        Answer one, seven; // look-ups of "one" and "7" in the file
        int cached;        // entries in the cache, or BUILT_IN with GL_EBADFILE
    } cases[] = {
        {"", UNKNOWN, DIGITS, 0},
        {"one 1", BAD, BAD, BUILT_IN},
        {"one 1 ", FOUND, BAD, 1},
        {"one", UNKNOWN, DIGITS, 0}, // nothing follows the name: it is none
        {"one\n", BAD, BAD, BUILT_IN},
        {"one 0x1\none 1\n", {0, UNTOUCHED}, DIGITS, 2},
        {"one 57344\n", BAD, DIGITS, BUILT_IN}, // the number of no codeset
        {"zero x\none 1\n", FOUND, DIGITS, BUILT_IN},
        {"zero 0\n" + string(22, 'n') + " 5\none 1\n", UNKNOWN, DIGITS, 1}, // ends the reading
        {"\xEF\xBB\xBFone 1\n", UNKNOWN, DIGITS, BUILT_IN},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.content);
        EXPECT_EQ(look_up("one", file_of(c.content)), c.one);
        EXPECT_EQ(look_up("7", path.c_str()), c.seven);
        EXPECT_EQ(cache(path.c_str()), c.cached == BUILT_IN ? Answer(-1, GL_EBADFILE) : Answer(0, UNTOUCHED));
        int entries = c.cached == BUILT_IN ? BUILT_IN : 0;
        for (const RegistryEntry *entry = qbgl::vrn_registry_list_cache; entry != nullptr; entry = entry->next) ++entries;
        EXPECT_EQ(entries, c.cached);
        gl_free_registry_cache();
    }
    // A file that cannot be read is not an empty one.
    EXPECT_EQ(look_up("one", directory.path().c_str()), BAD);
    EXPECT_EQ(cache(directory.path().c_str()), Answer(-1, GL_EBADFILE));
}

TEST_F(Registry, IsSearchedInTheInstallation) {
    EXPECT_EQ(cache(""), Answer(-1, GL_ENODATA));
    EXPECT_EQ(look_up("sjis", nullptr), Answer(57350, UNTOUCHED)); // the built-in table serves
    gl_free_registry_cache();

    int32_t error = GL_ENOMEM; // older than the failure, and yet it stays
    EXPECT_EQ(gl_cs_name2cs_num(&error, "sjis", "/nowhere"), GL_NO_CODESET);
    EXPECT_EQ(error, GL_ENOMEM);

    file_of("sjis 3\n");
    // Not through the table of the host.
    Faults faults;
    faults.arm(Operation::allocate, 1, Lasting::on);
    EXPECT_EQ(look_up("sjis", nullptr), Answer(3, UNTOUCHED));
    EXPECT_EQ(look_up("sjis", ""), Answer(GL_NO_CODESET, GL_ENODATA)); // empty means search only when caching
    for (const char *const searched : {static_cast<const char *>(nullptr), ""}) {
        EXPECT_EQ(cache(searched), Answer(0, UNTOUCHED));
        EXPECT_EQ(look_up("sjis", nullptr), Answer(3, UNTOUCHED));
    }
    for (const Operation operation : {Operation::allocate, Operation::open, Operation::close, Operation::read})
        EXPECT_EQ(faults.count(operation), 0u);
    EXPECT_EQ(cache("/nowhere"), Answer(-1, GL_ENODATA));
    EXPECT_EQ(qbgl::vrn_registry_list_cache, nullptr);
}

TEST_F(Registry, NamesTheInstalledCodesets) {
    for (const char *object : {"cm3/0333.cmo", "cm/0011.cmo", "cm3/0333.cvo", "cv9/e0060333.cvo", "cv/ffff0005.cvo",
                               "cv9/e006033.cvo", "cv9/E0020333.cvo", "cv9/a_b.cvo"})
        write_file(directory.path() / "vrn" / object, "");
    file_of("c 819\n8859-1 819\nlatin 819\nsjis 57350\nsjis 17\nunused 18\nposix 5\nutf-16be 1200\n");
    for (const bool cached : {false, true}) {
        if (cached) cache("");
        std::vector<string> names(gl_codeset_count(nullptr), string(64, '?'));
        for (int i = 0; string & name : names) name.resize(gl_codeset_name(nullptr, i++, name.data(), 64));
        EXPECT_EQ(names, (std::vector<string>{"17", "65535", "8859-1", "posix", "sjis", "utf-16be"}));
    }
    const ScopedEnv nowhere("QUORBANEDIR", "/nowhere");
    EXPECT_EQ(gl_codeset_count(nullptr), 1); // it needs no file
    int32_t error = UNTOUCHED;
    EXPECT_EQ(gl_codeset_name(&error, 1, nullptr, 0), -1);
    EXPECT_EQ(error, GL_EBADARG);
}

TEST_F(Registry, BuiltInTable) {
    cache("/nowhere");
    for (const auto &[name, number] :
         {std::pair{"C", 819}, {"csid933", 933}, {"tchhstexsbcs", 28709}, {"UTF8", 57372}, {"ccsid933", int{GL_NO_CODESET}}})
        EXPECT_EQ(look_up(name, nullptr).first, number) << name;
}

TEST_F(Registry, ReadingWithoutMemoryLeavesNothingBehind) {
    for_each_fault(Operation::allocate, [](const Faults &faults) {
        RegistryEntry *head = nullptr;
        const int error = qbgl::read_registry(stream_of(GOOD).get(), gl_ext_functions, head);
        EXPECT_EQ(error, faults.hit() ? static_cast<int>(GL_ENOMEM) : 0);
        EXPECT_EQ(head == nullptr, faults.hit());
        while (head != nullptr) {
            gl_ext_functions.free(head->name);
            gl_ext_functions.free(std::exchange(head, head->next));
        }
    });
    const Faults faults; // a malformed last line gives everything back, too
    RegistryEntry *head = nullptr;
    EXPECT_EQ(qbgl::read_registry(stream_of("a 1\nb 2\nc x\n").get(), gl_ext_functions, head), GL_EBADFILE);
    EXPECT_EQ(faults.blocks(), 0U);
}

TEST(RegistryTokens, KeepToTheirRoomAndToDigits) {
    char room[8];
    for (const auto &[text, size, found] :
         {std::tuple{"Seven#7\n", 8, 1}, {"seven77 ", 7, 0}, {"seven77 ", 1, 0}, {"seven77 ", 0, 0}})
        EXPECT_EQ(_gl_next_cs_name_from_registry(stream_of(text).get(), room, size), found) << size;
    for (const auto &[text, digits] : {std::pair{"0819", 1}, {"", 0}, {"-1", 0}, {"1a", 0}, {"1 ", 0}})
        EXPECT_EQ(_gl_all_decimal_digits(text), digits) << text;
}

TEST(CodesetNumbers, Ccsid) {
    constexpr std::pair<int, int> CASES[] = {{0, 0},         {57343, 57343}, {57344, 0},    {57349, 1202}, {57350, 943},
                                             {57351, 33722}, {57372, 1208},  {57392, 1234}, {57393, 0},    {65535, 0}};
    for (const auto &[number, ccsid] : CASES) EXPECT_EQ(gl_cs_nums2ccsid(nullptr, static_cast<uint16_t>(number)), ccsid) << number;
    EXPECT_EQ(gl_ccsid2cs_nums(), 0);
}

TEST(CodesetNumbers, ConversionFileName) {
    for (const string directory : {"", "/a/b"}) {
        std::vector<char> name(directory.size() + 14);
        gl_cs_nums2cv_fname(nullptr, 819, 57350, name.data(), directory.c_str());
        EXPECT_EQ(name.data(), directory + (directory.empty() ? "" : "\xFF") + "0333e006.cvo");
    }
}

} // namespace
