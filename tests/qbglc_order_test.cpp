// Order that is compared, told by a fingerprint, and kept.
#include "definition/definition.h"
#include "locale/collate.h"
#include "object/order_keys.h"
#include "object/seal.h"
#include "order/fingerprint.h"
#include "order/line_sorter.h"
#include "order/locale.h"
#include "order/report.h"
#include "recipe/catalogue.h"
#include "recipe/library.h"
#include "recipe/locales.h"
#include "support/conversion.h"
#include "support/locale_object.h"
#include "support/tree_locale.h"
#include "system/error.h"
#include "system/fingerprint.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <numeric>
#include <sstream>

namespace {

using namespace qbgl_test;
using namespace qbgl::compiler;
namespace fs = std::filesystem;

using Strings = std::vector<std::string>;

// An object whose other sections do not matter.
struct Object {
    qbgl_test::Codeset codeset = sjis_codeset();
    Collation rules = Collation::in_order(codeset, {1, 1});
    std::string order = "";
    std::string damaged = ""; // what stands in it for the last time, and has a wrong byte at its end

    std::vector<unsigned> &row(const std::string &character) {
        return rules.rows[std::ranges::find(rules.places, character, &std::pair<std::string, unsigned>::first)->second];
    }
    std::string write(const fs::path &path) const {
        LocaleObject object(codeset, rules.text());
        if (!order.empty()) object.header = "FILE_TYPE=locale_object\nCOMPILER_VERSION=11\nHEADER_LINES=5\nORDER=" + order + "\n";
        std::string text = object.text();
        if (!order.empty()) seal(text, object.header.size());
        if (!damaged.empty()) text.at(text.rfind(damaged) + damaged.size() - 1) ^= 1;
        write_file(path, text);
        return path.string();
    }
};

class OrderDiff : public testing::Test {
  protected:
    OrderReport report(const Object &before, const Object &after, const std::string &lines = "", size_t shown = 2) {
        const auto codeset_of = [](const std::string &) { return nullptr; };
        const fs::path file = lines.empty() ? "" : directory_ / "lines";
        if (!lines.empty()) write_file(file, lines);
        return report_order({before.write(directory_ / "old"), after.write(directory_ / "new"), file, shown}, codeset_of);
    }

