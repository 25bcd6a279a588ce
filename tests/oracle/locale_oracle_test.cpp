// Every locale of the tree against the platform's own, compiled from the same definition and charmap: the classes and the cases of
// every character, its width in each codeset, and every text and number.
#include "oracle/repertoire.h"
#include "oracle/sample.h"
#include "oracle/tree_oracle.h"
#include "support/locale_object.h"

#include "locale/widths.h"

#include <qbgl.h>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cwchar>
#include <cwctype>
#include <memory>
#include <optional>
#include <set>

namespace {

using namespace qbgl_test;
using qbgl::compiler::KnownUnicode;

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
    // The widths of a codeset are measured under one of its locales.
    Comparison(OracleLocale &locale, bool measures, const KnownUnicode &known_unicode)
        : locale_(locale), measures_(measures), ours_(locale.ours()), known_unicode_(known_unicode) {
        for (const char *standard : CLASSES) classes_.push_back({standard, gl_ctype(&ours_, standard), wctype(standard)});
        for (int i = 0; i < ours_.ctype.class_count; ++i) {
            const char *own = ours_.ctype.class_list[i].name;
            if (const unsigned mask = gl_ctype(&ours_, own) & ALL_CLASSES; mask != 0) classes_.push_back({own, mask, wctype(own)});
        }
    }

    void compare_characters() {
        for (const Sequence &bytes : characters()) compare(bytes);
    }

    void compare_texts() {
        const LocaleTexts platforms = locale_.platforms().texts();
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
        locale_.report(item, kind, ours, theirs, "", codes);
    }

    OracleLocale &locale_;
    const bool measures_;
    gl_locale &ours_;
    const KnownUnicode &known_unicode_;
    std::vector<Class> classes_;
};

TEST(LocaleOracle, EveryLocaleIsAsThePlatformCompilesIt) {
    TreeOracle oracle("locale_differences.txt");
    const auto known_unicode = qbgl::compiler::known_unicode(qbgl::compiler::load_charmap(qbgl::compiler::find_charmap("UTF-8")));
    const size_t part = oracle_part();
    std::set<size_t> codesets, measuring;
    for (size_t i = 0; i < oracle.locales().size(); i += part)
        if (PlatformLocales::has_charmap(oracle.locales()[i].charmap) && codesets.insert(oracle.locales()[i].codeset_index).second)
            measuring.insert(i);
    oracle.each([&](OracleLocale &locale) {
        Comparison comparison(locale, measuring.contains(locale.index()), *known_unicode);
        comparison.compare_characters();
        comparison.compare_texts();
    });
}

} // namespace
