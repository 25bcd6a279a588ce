// Every conversion of the tree, and all pairs of forty codesets, against the platform's iconv program, character by character.
#include "oracle/differences.h"
#include "oracle/reference.h"
#include "oracle/repertoire.h"
#include "oracle/sample.h"
#include "support/conversion.h"

#include "system/parallel.h"

#include <qbgl.h>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <set>

namespace {

using namespace qbgl_test;
namespace fs = std::filesystem;

constexpr const char *TABLES = "/usr/share/i18n/locales";
constexpr size_t REPORTED = 12; // differences of one conversion

using Pair = std::pair<uint16_t, uint16_t>; // source and target, by their numbers

// Pairs of characters that stand in one line of the platform's transliteration tables.
using Transliterations = std::set<std::pair<char32_t, char32_t>>;
Transliterations read_transliterations() {
    Transliterations pairs;
    for (const auto &entry : fs::directory_iterator(TABLES)) {
        if (!entry.path().filename().string().starts_with("translit_")) continue;
        std::ifstream file(entry.path());
        for (std::string line; std::getline(file, line);) {
            if (!line.starts_with("<U")) continue;
            line.erase(std::min(line.find('%'), line.size()));
            const auto code_at = [&](size_t at) { return static_cast<char32_t>(std::stoul(line.substr(at + 2), nullptr, 16)); };
            for (size_t at = 0; (at = line.find("<U", at + 1)) != std::string::npos;) {
                pairs.emplace(code_at(0), code_at(at));
                pairs.emplace(code_at(at), code_at(0));
            }
        }
    }
    return pairs;
}

struct Reply {
    bool converted, substituted;
    std::string bytes;
};

Reply converted(gl_cv &cd, const Sequence &character) {
    const Outcome o = convert(cd, character.text(), 16);
    return {o.result == 0, o.substituted != 0, o.output};
}

// What the conversions of the tree share: each codeset is asked once.
class Oracle {
  public:
    explicit Oracle(const char *differences) : known_(std::string(QBGL_SOURCE_DIR "/tests/oracle/") + differences) {
        for (const Catalogue::Codeset &codeset : catalogue_.codesets())
            if (codeset.available() || !codeset.iconv.empty()) codesets_.try_emplace(codeset.number, codeset);
    }

    uint16_t number_of(const char *name) const { return catalogue_.codesets()[catalogue_.find(name).value()].number; }

    // Compares one conversion.
    void compare(const Pair &pair) {
        const std::string name = fmt::format("{} to {}", codesets_.at(pair.first).name, codesets_.at(pair.second).name);
        gl_cv *cd = nullptr;
        const std::string from = std::to_string(pair.first), to = std::to_string(pair.second);
        ASSERT_EQ(gl_cv_load(&cd, to.c_str(), from.c_str(), nullptr, nullptr), 1) << name;
        Codeset &source = codesets_.at(pair.first);
        const std::vector<Sequence> table = table_characters(*cd);
        std::call_once(source.collected, [&] {
            source.table = table;
            source.repertoire = repertoire_of(source.reference, source.table);
        });
        // The repertoire is that of the first conversion from this codeset: all have to agree.
        EXPECT_TRUE(table == source.table) << name << ": its characters are not those of other conversions";
        compare(*cd, source, codesets_.at(pair.second));
        gl_cv_unload(cd);
    }

    void conclude(size_t part) const {
        if (part == 1)
            for (const std::string &line : known_.mismatched()) ADD_FAILURE() << "not the differences of this line: " << line;
    }

  private:
    struct Codeset {
        explicit Codeset(const Catalogue::Codeset &codeset) : name(codeset.name), reference(codeset) {}
        const std::string name;
        const Reference reference;
        std::once_flag collected;
        std::vector<Sequence> table;
        Repertoire repertoire;
    };

