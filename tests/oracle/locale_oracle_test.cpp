// Every locale of the tree against the platform's own, compiled from the same definition and charmap: the classes and the cases of
// every character, its width in each codeset, and every text and number.
#include "oracle/differences.h"
#include "oracle/platform_locale.h"
#include "oracle/repertoire.h"
#include "oracle/sample.h"
#include "oracle/tree_locales.h"
#include "support/locale_object.h"

#include "locale/widths.h"
#include "system/parallel.h"

#include <qbgl.h>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <climits>
#include <cwchar>
#include <cwctype>
#include <memory>
#include <optional>
#include <set>

namespace {

using namespace qbgl_test;
using qbgl::compiler::KnownUnicode;

constexpr size_t REPORTED = 12; // differences of one locale
constexpr unsigned ALL_CLASSES = 0xFFFF;

const char *const CLASSES[] = {"upper", "lower", "alpha", "digit",  "space", "cntrl",
                               "punct", "graph", "print", "xdigit", "blank", "alnum"};

struct Case {
    const char *name;
    uint16_t (*ours)(gl_locale *, char *, const char *, int);
    wint_t (*platforms)(wint_t);
};
constexpr Case CASES[] = {{"toupper", _qbx_gl_im_tomupper, std::towupper}, {"tolower", _qbx_gl_im_tomlower, std::towlower}};

// What the codeset of the thread's locale makes of bytes, and of a character.
std::optional<wchar_t> platform_reads(const Sequence &bytes) {
    const std::string text = bytes.text();
    std::array<wchar_t, 2 * Sequence::MAX> wide;
    mbstate_t state = {};
    const size_t length = std::mbrtowc(wide.data(), text.data(), text.size(), &state);
    if (length == 0 && bytes.length == 1) return wide[0];
    if (length != bytes.length) return std::nullopt;
    if (std::mbsinit(&state) != 0) return wide[0];
    // A base is held back until it is known that no mark follows it.
    const std::string with_next = text + "0";
    const char *source = with_next.c_str();
    state = {};
    const size_t count = std::mbsrtowcs(wide.data(), &source, wide.size(), &state);
    return count == 2 && wide[1] == L'0' ? std::optional(wide[0]) : std::nullopt;
}
std::optional<Sequence> platform_writes(wchar_t wc) {
    std::array<char, 2 * MB_LEN_MAX> buffer;
    mbstate_t state = {};
    const size_t length = std::wcrtomb(buffer.data(), wc, &state);
    if (length == static_cast<size_t>(-1)) return std::nullopt;
    std::string text(buffer.data(), length);
    if (std::mbsinit(&state) == 0) { // held back for the same reason
        text.append(buffer.data(), std::wcrtomb(buffer.data(), L'\0', &state));
        text.pop_back();
    }
    return text.empty() || text.size() > Sequence::MAX ? std::nullopt : std::optional(Sequence(text)); // it leaves out tags
}

class Comparison {
  public:
    Comparison(const TreeLocale &name, bool measures, gl_locale &ours, Differences &known, const KnownUnicode &known_unicode)
        : name_(name), measures_(measures), ours_(ours), known_(known), known_unicode_(known_unicode) {
        for (const char *standard : CLASSES) classes_.push_back({standard, gl_ctype(&ours, standard), wctype(standard)});
        for (int i = 0; i < ours.ctype.class_count; ++i) {
            const char *own = ours.ctype.class_list[i].name;
            if (const unsigned mask = gl_ctype(&ours, own) & ALL_CLASSES; mask != 0) classes_.push_back({own, mask, wctype(own)});
        }
    }

    size_t compare_characters() {
        const std::vector<Sequence> all = characters();
        for (const Sequence &bytes : all) compare(bytes);
        return all.size();
    }

    void compare_texts(const LocaleTexts &platforms) {
        LocaleTexts ours = items_of(ours_);
        add_conventions(ours, *gl_localeconv(&ours_));
        ASSERT_EQ(ours.size(), platforms.size());
        const auto shown = [](const std::vector<std::string> &texts) {
            std::string result;
            for (const std::string &text : texts) result += (result.empty() ? "" : ",") + hexadecimal(text);
            return result;
        };
        for (const auto &[name, texts] : platforms)
            if (ours.at(name) != texts) report("", name, "text", shown(ours.at(name)), shown(texts));
    }

    size_t unknown() const { return unknown_; }

  private:
    struct Class {
        std::string name;
        unsigned mask;
        wctype_t platforms;
        bool is_width = name == "full_width";
    };

    // Ours, and those that the platform has a class for. What it writes as a base and a mark is none.
    std::vector<Sequence> characters() const {
        std::vector<Sequence> result = sequences_of(*ours_.ctype.codeset_table);
        for (wchar_t code = 0; code < static_cast<wchar_t>(qbgl::compiler::CODE_LIMIT); ++code)
            if (std::iswprint(code) || std::iswcntrl(code) || std::iswspace(code))
                if (const auto bytes = platform_writes(code); bytes && !begins_with_another(*bytes)) result.push_back(*bytes);
        std::sort(result.begin(), result.end());
        result.erase(std::unique(result.begin(), result.end()), result.end());
        return result;
    }

    int length_of(const Sequence &bytes) const { return _qbx_gl_full_mblen(&ours_, bytes.text().data(), bytes.length); }
    bool begins_with_another(const Sequence &bytes) const {
        const int length = length_of(bytes);
        return length > 0 && length != bytes.length;
    }

