// What the extension library over ICU serves, against ICU called directly by a host that has the same texts: comparisons, keys,
// conversions, and opening a locale. A ratio of 0.87 is 1.15 times ICU's time.
//
//   extension_bench --benchmark_repetitions=9 --benchmark_enable_random_interleaving=true
#include "rows.h"
#include "texts.h"

#include "qbgl.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <unicode/ucasemap.h>
#include <unicode/ucnv.h>
#include <unicode/ucol.h>
#include <unicode/ustring.h>

namespace {

constexpr size_t TEXT_SIZE = 1 << 20, STRINGS = 4000, LONGEST_WORD = 60;
constexpr double WITHIN_115 = 1 / 1.15, WITHIN_130 = 1 / 1.3;

struct Language {
    const char *text, *spec, *charmap, *icu;
};
constexpr Language LANGUAGES[] = {{"cs", "cs_cz.utf8", "UTF-8", "cs_CZ"},
                                  {"de", "de_de.utf8", "UTF-8", "de_DE"},
                                  {"ja", "ja_jp.utf8", "UTF-8", "ja_JP"},
                                  {"cs", "cs_cz.8859-2@icu", "ISO-8859-2", "cs_CZ"}};

// What both sides have.
struct Side {
    gl_locale *locale;
    UCollator *collator;
    UConverter *converter; // null: the texts are UTF-8
    std::vector<std::string> words, lines;
};

void check(UErrorCode status, const char *what) {
    if (U_FAILURE(status)) throw std::runtime_error(std::string(what) + ": " + u_errorName(status));
}

int to_utf16(const Side &side, const std::string &text, UChar *out, int room) {
    UErrorCode status = U_ZERO_ERROR;
    int32_t length = 0;
    if (side.converter != nullptr)
        length = ucnv_toUChars(side.converter, out, room, text.data(), static_cast<int32_t>(text.size()), &status);
    else
        u_strFromUTF8(out, room, &length, text.data(), static_cast<int32_t>(text.size()), &status);
    return length;
}

int compare(const Side &side, const std::string &a, const std::string &b) {
    if (side.converter == nullptr) {
        UErrorCode status = U_ZERO_ERROR;
        return ucol_strcollUTF8(side.collator, a.data(), static_cast<int32_t>(a.size()), b.data(), static_cast<int32_t>(b.size()),
                                &status);
    }
    UChar first[1024], second[1024];
    const int length1 = to_utf16(side, a, first, 1024), length2 = to_utf16(side, b, second, 1024);
    return ucol_strcoll(side.collator, first, length1, second, length2);
}

size_t size_of(const std::vector<std::string> &strings) {
    size_t size = 0;
    for (const std::string &string : strings) size += string.size();
    return size;
}

void add_order(const std::string &name, const std::shared_ptr<Side> &side, const std::vector<std::string> &strings,
               std::vector<bench::Goal> &goals) {
    const auto pairs = [&strings](auto run) {
        int sum = 0;
        for (size_t i = 1; i < strings.size(); ++i) sum += run(strings[i - 1], strings[i]);
        benchmark::DoNotOptimize(sum);
    };
    bench::Row row = {"compare", size_of(strings), {{"icu", WITHIN_115}}, {}, strings.size()};
    row.sides["qbgl"] = [=] {
        pairs([&](const std::string &a, const std::string &b) {
            return gl_mbfscoll(side->locale, a.data(), static_cast<int>(a.size()), b.data(), static_cast<int>(b.size()));
        });
    };
    row.sides["icu"] = [=] { pairs([&](const std::string &a, const std::string &b) { return compare(*side, a, b); }); };
    bench::add_row(name + "/compare", row, LC_GLOBAL_LOCALE, goals);
    row.sides["qbgl"] = [=] {
        pairs([&](const std::string &a, const std::string &b) {
            return gl_order_compare(side->locale, a.data(), static_cast<int>(a.size()), b.data(), static_cast<int>(b.size()), -1);
        });
    };
    bench::add_row(name + "/order", row, LC_GLOBAL_LOCALE, goals);
    row.sides["qbgl"] = [=] {
        char key[4096];
        pairs([&](const std::string &a, const std::string &) { return gl_mbsxfrm(side->locale, key, a.c_str(), sizeof key); });
    };
    row.sides["icu"] = [=] {
        uint8_t key[4096];
        UChar units[1024];
        pairs([&](const std::string &a, const std::string &) {
            return ucol_getSortKey(side->collator, units, to_utf16(*side, a, units, 1024), key, sizeof key);
        });
    };
    bench::add_row(name + "/key", row, LC_GLOBAL_LOCALE, goals);
}

void add_conversion(const char *source, const char *target, const char *source_icu, const char *target_icu, const char *language,
                    const char *charmap, std::vector<bench::Goal> &goals) {
    gl_cv *cd = nullptr;
    if (gl_cv_load(&cd, target, source, nullptr, nullptr) != 1 || cd->glu_flag != 1)
        throw std::runtime_error("no conversion served");
    const auto text = std::make_shared<std::string>(bench::converted(
        bench::converted(bench::converted(bench::text_of(language, TEXT_SIZE), "UTF-8", charmap), charmap, "UTF-8"), "UTF-8",
        source_icu == std::string("SJIS") ? charmap : source_icu));
    const auto out = std::make_shared<std::string>(4 * text->size(), '\0');
    UErrorCode status = U_ZERO_ERROR;
    UConverter *const from = ucnv_open(source_icu, &status), *const to = ucnv_open(target_icu, &status);
    check(status, source_icu);
    bench::Row row = {"conversion", text->size(), {{"icu", WITHIN_115}}, {}};
    row.sides["qbgl"] = [=] {
        const char *in = text->data();
        char *at = out->data();
        int inleft = static_cast<int>(text->size()), outleft = static_cast<int>(out->size()), subst;
        if (gl_miconv(cd, &in, &inleft, &at, &outleft, &subst) != 0) throw std::runtime_error("not converted");
    };
    row.sides["icu"] = [=] {
        const char *in = text->data();
        char *at = out->data();
        UChar pivot[1024], *pivot_source = pivot, *pivot_target = pivot;
        UErrorCode code = U_ZERO_ERROR;
        ucnv_convertEx(to, from, &at, at + out->size(), &in, in + text->size(), pivot, &pivot_source, &pivot_target, pivot + 1024,
                       true, true, &code);
        check(code, "conversion");
    };
    bench::add_row(std::string(source) + "_" + target + "/convert", row, LC_GLOBAL_LOCALE, goals);
}

// A served locale against the same one served by its object, and what ICU then has to open for it.
void add_opening(std::vector<bench::Goal> &goals) {
    bench::Row row = {"open", 1, {{"icu", WITHIN_130}}, {}};
    row.sides["qbgl"] = [] { gl_lc_unload(bench::load("cs_cz.utf8")); };
    row.sides["icu"] = [] {
        unicode_collate = 0;
        gl_lc_unload(bench::load("cs_cz.utf8"));
        unicode_collate = 1;
        UErrorCode status = U_ZERO_ERROR;
        UCollator *const collator = ucol_open("cs_CZ", &status);
        UConverter *const converter = ucnv_open("UTF-8", &status);
        UCaseMap *const cases = ucasemap_open("cs_CZ", 0, &status);
        check(status, "cs_CZ");
        ucol_close(collator);
        ucnv_close(converter);
        ucasemap_close(cases);
    };
    bench::add_row("open", row, LC_GLOBAL_LOCALE, goals);
}

std::shared_ptr<Side> side_of(const Language &language) {
    auto side = std::make_shared<Side>();
    side->locale = bench::load(language.spec);
    if (side->locale->glu_flag[GL_CAT_COLLATE] != 1) throw std::runtime_error(std::string(language.spec) + " is not served");
    UErrorCode status = U_ZERO_ERROR;
    side->collator = ucol_open(language.icu, &status);
    const bool is_utf8 = std::strcmp(language.charmap, "UTF-8") == 0;
    side->converter = is_utf8 ? nullptr : ucnv_open(language.charmap, &status);
    check(status, language.icu);
    const std::string text = bench::converted(bench::text_of(language.text, TEXT_SIZE), "UTF-8", language.charmap);
    for (std::string &line : bench::lines_of(text)) {
        line.pop_back();
        if (line.empty() || line.size() > 1000) continue;
        if (side->lines.size() < STRINGS) side->lines.push_back(line);
        for (char *word = std::strtok(line.data(), " \t.,()-"); word != nullptr; word = std::strtok(nullptr, " \t.,()-"))
            if (side->words.size() < STRINGS && std::strlen(word) <= LONGEST_WORD) side->words.emplace_back(word);
    }
    return side;
}

} // namespace

int main(int argc, char **argv) {
    setenv("QUORBANEDIR", QBGL_ICU_TREE, 1);
    setenv("GL_USEGLU", "1", 1);
    gl_useglu(1);
    bench::start(argc, argv);
    std::vector<bench::Goal> goals;
    for (const Language &language : LANGUAGES) {
        const std::shared_ptr<Side> side = side_of(language);
        add_order(std::string(language.spec) + "/words", side, side->words, goals);
        add_order(std::string(language.spec) + "/lines", side, side->lines, goals);
    }
    add_conversion("utf8", "8859-2", "UTF-8", "ISO-8859-2", "cs", "ISO-8859-2", goals);
    add_conversion("8859-2", "utf8", "ISO-8859-2", "UTF-8", "cs", "ISO-8859-2", goals);
    add_conversion("utf8", "sjis", "UTF-8", "SJIS", "ja", "CP932", goals);
    add_conversion("sjis", "utf8", "SJIS", "UTF-8", "ja", "CP932", goals);
    add_conversion("utf8", "utf-16le", "UTF-8", "UTF-16LE", "ja", "CP932", goals);
    add_opening(goals);
    bench::RatioReporter reporter({"icu"}, goals);
    benchmark::RunSpecifiedBenchmarks(&reporter);
}