    void compare(gl_cv &cd, const Codeset &source, const Codeset &target) {
        size_t unknown = 0;
        const auto report = [&](const Repertoire::value_type &item, const char *kind, const Reply &ours,
                                const std::string &iconvs) {
            std::string codes;
            for (const char32_t code : item.second) codes += fmt::format("U+{:06X}", uint32_t{code});
            const Difference difference = {source.name,        target.name, codes,
                                           item.first.hex(),   kind,        ours.converted ? hexadecimal(ours.bytes) : "",
                                           hexadecimal(iconvs)};
            if (!known_.covers(difference) && unknown++ < REPORTED) ADD_FAILURE() << difference.text();
        };
        struct Substitute {
            const Repertoire::value_type &item;
            Reply ours;
            std::string iconvs;
        };
        std::vector<Substitute> substitutes;
        std::vector<std::string> read, written; // by iconv; for a character, by us
        for (const auto &[bytes, codes] : source.repertoire)
            if (!codes.empty()) read.push_back(bytes.text());
        const std::vector<std::string> answers = source.reference.ask(target.reference, read);
        auto answer = answers.begin();
        for (const auto &item : source.repertoire) {
            const Reply ours = converted(cd, item.first);
            const bool is_read = !item.second.empty();
            const std::string iconvs = is_read ? *answer++ : "";
            if (!ours.converted) {
                if (!iconvs.empty()) report(item, "not-converted", ours, iconvs);
            } else if (!is_read) {
                report(item, "not-read", ours, iconvs);
            } else if (!iconvs.empty() && ours.bytes != iconvs) {
                report(item, ours.substituted ? "other-substituted" : "other", ours, iconvs);
            } else if (ours.substituted) {
                written.push_back(ours.bytes);
                substitutes.push_back({item, ours, iconvs});
            } else if (iconvs.empty()) {
                report(item, "converted", ours, iconvs);
            }
        }
        // The flag is right where iconv reads the bytes back as another character. Where iconv does not write them itself, that has
        // to be one that the platform holds for a stand-in.
        const std::vector<std::string> readings = target.reference.ask(Reference::utf32(), written);
        for (size_t i = 0; i < substitutes.size(); ++i) {
            const auto &[item, ours, iconvs] = substitutes[i];
            const std::u32string codes = codes_of(readings[i]);
            const bool justified = codes.size() == 1 && item.second.size() == 1 && codes != item.second &&
                                   (!iconvs.empty() || transliterations_.contains({item.second[0], codes[0]}));
            if (!justified) report(item, "substituted", ours, iconvs);
        }
        EXPECT_EQ(unknown, 0u) << source.name << " to " << target.name;
    }

    const Catalogue catalogue_ = Catalogue::load(QBGL_SOURCE_DIR "/data");
    Differences known_;
    const Transliterations transliterations_ = read_transliterations();
    std::map<uint16_t, Codeset> codesets_;
};

TEST(ConversionOracle, EveryObjectConvertsAsIconvDoes) {
    setenv("QUORBANEDIR", QBGL_TREE, 1);
    std::vector<std::pair<uintmax_t, Pair>> objects;
    for (const auto &entry : fs::directory_iterator(QBGL_TREE "/vrn/cv9")) {
        if (entry.is_symlink() || entry.path().extension() != ".cvo") continue;
        const unsigned long both = std::stoul(entry.path().stem().string(), nullptr, 16);
        objects.emplace_back(entry.file_size(), Pair(both >> 16, both & 0xFFFF));
    }
    ASSERT_FALSE(objects.empty()) << "no conversions in " QBGL_TREE;
    std::sort(objects.rbegin(), objects.rend()); // the big ones first, so that the threads end together
    const size_t part = oracle_part();
    Oracle oracle("differences.txt");
    qbgl::compiler::parallel_for((objects.size() + part - 1) / part, 2,
                                 [&](size_t i) { oracle.compare(objects[i * part].second); });
    oracle.conclude(part);
}

constexpr const char *FORTY[] = {"utf8",     "utf-16le", "utf-16be", "utf-32be",       "ucs4",          "unicode",  "ascii",
                                 "8859-1",   "8859-2",   "8859-5",   "8859-6",         "8859-7",        "8859-15",  "cp1250",
                                 "cp1251",   "cp1252",   "cp1258",   "unitedstates",   "koi-8",         "thai",     "viscii",
                                 "ebcdic",   "cp875",    "sjis",     "ujis",           "windows-31j",   "ccsid932", "ccsid930",
                                 "ccsid939", "eucjp-ms", "big5",     "big5-hkscs",     "euctw",         "gb",       "gbk",
                                 "gb18030",  "ksc",      "johab",    "korhstmxexsbcs", "tchhstmxexsbcs"};
static_assert(std::size(FORTY) == 40);

// Those without an object: composed, or by algorithm. All of them take an hour; a part of them stands for the others, since each is
// made of two that are compared whole.
TEST(ConversionOracle, EveryOtherPairConvertsAsIconvDoes) {
    setenv("QUORBANEDIR", QBGL_TREE, 1);
    Oracle oracle("composed_differences.txt");
    std::vector<Pair> pairs;
    for (const char *source : FORTY)
        for (const char *target : FORTY) {
            const Pair pair(oracle.number_of(source), oracle.number_of(target));
            if (pair.first != pair.second &&
                !fs::exists(fmt::format("{}/vrn/cv9/{:04x}{:04x}.cvo", QBGL_TREE, pair.first, pair.second)))
                pairs.push_back(pair);
        }
    const size_t part = std::getenv("QBGL_ORACLE_PART") != nullptr ? oracle_part() : 32 * oracle_part();
    qbgl::compiler::parallel_for((pairs.size() + part - 1) / part, 2, [&](size_t i) { oracle.compare(pairs[i * part]); });
    oracle.conclude(part);
}

} // namespace
