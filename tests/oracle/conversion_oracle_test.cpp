// Every conversion of the tree against the platform's iconv program, character by character.
#include "oracle/differences.h"
#include "oracle/reference.h"
#include "oracle/repertoire.h"

#include "parallel.h"

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

constexpr size_t SAMPLE = QBGL_TREE_SAMPLE; // one conversion out of this many; the counts of the table hold for all

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
            const auto code = static_cast<char32_t>(std::stoul(line.substr(2), nullptr, 16));
            for (size_t at = line.find("<U", 1); at != std::string::npos; at = line.find("<U", at + 1)) {
                const auto other = static_cast<char32_t>(std::stoul(line.substr(at + 2), nullptr, 16));
                pairs.emplace(code, other);
                pairs.emplace(other, code);
            }
        }
    }
    return pairs;
}

struct Reply {
    bool converted = false, substituted = false;
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
    Oracle() : catalogue_(Catalogue::load(QBGL_SOURCE_DIR "/data")), known_(QBGL_SOURCE_DIR "/tests/oracle/differences.txt") {
        for (const Catalogue::Codeset &codeset : catalogue_.codesets()) codesets_[codeset.number].codeset = &codeset;
    }

    // Compares one object of the tree.
    void compare(const fs::path &object) {
        const std::string name = object.stem().string();
        const auto number = [&](size_t at) { return static_cast<uint16_t>(std::stoul(name.substr(at, 4), nullptr, 16)); };
        Codeset &source = codesets_.at(number(0)), &target = codesets_.at(number(4));
        gl_cv *cd = nullptr;
        ASSERT_EQ(gl_iconv_open1(&cd, object.filename().c_str()), 0) << object;
        const std::vector<Sequence> table = table_characters(*cd);
        const Repertoire &repertoire = repertoire_at(source, table);
        const Comparison comparison = {*cd, source, target, reference_of(source), reference_of(target), repertoire};
        size_t unknown = 0;
        comparison.run(transliterations_, [&](const Difference &difference) {
            if (!known_.covers(difference) && unknown++ < REPORTED) ADD_FAILURE() << difference.text();
        });
        EXPECT_EQ(unknown, 0u) << source.codeset->name << " to " << target.codeset->name;
        gl_cv_unload(cd);
        // The repertoire is that of the first conversion from this codeset: all have to agree.
        EXPECT_TRUE(table == source.table) << name << ": its characters are not those of other conversions";
        ++conversions_;
        characters_ += repertoire.items.size();
    }

    void conclude() {
        if (SAMPLE == 1)
            for (const std::string &line : known_.mismatched()) ADD_FAILURE() << "not the differences of this line: " << line;
        fmt::print("{} conversions, {} characters\n", conversions_.load(), characters_.load());
    }

  private:
    struct Codeset {
        const Catalogue::Codeset *codeset;
        std::once_flag referred, collected;
        std::unique_ptr<const Reference> reference;
        std::vector<Sequence> table;
        Repertoire repertoire;
    };

    struct Comparison {
        gl_cv &cd;
        const Codeset &source, &target;
        const Reference &from, &to;
        const Repertoire &repertoire;

        Difference difference(const Repertoire::Item &item, const char *kind, const Reply &ours, std::string_view iconvs) const {
            std::string codes;
            for (const char32_t code : item.codes) codes += fmt::format("U+{:06X}", uint32_t{code});
            const auto hex = [](std::string_view bytes) {
                std::string text;
                for (const char byte : bytes) text += fmt::format("{:02x}", static_cast<uint8_t>(byte));
                return text;
            };
            return {
                source.codeset->name, target.codeset->name, codes, item.bytes.hex(), kind, ours.converted ? hex(ours.bytes) : "",
                hex(iconvs)};
        }

        template <class Report> void run(const Transliterations &transliterations, Report report) const {
            struct Substituted {
                const Repertoire::Item *item;
                Reply reply;
                std::string iconvs;
            };
            std::vector<Substituted> substituted;
            std::string question; // what do the substitutes read as?
            const std::vector<std::string> answers = from.ask(to, repertoire.question, repertoire.question_count);
            size_t next = 0;
            for (const Repertoire::Item &item : repertoire.items) {
                const Reply ours = convert(cd, item.bytes);
                if (item.codes.empty()) {
                    if (ours.converted) report(difference(item, "not-read", ours, ""));
                    continue;
                }
                const std::string &iconvs = answers[next++];
                if (!ours.converted) {
                    if (!iconvs.empty()) report(difference(item, "not-converted", ours, iconvs));
                } else if (!iconvs.empty() && ours.bytes != iconvs) {
                    report(difference(item, ours.substituted ? "other-substituted" : "other", ours, iconvs));
                } else if (ours.substituted) {
                    question += to.frame(ours.bytes);
                    substituted.push_back({&item, ours, iconvs});
                } else if (iconvs.empty()) {
                    report(difference(item, "converted", ours, iconvs));
                }
            }
            // The flag is right where iconv reads the bytes back as another character. Where iconv does not write them itself, that
            // has to be one that the platform holds for a stand-in.
            const std::vector<std::string> readings = to.ask(Reference::utf32(), question, substituted.size());
            for (size_t i = 0; i < substituted.size(); ++i) {
                const auto &[item, reply, iconvs] = substituted[i];
                const std::u32string codes = codes_of(readings[i]);
                const bool justified = codes.size() == 1 && item->codes.size() == 1 && codes != item->codes &&
                                       (!iconvs.empty() || transliterations.contains({item->codes[0], codes[0]}));
                if (!justified) report(difference(*item, "substituted", reply, iconvs));
            }
        }
    };

    const Reference &reference_of(Codeset &codeset) {
        std::call_once(codeset.referred, [&] { codeset.reference = std::make_unique<Reference>(*codeset.codeset); });
        return *codeset.reference;
    }
    const Repertoire &repertoire_at(Codeset &codeset, const std::vector<Sequence> &table) {
        std::call_once(codeset.collected, [&] {
            codeset.table = table;
            codeset.repertoire = repertoire_of(reference_of(codeset), codeset.table);
        });
        return codeset.repertoire;
    }

    Catalogue catalogue_;
    Differences known_;
    std::map<uint16_t, Codeset> codesets_;
    const Transliterations transliterations_ = read_transliterations();
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
    Oracle oracle;
    qbgl::compiler::parallel_for((objects.size() + SAMPLE - 1) / SAMPLE, 2, [&](size_t i) { oracle.compare(objects[i * SAMPLE]); });
    oracle.conclude();
}

} // namespace
