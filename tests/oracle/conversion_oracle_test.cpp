// Every conversion of the tree against the platform's iconv program, character by character.
#include "oracle/differences.h"
#include "oracle/reference.h"
#include "oracle/repertoire.h"
#include "oracle/sample.h"
#include "support/conversion_object.h"

#include "system/parallel.h"

#include <qbgl.h>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
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

Reply convert(gl_cv &cd, const Sequence &character) {
    std::array<char, 16> buffer;
    const std::string text = character.text();
    const char *in = text.data();
    char *out = buffer.data();
    int inleft = character.length, outleft = buffer.size(), substituted = 0;
    const int result = gl_miconv(&cd, &in, &inleft, &out, &outleft, &substituted);
    return {result == 0 && inleft == 0, substituted != 0, std::string(buffer.data(), out)};
}

// What the conversions of the tree share: each codeset is asked once.
class Oracle {
  public:
    Oracle() {
        const Catalogue catalogue = Catalogue::load(QBGL_SOURCE_DIR "/data");
        for (const Catalogue::Codeset &codeset : catalogue.codesets())
            if (codeset.available()) codesets_.try_emplace(codeset.number, codeset);
    }

    // Compares one object of the tree.
    void compare(const fs::path &object) {
        const std::string name = object.stem().string();
        const auto codeset_at = [&](size_t at) -> Codeset & {
            return codesets_.at(static_cast<uint16_t>(std::stoul(name.substr(at, 4), nullptr, 16)));
        };
        gl_cv *cd = nullptr;
        ASSERT_EQ(gl_iconv_open1(&cd, object.filename().c_str()), 0) << object;
        Codeset &source = codeset_at(0);
        const std::vector<Sequence> table = table_characters(*cd);
        std::call_once(source.collected, [&] {
            source.table = table;
            source.repertoire = repertoire_of(source.reference, source.table);
        });
        // The repertoire is that of the first conversion from this codeset: all have to agree.
        EXPECT_TRUE(table == source.table) << name << ": its characters are not those of other conversions";
        compare(*cd, source, codeset_at(4));
        gl_cv_unload(cd);
        ++conversions_;
        characters_ += source.repertoire.size();
    }

    void conclude(size_t part) const {
        if (part == 1)
            for (const std::string &line : known_.mismatched()) ADD_FAILURE() << "not the differences of this line: " << line;
        fmt::print("{} conversions, {} characters\n", conversions_.load(), characters_.load());
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
            const Reply ours = convert(cd, item.first);
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

    Differences known_{QBGL_SOURCE_DIR "/tests/oracle/differences.txt"};
    const Transliterations transliterations_ = read_transliterations();
    std::map<uint16_t, Codeset> codesets_;
    std::atomic<uint64_t> conversions_{0}, characters_{0};
};

TEST(ConversionOracle, EveryConversionIsAsIconvDoesIt) {
    setenv("QUORBANEDIR", QBGL_TREE, 1);
    std::vector<fs::path> objects;
    for (const auto &entry : fs::directory_iterator(QBGL_TREE "/vrn/cv9"))
        if (!entry.is_symlink() && entry.path().extension() == ".cvo") objects.push_back(entry.path());
    ASSERT_FALSE(objects.empty()) << "no conversions in " QBGL_TREE;
    // The big ones first, so that the threads end together.
    std::sort(objects.begin(), objects.end(),
              [](const fs::path &a, const fs::path &b) { return fs::file_size(a) > fs::file_size(b); });
    const size_t part = oracle_part();
    Oracle oracle;
    qbgl::compiler::parallel_for((objects.size() + part - 1) / part, 2, [&](size_t i) { oracle.compare(objects[i * part]); });
    oracle.conclude(part);
}

} // namespace