    TempDir directory_;
};

TEST_F(OrderDiff, TellsWhatMoved) {
    const auto expect = [this](bool same, const Strings &said, auto change) {
        Object before, after;
        change(after);
        const OrderReport result = report(before, after, "", 200);
        EXPECT_EQ(result.same, same);
        for (const std::string &part : said)
            EXPECT_NE(result.text.find(part), std::string::npos) << part << "\nin\n" << result.text;
    };
    expect(true, {"pairs: 0 of 87571 in another order", "Order and sort keys are the same."}, [](Object &) {});
    expect(false,
           {"pairs: 1 of", "\n  (62) < (63), now >\n", "sort keys: 2 of 419 differ\n  (62), (63)\n",
            "pass 1: weights of (62) and (63) are in another order", "The order differs."},
           [](Object &o) { std::swap(o.row("b"), o.row("c")); });
    expect(false, {"pairs: 1 of", "\n  (62) < (63), now =\n"}, [](Object &o) { o.row("c") = o.row("b"); });
    expect(false, {"pairs: 0 of", "in another order\nsort keys: 351 of 419 differ", "The order is the same, but sort keys differ"},
           [](Object &o) {
               for (auto &row : o.rules.rows)
                   for (unsigned &weight : row) weight += weight > 70 ? 5 : 0;
           });
    // What only shows in longer texts.
    expect(false, {"pairs: 0 of", "pass 1: weights of (62) and (63) are in another order", "The order differs."},
           [](Object &o) { o.row("c")[0] = o.row("b")[0]; });
    expect(false, {"pairs: 0 of", "pass 2 runs the other way"}, [](Object &o) { o.rules.directions[1] = 2; });
    expect(false, {"number of passes differs"}, [](Object &o) { o.rules = Collation::in_order(o.codeset, {1}); });
    expect(false, {"ordered by passes of weights, now by code values"}, [](Object &o) { o.rules.direct = true; });
    expect(false, {"collating elements: 0 in both\n  1 only in the new: (63 68)\n"}, [](Object &o) {
        o.rules.elements = {{{'c', 'h'}, 40}};
    });
    expect(false, {"\n  (DE) < (DF), now >\n", "pass 1: (DF) has another number of weights"}, [](Object &o) {
        o.rules.expansions = {{'s', 's'}}, o.row("\xDF").assign(2, 0x4000);
    });
    expect(false, {"characters: 418 in both\n  1 only in the old: (88FC)\n"}, [](Object &o) { o.codeset.characters.pop_back(); });
}

TEST_F(OrderDiff, BelievesEqualFingerprintsOfWholeObjectsOnly) {
    Object before, after;
    std::swap(after.row("b"), after.row("c"));
    EXPECT_FALSE(report(before, after).same);
    before.order = after.order = "0123";
    EXPECT_EQ(report(before, after).text, "Both have the order 0123: order and sort keys are the same.\n");
    after.damaged = "ORDER=0123";
    const OrderReport damaged = report(before, after);
    EXPECT_FALSE(damaged.same);
    EXPECT_EQ(damaged.warnings, Strings{(directory_ / "new") + ": is damaged: its checksum is not that of its bytes"});
    after.damaged = "\n";
    EXPECT_THROW(report(before, after), DataError);
    after.damaged = "";
    after.codeset.name = "8859-15";
    after.order = "0124";
    EXPECT_THROW(report(before, after), DataError) << "another codeset";
}

TEST_F(OrderDiff, FindsLinesThatMove) {
    Object before, after;
    std::swap(after.row("b"), after.row("c"));
    EXPECT_EQ(report(before, after, "xc\na\nxb\nb\nz\nb\nc").text,
              "lines: 7, of which 2 follow their neighbour in another order\n  6 \"\\x62\" < 7 \"\\x63\", now >\n"
              "  3 \"\\x78\\x62\" < 1 \"\\x78\\x63\", now >\nsort keys: 5 of 7 differ\nThe order of these lines differs.\n");
    EXPECT_TRUE(report(before, after, "a\nd\n\n").same);
    for (const char *bad : {"a\n\x82\n", "a\nb\x80"}) EXPECT_THROW(report(before, after, bad), DataError);
}

TEST(LineSorter, SortsTheSameInMemoryAndInFiles) {
    const auto compare = [](const std::string &a, const std::string &b) { return a.substr(0, 2).compare(b.substr(0, 2)); };
    const auto sorted = [&](size_t memory) {
        LineSorter sorter(compare, {.shown = 0, .memory = memory, .runs_to_merge = 3});
        for (unsigned i = 0; i < 2000; ++i) sorter.add({std::to_string(i * 7919 % 2003) + std::string(i % 50, 'x'), i});
        std::string text;
        sorter.for_each([&](const Line &line) { text += fmt::format("{} {}\n", line.number, line.text); });
        return text;
    };
    EXPECT_EQ(sorted(1000), sorted(1 << 20));
    EXPECT_EQ(std::ranges::count(sorted(20000), '\n'), 2000);
}

TEST(OrderFingerprint, OfAnObjectIsThatOfItsRulesAndCharacters) {
    Library library(QBGL_SOURCE_DIR "/data");
    const fs::path object = QBGL_TREE "/vrn/lc11/de_de/0333.lco";
    const std::string text = qbgl_test::read_file(object), mark = "### LC_COLLATE\n";
    const size_t begin = text.find(mark) + mark.size();
    const std::string section = text.substr(begin, text.find("### LC_NUMERIC") - begin);
    DefinitionReader definitions;
    const auto definition = definitions.read(definitions.find("de_DE"));
    const CollateSection made =
        collate_section(CollationOrder(*definition->collate), *library.codeset(*library.catalogue().find("8859-1")));
    const auto characters = [&](const char *name) {
        return characters_fingerprint(*library.codeset(*library.catalogue().find(name)));
    };
    EXPECT_EQ(section, made.text + order_key_lines(made.text));
    EXPECT_EQ(header_value(text, ORDER_LINE), order_fingerprint(characters("8859-1"), made.listed));
    EXPECT_EQ(header_value(text, ORDER_LINE), gl_order_fingerprint(load("de_de/0333.lco").get()));
    EXPECT_NE(characters("8859-1"), characters("8859-15"));
    EXPECT_NE(order_fingerprint("", section), order_fingerprint("", section + "\n"));
}

// What the library makes of a fixed list of texts under every locale of the tree.
struct Digests {
    std::string order, keys, dense_keys;
    bool operator==(const Digests &) const = default;
};
using Table = std::map<std::string, Digests>; // by locale

constexpr const char *DIGESTS = QBGL_SOURCE_DIR "/tests/order_digests.txt";

Strings fixed_strings() {
    Strings result;
    std::istringstream file(qbgl_test::read_file(QBGL_SOURCE_DIR "/tests/order_strings.txt"));
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        unsigned first, last, step;
        std::string word;
        if (line.starts_with("# ")) continue;
        if (sscanf(line.c_str(), "@ %x %x %u", &first, &last, &step) == 3)
            for (; first <= last; first += step) result.push_back(utf8_of(first).text());
        else
            while (words >> word) std::replace(word.begin(), word.end(), '_', ' '), result.push_back(word);
    }
    return result;
}

// The texts that a codeset can spell, with their terminators.
Strings in_codeset(const Strings &texts, const std::string &codeset) {
    Strings result;
    gl_cv *cd = nullptr;
    if (codeset != "utf8" && gl_iconv_open(&cd, codeset.c_str(), "utf8") != 0)
        throw std::runtime_error("no conversion to " + codeset);
    for (const std::string &text : texts) {
        std::string bytes = text;
        if (cd != nullptr) {
            const Outcome outcome = convert(*cd, text, static_cast<int>(8 * text.size()));
            if (outcome.result != 0 || outcome.substituted != 0) continue;
            bytes = outcome.output;
        }
        result.push_back(bytes + std::string(4, '\0'));
    }
    if (cd != nullptr) gl_cv_unload(cd);
    return result;
}