    void compare(const Sequence &bytes) {
        const std::string text = bytes.text();
        const std::optional<wchar_t> wc = platform_reads(bytes);
        const std::string codes = wc ? fmt::format("U+{:06X}", static_cast<uint32_t>(*wc)) : "";
        if (length_of(bytes) < 0) return report(codes, bytes.hex(), "missing", "", bytes.hex());
        const unsigned mask = _qbx_gl_im_ismctype(&ours_, text.data(), bytes.length, ALL_CLASSES);
        if (wc && !known_unicode_.characters[static_cast<size_t>(*wc)]) { // the platform has nothing of it, and we have defaults
            const unsigned full_width = gl_ctype(&ours_, "full_width"), standard = 2 * GL_CLASS_BLANK - 1;
            const unsigned width = known_unicode_.full_width[static_cast<size_t>(*wc)] ? full_width : 0;
            EXPECT_EQ(mask & (standard | full_width), GL_CLASS_GRAPH | GL_CLASS_PRINT | width) << codes; // ranges of its own aside
            return;
        }
        if (const int width = gl_wcwidth(&ours_, wide(text)), platforms = wc ? wcwidth(*wc) : -1; measures_ && width != platforms)
            report(codes, bytes.hex(), fmt::format("{}-not-{}", width, platforms), "", "");
        const auto yes_or_no = [](bool value) { return value ? "yes" : "no"; };
        for (const Class &one : classes_) {
            if (one.is_width && !(wc && std::iswprint(*wc))) continue; // the platform tells no other width
            const bool ours = (mask & one.mask) != 0, platforms = wc && is_of(*wc, one);
            if (ours != platforms) report(codes, bytes.hex(), one.name, yes_or_no(ours), yes_or_no(platforms));
        }
        for (const Case &one : CASES) {
            std::array<char, 4> buffer = {};
            const uint16_t lengths = one.ours(&ours_, buffer.data(), text.data(), bytes.length);
            const Sequence ours = lengths != 0 ? Sequence({buffer.data(), lengths & 0xFFu}) : bytes;
            const wchar_t other = wc ? one.platforms(*wc) : 0;
            const Sequence platforms = wc && other != *wc ? platform_writes(other).value_or(bytes) : bytes;
            if (ours != platforms) report(codes, bytes.hex(), one.name, ours.hex(), platforms.hex());
        }
    }

    static bool is_of(wchar_t wc, const Class &one) {
        return one.is_width ? wcwidth(wc) == 2 : std::iswctype(static_cast<wint_t>(wc), one.platforms) != 0;
    }

    void report(const std::string &codes, const std::string &item, const std::string &kind, const std::string &ours,
                const std::string &theirs) {
        const Difference difference = {name_.name, name_.codeset, codes, item, kind, ours, theirs, "platform"};
        if (!known_.covers(difference) && unknown_++ < REPORTED) ADD_FAILURE() << difference.text();
    }

    const TreeLocale &name_;
    const bool measures_;
    gl_locale &ours_;
    Differences &known_;
    const KnownUnicode &known_unicode_;
    std::vector<Class> classes_;
    size_t unknown_ = 0;
};

// What the locales of the tree share.
class Oracle {
  public:
    // The widths of a codeset are measured under one of its locales.
    void compare(const TreeLocale &tree_locale, bool measures) {
        if (!PlatformLocales::has_charmap(tree_locale.charmap)) {
            EXPECT_EQ(tree_locale.charmap, "IBM932") << "no charmap"; // iconv's alone
            return;
        }
        const std::string name = platform_.compile(tree_locale.definition, tree_locale.charmap);
        gl_locale *loaded = nullptr;
        const int result = gl_lc_load(&loaded, tree_locale.spec.c_str(), nullptr, nullptr);
        const std::unique_ptr<gl_locale, void (*)(gl_locale *)> ours(loaded, gl_lc_unload);
        ASSERT_EQ(result, 0) << tree_locale.spec << ": error " << gl_errno(loaded);
        const PlatformLocale platforms(name);
        Comparison comparison(tree_locale, measures, *ours, known_, *known_unicode_);
        characters_ += comparison.compare_characters();
        comparison.compare_texts(platforms.texts());
        EXPECT_EQ(comparison.unknown(), 0U) << tree_locale.spec;
        ++locales_;
    }

    void conclude(size_t part) const {
        if (part == 1)
            for (const std::string &line : known_.mismatched()) ADD_FAILURE() << "not the differences of this line: " << line;
        fmt::print("{} locales, {} characters\n", locales_.load(), characters_.load());
    }

  private:
    const PlatformLocales platform_{QBGL_PLATFORM_LOCALES};
    Differences known_{QBGL_SOURCE_DIR "/tests/oracle/locale_differences.txt"};
    const std::shared_ptr<const KnownUnicode> known_unicode_ =
        qbgl::compiler::known_unicode(qbgl::compiler::load_charmap(qbgl::compiler::find_charmap("UTF-8")));
    std::atomic<uint64_t> locales_{0}, characters_{0};
};

TEST(LocaleOracle, EveryLocaleIsAsThePlatformCompilesIt) {
    setenv("QUORBANEDIR", QBGL_TREE, 1);
    const std::vector<TreeLocale> locales = tree_locales();
    ASSERT_FALSE(locales.empty()) << "no locales in " QBGL_TREE;
    const size_t part = oracle_part();
    Oracle oracle;
    std::set<size_t> codesets, measuring;
    for (size_t i = 0; i < locales.size(); i += part)
        if (PlatformLocales::has_charmap(locales[i].charmap) && codesets.insert(locales[i].codeset_index).second)
            measuring.insert(i);
    qbgl::compiler::parallel_for((locales.size() + part - 1) / part, 2,
                                 [&](size_t i) { oracle.compare(locales[i * part], measuring.contains(i * part)); });
    oracle.conclude(part);
}

} // namespace
