#include "support/compact.h"
#include "support/faults.h"
#include "support/files.h"

#include "multi/table.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <random>
#include <vector>

namespace {

using namespace qbgl_test;
using namespace std::string_literals;
using std::string;

// Entries of the tests are three bytes, so that their distance is not their size.
constexpr uint32_t ENTRY_SIZE = 3;
constexpr int DEFAULT = 0xD0D0D0;

using Table = std::unique_ptr<gl_multi, decltype(&_gl_free_multi)>;
using Model = std::map<string, int>;
using Item = std::pair<string, int>;

int value_of(const void *entry) {
    int value = 0;
    return entry != nullptr ? (std::memcpy(&value, entry, ENTRY_SIZE), value) : -1;
}
int write_entry(FILE *stream, const void *entry) { return std::fprintf(stream, "%06x", unsigned(value_of(entry))) == 6 ? 0 : -1; }
int read_entry(FILE *stream, void *destination, uint32_t size) {
    const unsigned value = _gl_get_hex(stream, 6);
    std::memcpy(destination, &value, size);
    return 0;
}

Table new_table(int32_t flags = 0) { return {_gl_create_multi(ENTRY_SIZE, flags, &DEFAULT), _gl_free_multi}; }

gl_desc key_of(const string &bytes) {
    gl_desc key = {static_cast<uint32_t>(bytes.size()), {}};
    for (size_t i = 0; i < bytes.size() && i < 4; ++i) key.bytes[i] = static_cast<uint8_t>(bytes[i]);
    return key;
}
int insert(const Table &table, const string &bytes, std::optional<int> value = {}) {
    const gl_desc key = key_of(bytes);
    return _gl_insert_desc_multi(&key, value ? &*value : nullptr, table.get());
}
int get(const Table &table, const string &bytes) {
    const gl_desc key = key_of(bytes);
    return value_of(_gl_retrieve_desc_multi(&key, table.get()));
}
// The keys come in no order.
Table table_of(const Model &model, int32_t flags = 0) {
    Table table = new_table(flags);
    std::vector<Item> items(model.begin(), model.end());
    std::shuffle(items.begin(), items.end(), std::minstd_rand(3));
    for (const auto &[key, value] : items) EXPECT_EQ(insert(table, key, value), 0);
    return table;
}

string text_of(const Table &table) {
    const File file = stream_of("");
    EXPECT_EQ(_gl_fprintf_multi(file.get(), table.get(), write_entry), 0);
    std::rewind(file.get());
    return rest_of(file.get());
}
// The error is 0 exactly when the reading succeeds.
bool scan(const Table &table, const string &text, int longest = 4) {
    const int result = _gl_fscanf_multi(stream_of(text).get(), table.get(), longest, read_entry);
    EXPECT_EQ(result, _gl_multi_err(table.get()) == 0 ? 0 : -1);
    return result == 0;
}
Table read(const string &text) {
    Table table = new_table();
    scan(table, text);
    return table;
}

struct Answer {
    int value, length, error;
    bool operator==(const Answer &) const = default;
    friend void PrintTo(const Answer &a, std::ostream *out) { *out << a.value << ", length " << a.length << ", error " << a.error; }
};
// Through a block of exactly the text's size; where the walk ends within the text, all ways to look it up agree.
Answer find(const Table &table, const string &text) {
    const std::vector<char> exact(text.begin(), text.end());
    const int limit = static_cast<int>(exact.size());
    std::array<int32_t, 5> errors = {};
    int length = -1, unlimited = -1;
    const void *entry = _gl_retrieve_text_multi_limit(exact.data(), table.get(), limit, &length, &errors[0]);
    EXPECT_EQ(_gl_retrieve_text_multi_limit_nl(exact.data(), table.get(), limit, &errors[1]), entry);
    EXPECT_EQ(errors[1], errors[0]);
    if (errors[0] != GL_EINVAL) {
        EXPECT_EQ(_gl_retrieve_text_multi(text.c_str(), table.get(), &unlimited, &errors[2]), entry);
        EXPECT_EQ(unlimited, length);
        EXPECT_EQ(_gl_retrieve_text_multi_nl(text.c_str(), table.get(), &errors[3]), entry);
        EXPECT_EQ(_gl_retrieve_text_multi_nv(text.c_str(), table.get(), &errors[4]), entry != nullptr ? length : 0);
        for (const int32_t error : errors) EXPECT_EQ(error, errors[0]);
    }
    EXPECT_EQ(get(table, text.substr(0, length)), value_of(entry));
    return {value_of(entry), length, errors[0]};
}
Answer find(const Model &model, const string &text) {
    for (size_t n = 1; n <= text.size(); ++n) {
        const string head = text.substr(0, n);
        if (const auto at = model.find(head); at != model.end()) return {at->second, static_cast<int>(n), 0};
        if (const auto at = model.lower_bound(head); at == model.end() || !at->first.starts_with(head))
            return {-1, static_cast<int>(n), GL_EILSEQ};
    }
    return {-1, static_cast<int>(text.size()), GL_EINVAL};
}

TEST(Multi, ConflictsAreRefusedBothWaysAndChangeNothing) {
    const Table table = new_table();
    using Case = std::tuple<string, std::optional<int>, int>;
    for (const auto &[key, value, result] :
         {Case{"\x8E\xA1", 1, 0}, Case{"\x8E", 2, -1}, Case{"\x8E\xA1\xA1", 3, -1}, Case{"\x8E\xA1", 4, 0}, Case{"", 5, -1},
          Case{"\x8E\xA2\xA3\xA4", 6, 0}, Case{"\x8E\xA2\xA3\xA4\xA5", 7, -1}, Case{"\x8E\xA2\xA3", 8, -1}, Case{"\x8F\xA1", {}, 0},
          Case{"\x8E\xA1", {}, 0}}) {
        EXPECT_EQ(insert(table, key, value), result) << value.value_or(0);
    }
    for (const auto &[key, value] :
         {Item{"\x8E\xA1", 4}, Item{"\x8F\xA1", DEFAULT}, Item{"\x8E", -1}, Item{"\x8E\xA1\xA1", -1}, Item{"", -1}})
        EXPECT_EQ(get(table, key), value) << testing::PrintToString(key);
    EXPECT_EQ(_gl_multi_max_length(table.get()), 4);
    EXPECT_EQ(_gl_multi_min_length(table.get()), 2);
    EXPECT_EQ(_gl_multi_node_count(table.get()), 5);
}

// Keys of several lengths with runs of neighbours, whose values repeat often.
Model random_model(std::mt19937 &random) {
    Model model{{"\xFE\xFE", 1}}; // whatever else there is, no single-byte codeset
    for (unsigned runs = 1 + random() % 40; runs > 0; --runs) {
        string key;
        for (unsigned n = random() % 4; n > 0; --n) key += static_cast<char>(random() % 3 == 0 ? random() : 0x80 + random() % 4);
        const int value = random() % 4 == 0 ? DEFAULT : static_cast<int>(random() % 3);
        const unsigned first = random() % 256, end = std::min<unsigned>(256, first + 1 + random() % 60);
        for (unsigned byte = first; byte < end; ++byte) {
            const string full = key + static_cast<char>(byte);
            const Answer known = find(model, full);
            if (known.error == GL_EILSEQ || (known.error == 0 && known.length == int(full.size())))
                model[full] = random() % 5 == 0 ? static_cast<int>(random() % 0xFFFFFF) : value;
        }
    }
    return model;
}

TEST(Multi, BothTextFormsReadBackToTheSameMapping) {
    std::mt19937 random(20240607);
    for (int round = 0; round < 60; ++round) {
        SCOPED_TRACE(round);
        const Model model = random_model(random);
        std::vector<string> probes = {""};
        for (const auto &[key, value] : model) {
            probes.push_back(key);
            probes.push_back(key.substr(0, key.size() - random() % 2) + static_cast<char>(random()) + "\x80\x81");
        }
        const auto expect_same = [&](const Table &table) {
            for (const string &probe : probes) ASSERT_EQ(find(table, probe), find(model, probe)) << testing::PrintToString(probe);
        };
        for (const int32_t form : {0, GL_MULTI_COMPRESSED}) {
            const Table table = table_of(model, form);
            const string text = text_of(table);
            expect_same(table);
            const Table again = read(text);
            expect_same(again);
            EXPECT_EQ(text_of(again), text);
            for (int twice = 0; twice < 2; ++twice) EXPECT_EQ(_gl_compress_multi(again.get()), 0);
            expect_same(again);
            EXPECT_EQ(insert(again, "\xFE\xFE", 2), -1);
            expect_same(read(text_of(again)));
        }
    }
}

TEST(Multi, ReadsAnySplitIntoRuns) {
    const string all = "1 1 1 000009\n1 1\n0000110004\n0000000\n", end = "0000000\n";
    using Case = std::tuple<string, string, int>;
    for (const auto &[text, key, value] :
         {Case{all + "0000208000000100000f\n" + end, "\xFF", 15}, Case{all + "0000208000000100000f\n" + end, "\xFE", 1},
          Case{all + "00001100000001\n4100100100000f\n" + end, "A", 15},
          Case{all + "00001100000001\n4100100100000f\n" + end, "B", 1}, Case{all + end, "A", 9},
          Case{"1 1 1 000009\n1 0\nFE00200104\x30\x34\n" + end, "\xFF", 9}, Case{"1 1 1 000009\n0 0\n", "A", -1},
          Case{"0 4 3 000009\n1 0\n" + end + "1 0 0 7\n", "A", -1}, Case{"0 4 3 000009\n0 0\n0 0 0 0\n", "A", -1},
          Case{"2 1 3 000009\n1 0\n000020010104\n" + end + "1 0 0 0\n0 0 0 0\n", "\1", 9}}) {
        EXPECT_EQ(get(read(text), key), value) << text;
        const bool filled_up = text.starts_with("1 1"); // by writing: every byte is then a character
        EXPECT_EQ(get(read(filled_up ? text : text_of(read(text))), key), value) << text;
    }
    const string leaf = "1 1\n4100200104\x30\x34\n0000000\n4100100100002a\n" + end;
    // An equal array is equal whatever defaults its runs cover.
    const string other_leaf = "1 1\n4100200104\x30\x34\n0000000\n4000300100000000002a000000\n" + end;
    const Table two = read("2 1 1 000000\n1 0\n000020010101\n" + end + leaf + other_leaf);
    EXPECT_EQ(_gl_compress_multi(two.get()), 0);
    EXPECT_EQ(two->data_array_count, 1);
    for (const char *key : {"\1A", "\1B"}) EXPECT_EQ(get(two, key), key[1] == 'A' ? 42 : 0);
}

string repeated(const string &text, int times) {
    string result;
    for (; times > 0; --times) result += text;
    return result;
}

const string REPEATS = "3 3 7 000009\n3 1\n00003001010101\n0000000\n000020010101\n0000000\n4100100104\n0000000\n"
                       "4100100100002a\n0000000\n";

TEST(Multi, ANodeStandsForThoseLikeIt) {
    const Model model = {{"\0\0A"s, 42}, {"\0\1A"s, 42}, {"\1\0A"s, 42}, {"\1\1A", 42}, {"\2\0A"s, 42}, {"\2\1A", 9}};
    const string text = REPEATS + "1 0 0 0\n1 0 1 0\n1 1 2 0\n2 2\n2 1\n1 0 1 0\n2 2\n1 0 2 0\n";
    const Table table = read(text);
    EXPECT_EQ(_gl_multi_node_count(table.get()), 5);
    EXPECT_EQ(insert(table, "\3A", 1), -1);
    const string whole = text_of(table);
    EXPECT_EQ(whole.substr(0, 6), "3 3 3 ");
    const Table again = read(whole);
    EXPECT_EQ(_gl_multi_node_count(again.get()), 10);
    for (const string &probe : {"\0\0A"s, "\0\1A"s, "\1\0A"s, "\1\1A"s, "\2\0A"s, "\2\1A"s, "\2\2A"s, "\3"s, "\0\0B"s}) {
        EXPECT_EQ(find(table, probe), find(model, probe)) << testing::PrintToString(probe);
        EXPECT_EQ(find(again, probe), find(model, probe)) << testing::PrintToString(probe);
    }
}

void expect_malformed(int error, std::initializer_list<string> texts) {
    for (const string &text : texts) {
        SCOPED_TRACE(text.substr(0, 80));
        const Table table = read(text);
        EXPECT_EQ(_gl_multi_err(table.get()), error);
        EXPECT_EQ(text_of(table).substr(0, 6), "0 4 1 ");
        EXPECT_EQ(_gl_multi_node_count(table.get()), 1);
        EXPECT_EQ(insert(table, "\x8E\xA1", 5), 0);
        EXPECT_EQ(get(table, "\x8E\xA1"), 5);
    }
}

TEST(Multi, MalformedTextLeavesAnEmptyUsableTable) {
    const string head = "1 1 1 000009\n", root = "4100100104\n", end = "0000000\n", leaf = "1 0\n" + root + end;
    const string flags = head + "1 0\n", data = head + "1 1\n" + root + end, shared = "2 1 2 000009\n";
    const string arrays = shared + "1 1\n" + root + end + end, parent = "1 0\n4100100101\n" + end;
    expect_malformed(GL_ETABLELEN, {"5 1 1 000009\n" + leaf, "99999999999 1 1 000009\n" + leaf});
    const Table table = new_table();
    EXPECT_FALSE(scan(table, "3 1 1 000009\n" + leaf, 2));
    EXPECT_EQ(_gl_multi_err(table.get()), GL_ETABLELEN);
    // Header and node lines.
    expect_malformed(GL_ENOMEM, {"-1 1 1 000009\n" + leaf, "1 5 1 000009\n" + leaf, "1 -1 1 000009\n" + leaf,
                                 "1 1 1 000009 \n" + leaf, head + "1 0 " + root + end, head + "2 0\n" + root + end,
                                 head + "1 2\n" + root + end + end, head + "1 -1\n" + root + end});
    // Runs: flag values, index 256 and beyond, no repeat, newlines, the terminator.
    expect_malformed(GL_ENOMEM,
                     {flags + "4100100102\n" + end, flags + "ff0020010404\n" + end, flags + "8000108104\n" + end,
                      flags + "01fffFFF" + string(8190, '0') + "\n" + end, flags + "4100100004\n" + end, flags + "4100100104" + end,
                      flags + root + "00000000\n", data + "41001001000005 \n" + end, data + "ff002001000005000005\n" + end});
    // Children: deeper than declared, or not there.
    expect_malformed(GL_ENOMEM, {head + parent + leaf, "2 1 1 000009\n" + parent + parent + leaf,
                                 shared + "2 0\n4100100101\n" + end + root + end + "1 0 0 0\n1 0 0 0\n1 0 1 0\n"});
    // Shared arrays: the counts, and the indexes into them.
    expect_malformed(GL_ENOMEM, {shared + "1 1" + root + end + end + "1 0 0 0\n", shared + "2 1\n" + root + end + end + "1 0 0 0\n",
                                 shared + "0 0\n1 0 0 0\n", shared + "-1 -1\n1 0 -1 0\n", arrays + "1 0 1 0\n",
                                 arrays + "1 0 -1 0\n", arrays + "1 1 0 1\n", arrays + "1 1 0 -1\n", arrays + "2 0 0 0\n"});
    // Nodes in place of others: of another depth, not there, not announced; more of them than any walk could take.
    const string begun = REPEATS + "1 0 0 0\n1 0 1 0\n1 1 2 0\n", all = "0000110001\n" + end;
    expect_malformed(GL_ENOMEM, {begun + "2 1\n", begun + "2 0\n", begun + "2 4\n", begun + "2 -1\n", begun + "2 2 0\n",
                                 "3 3 3" + begun.substr(5) + "2 2\n2 1\n2 1\n", REPEATS + "2 0\n",
                                 "4 4 7 000009\n2 0\n" + all + root + end + repeated("1 0 0 0\n", 3) + "1 0 1 0\n" +
                                     repeated("2 3\n", 255) + repeated("2 2\n", 255) + repeated("2 1\n", 255)});
}

// Values of two bytes alone have a compact form.
TEST(Multi, TheCompactFormReadsBackToTheSameMapping) {
    const uint16_t none = 9;
    const auto read_compact = [&none](const string &text) {
        Table table{_gl_create_multi(sizeof none, 0, &none), _gl_free_multi};
        const auto reader = [](FILE *stream, void *entry, uint32_t size) {
            const unsigned value = _gl_get_hex(stream, 4);
            std::memcpy(entry, &value, size);
            return 0;
        };
        const int result = _gl_fscanf_multi(stream_of(text).get(), table.get(), 4, reader);
        EXPECT_EQ(result, _gl_multi_err(table.get()) == 0 ? 0 : -1);
        return table;
    };
    const auto value = [](const Table &table, const string &bytes) {
        const gl_desc key = key_of(bytes);
        uint16_t found = 0;
        const void *entry = _gl_retrieve_desc_multi(&key, table.get());
        if (entry != nullptr) std::memcpy(&found, entry, sizeof found);
        return entry != nullptr ? int{found} : -1;
    };
    // Leaves of the characters @ to C; the second array begins where the first one ends.
    const string flags = "00003001010101\n0000000\n4000100404\n0000000\n", head = "2 2 15 0009\n2 2\n" + flags,
                 first = numbers({'@', 3}) + list({0xFFFF, 0, 7}) + "\n", second = numbers({'C', 1}) + number(2 * coded(-6)) + "\n",
                 arrays = head + first + second, root = numbers({1, 0}),
                 nodes = root + numbers({2, 1 + coded(1), 2, 1 + coded(-2), 0, 1}) + "\n";
    const Table table = read_compact(arrays + nodes);
    ASSERT_EQ(_gl_multi_err(table.get()), 0);
    EXPECT_EQ(_gl_multi_node_count(table.get()), 3);
    const std::array<std::array<int, 4>, 3> expected = {{{9, 9, 9, 1}, {0xFFFF, 0, 7, 9}, {9, 9, 9, 1}}};
    for (int lead = 0; lead < 3; ++lead)
        for (int at = 0; at < 4; ++at)
            EXPECT_EQ(value(table, string(1, static_cast<char>(lead)) + static_cast<char>('@' + at)), expected[lead][at]);
    const File file = stream_of("");
    _gl_fprintf_multi(file.get(), table.get(), [](FILE *out, const void *entry) {
        uint16_t written;
        std::memcpy(&written, entry, sizeof written);
        return std::fprintf(out, "%04x", unsigned{written}) == 4 ? 0 : -1;
    });
    std::rewind(file.get());
    const Table again = read_compact(rest_of(file.get()));
    EXPECT_EQ(value(again, "\2C"), 1);

    const string end = "\n", one = head + first.substr(0, 2);
    for (const string &text :
         {arrays + nodes.substr(0, nodes.size() - 1), arrays + root + numbers({2, 0, 2, 0, 0, 3}) + end,
          arrays + root + numbers({2, 0, 2, 0, 0, 0}) + end, arrays + root + numbers({2, 0, 3, 0, 0, 1}) + end,
          arrays + root + numbers({2, 1 + coded(2), 2, 0, 0, 1}) + end,
          arrays + root + numbers({2, 1 + coded(-1), 2, 0, 0, 1}) + end, arrays + root + numbers({2, 0, 2, 0, UINT32_MAX}) + end,
          arrays + numbers({1, 0, 2, 0, 1, 0}) + end, head + numbers({256, 1}) + list({5}) + end + second + nodes,
          head + numbers({'@', 193}) + list({5}) + end + second + nodes, head + numbers({'@', 0}) + end + second + nodes,
          one + list({5, 6, 7, 8}) + end + second + nodes, one + list({5, 6}) + end + second + nodes,
          head + first.substr(0, first.size() - 1) + second + nodes, "2 2 11 0009\n2 2\n" + flags + first + second + nodes}) {
        SCOPED_TRACE(text.substr(head.size()));
        EXPECT_EQ(_gl_multi_err(read_compact(text).get()), GL_ENOMEM);
    }
    const Table three = new_table();
    EXPECT_FALSE(scan(three, "2 2 15 000009\n2 2\n" + flags + first + second + nodes));
}

TEST(Multi, OutOfMemoryLeavesATableThatGoesOn) {
    for_each_fault(Operation::allocate, Lasting::once, [](const Faults &faults) {
        const Table table = new_table();
        if (!table) return;
        for (const auto &[key, value] : Model{{"\x8E\xA1\xA1", 1}, {"\x8F\xA1", 2}, {"A", 3}}) {
            if (insert(table, key, value) == 0) continue;
            EXPECT_TRUE(faults.hit());
            EXPECT_EQ(get(table, key), -1);
            EXPECT_EQ(insert(table, key, value), 0);
        }
        if (_gl_compress_multi(table.get()) != 0) {
            EXPECT_TRUE(faults.hit());
            EXPECT_EQ(insert(table, "B", 4), 0);
            EXPECT_EQ(_gl_compress_multi(table.get()), 0);
        }
        EXPECT_EQ(get(table, "\x8E\xA1\xA1") * 100 + get(table, "\x8F\xA1") * 10 + get(table, "A"), 123);
    });
    for (const int32_t form : {0, GL_MULTI_COMPRESSED}) EXPECT_EQ(insert(new_table(form), "A", 1), 0);
}

} // namespace