Digests digests_of(gl_locale *locale, const Strings &texts) {
    Fingerprint order, keys, dense_keys;
    std::vector<size_t> sorted(texts.size());
    std::iota(sorted.begin(), sorted.end(), 0);
    const auto compare = [&](size_t a, size_t b) { return gl_mbscoll(locale, texts[a].c_str(), texts[b].c_str()); };
    std::stable_sort(sorted.begin(), sorted.end(), [&](size_t a, size_t b) { return compare(a, b) < 0; });
    for (size_t i = 0; i < sorted.size(); ++i)
        order.add(i > 0 && compare(sorted[i - 1], sorted[i]) == 0 ? "=" : "<").add(texts[sorted[i]]);
    for (const std::string &text : texts) {
        std::string key(static_cast<size_t>(std::max(gl_mbsxfrm(locale, nullptr, text.c_str(), 0), 0)) + 1, '\0');
        EXPECT_GE(gl_mbsxfrm(locale, key.data(), text.c_str(), static_cast<int>(key.size())), 0) << text;
        keys.add(key);
        const auto dense_key = [&](unsigned char *out, int room) { return gl_order_key(locale, text.c_str(), -1, -1, out, room); };
        std::string dense(static_cast<size_t>(dense_key(nullptr, 0)), '\0');
        EXPECT_EQ(dense_key(reinterpret_cast<unsigned char *>(dense.data()), static_cast<int>(dense.size())), dense.size());
        dense_keys.add(dense);
    }
    EXPECT_EQ(locale->error, 0);
    return {order.hex(), keys.hex(), dense_keys.hex()};
}

// ll_TT.codeset@modifier
std::string specification_of(const LocaleTask &task) {
    char language_territory[6], number[6], modifier[5];
    if (gl_lc_fname2lc_pieces(nullptr, task.file.c_str(), language_territory, number, modifier) != 0) return task.file;
    return fmt::format("{}.{}{}{}", language_territory, task.codeset_name, *modifier != '\0' ? "@" : "", modifier);
}

Table digests_of_tree() {
    Table table;
    std::map<std::string, Strings> texts;
    const fs::path data = QBGL_SOURCE_DIR "/data";
    const Strings list = fixed_strings();
    for (const LocaleTask &task : parse_locales(Catalogue::load(data), qbgl_test::read_file(data / "locales"), "locales")) {
        if (!fs::exists(fs::path(QBGL_TREE "/vrn/lc11") / task.file)) continue; // the codeset has not all of its characters
        const auto [place, is_new] = texts.try_emplace(task.codeset_name);
        if (is_new) place->second = in_codeset(list, task.codeset_name);
        const std::string specification = specification_of(task);
        table[specification] = digests_of(load(specification.c_str()).get(), place->second);
    }
    return table;
}

// The sources of the locales, which change with the platform.
std::string platform_mark() {
    std::map<std::string, fs::path> files;
    for (const auto &entry : fs::directory_iterator("/usr/share/i18n/locales")) files[entry.path().filename()] = entry.path();
    Fingerprint mark;
    for (const auto &[name, path] : files) mark.add(name).add(qbgl_test::read_file(path));
    return mark.hex();
}

TEST(FrozenOrder, OfNoLocaleChangesUnnoticed) {
    const ScopedEnv tree("QUORBANEDIR", QBGL_TREE);
    const Table now = digests_of_tree();
    ASSERT_GT(now.size(), 400U);
    if (const char *file = std::getenv("QBGL_NEW_ORDER")) {
        std::string text = "platform " + platform_mark() + "\n";
        for (const auto &[locale, digests] : now)
            text += fmt::format("{} {} {} {}\n", locale, digests.order, digests.keys, digests.dense_keys);
        write_file(file, text);
        return;
    }
    std::istringstream file(qbgl_test::read_file(DIGESTS));
    std::string word, platform, changes;
    file >> word >> platform;
    Table frozen;
    for (Digests digests; file >> word >> digests.order >> digests.keys >> digests.dense_keys;) frozen[word] = digests;
    for (const auto &[locale, digests] : frozen)
        if (!now.contains(locale)) changes += locale + ": no longer in the tree\n";
    for (const auto &[locale, digests] : now) {
        const auto place = frozen.find(locale);
        if (place == frozen.end())
            changes += locale + ": not in the list\n";
        else if (place->second != digests)
            changes += locale + (place->second.order != digests.order ? ": order changed\n"
                                 : place->second.keys != digests.keys ? ": sort keys changed\n"
                                                                      : ": dense keys changed\n");
    }
    EXPECT_EQ(changes, "")
        << "Databases whose indexes were built with the former order or keys need to rebuild them. The platform's\n"
        << "locale definitions are " << (platform == platform_mark() ? "those" : "NOT those")
        << " with which tests/order_digests.txt was made.\nIf the change is meant: give the reason in "
        << "docs/order-history.md (it tells when KEY_FORMAT must be raised), and\nrun this test with "
        << "QBGL_NEW_ORDER=" << DIGESTS << " in the environment, which writes the list anew.\n";
}

} // namespace
