// Every character of every codeset of the tree: its width against the platform's.
#include "oracle/differences.h"
#include "oracle/platform_locale.h"
#include "oracle/repertoire.h"
#include "oracle/tree_locales.h"

#include <qbgl.h>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cwchar>
#include <set>

namespace {

using namespace qbgl_test;

// How wide the platform finds a character: -1 also for bytes that are none to it.
int platform_width(const std::string &bytes, std::string &codes) {
    wchar_t wide[8];
    if (std::mbstowcs(wide, bytes.c_str(), std::size(wide)) > 1) return -1;
    codes = fmt::format("U+{:06X}", static_cast<uint32_t>(wide[0]));
    return wcwidth(wide[0]);
}

gl_wchar wide_of(const Sequence &character) {
    gl_wchar wc = 0;
    for (const char byte : character.text()) wc = wc << 8 | static_cast<uint8_t>(byte);
    return wc;
}

TEST(WidthOracle, EveryCharacterIsAsWideAsOnThePlatform) {
    setenv("QUORBANEDIR", QBGL_TREE, 1);
    const PlatformLocales platform{QBGL_PLATFORM_LOCALES};
    Differences known{QBGL_SOURCE_DIR "/tests/oracle/width_differences.txt"};
    std::set<size_t> seen;
    size_t compared = 0, unknown = 0;
    for (const TreeLocale &locale : tree_locales()) {
        if (!PlatformLocales::has_charmap(locale.charmap) || !seen.insert(locale.codeset_index).second) continue;
        gl_locale *loaded = nullptr;
        ASSERT_EQ(gl_lc_load(&loaded, locale.spec.c_str(), nullptr, nullptr), 0) << locale.spec;
        const std::unique_ptr<gl_locale, void (*)(gl_locale *)> l(loaded, gl_lc_unload);
        const PlatformLocale platforms(platform.compile(locale.definition, locale.charmap));
        for (const Sequence &character : sequences_of(*l->ctype.codeset_table)) {
            std::string codes;
            const int ours = gl_wcwidth(loaded, wide_of(character));
            const int theirs = platform_width(character.text(), codes);
            ++compared;
            if (ours != theirs) {
                const std::string kind = fmt::format("{}-not-{}", ours, theirs);
                const Difference difference = {locale.name, locale.codeset, codes, character.hex(), kind, "", "", "platform"};
                if (!known.covers(difference) && unknown++ < 20) ADD_FAILURE() << difference.text();
            }
        }
    }
    for (const std::string &line : known.mismatched()) ADD_FAILURE() << "not the differences of this line: " << line;
    fmt::print("{} codesets, {} characters\n", seen.size(), compared);
}

} // namespace
