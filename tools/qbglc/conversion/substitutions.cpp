#include "conversion/substitutions.h"

#include "charmap/sequence.h"
#include "recipe/lines.h"
#include "system/error.h"
#include "system/file.h"

#include <fmt/format.h>

#include <charconv>
#include <sstream>

namespace qbgl::compiler {

namespace {

constexpr const char *LOCALES = "/usr/share/i18n/locales/";

constexpr char32_t NO_CODE = CODE_LIMIT;

// Removes <Uxxxx> from the front of the text; NO_CODE when it does not stand there.
char32_t take_code(std::string_view &text) {
    const size_t end = text.find('>');
    if (!text.starts_with("<U") || (end != 6 && end != 10)) return NO_CODE;
    uint32_t code = 0;
    const auto [stop, error] = std::from_chars(text.data() + 2, text.data() + end, code, 16);
    if (error != std::errc() || stop != text.data() + end || !is_scalar_value(code)) return NO_CODE;
    text.remove_prefix(end + 1);
    return code;
}

// Removes one alternative, <Uxxxx> or a string in quotes; false when it is malformed. `single` receives the code of an alternative
// of one character, otherwise NO_CODE.
bool take_alternative(std::string_view &text, char32_t &single) {
    if (!text.starts_with('"')) return (single = take_code(text)) != NO_CODE;
    text.remove_prefix(1);
    single = NO_CODE;
    size_t count = 0;
    for (; !text.starts_with('"'); ++count) {
        if (text.empty()) return false;
        single = take_code(text);
        if (single == NO_CODE) text.remove_prefix(1); // a character that stands for itself
    }
    text.remove_prefix(1);
    if (count != 1) single = NO_CODE;
    return true;
}

} // namespace

void Substitutions::add_locale_text(std::string_view text, const std::string &file, bool both_ways) {
    std::istringstream stream{std::string(text)};
    std::string line;
    bool inside = false;
    for (unsigned number = 1; std::getline(stream, line); ++number) {
        std::string_view rest = line;
        const auto fail = [&]() { throw DataError(fmt::format("{}:{}: malformed transliteration: {}", file, number, line)); };
        if (rest.starts_with("translit_start"))
            inside = true;
        else if (rest.starts_with("translit_end"))
            inside = false;
        // Included tables are named by the recipe where they are wanted; a string as the original is more than one character.
        if (!inside || !rest.starts_with('<')) continue;
        const char32_t code = take_code(rest);
        if (code == NO_CODE) fail();
        do {
            rest.remove_prefix(std::min(rest.find_first_not_of("; \t"), rest.size()));
            char32_t single = NO_CODE;
            if (!take_alternative(rest, single)) fail();
            if (single == NO_CODE) continue;
            add(code, single);
            if (both_ways) reverse_.emplace_back(single, code);
        } while (rest.starts_with(';'));
        rest.remove_prefix(std::min(rest.find_first_not_of(" \t"), rest.size()));
        if (!rest.empty() && rest[0] != '%') fail();
    }
}

Substitutions Substitutions::load(const std::filesystem::path &recipe) {
    Substitutions result;
    for_each_line(read_recipe(recipe), [&](const RecipeLine &line) {
        const std::string &verb = line.words[0];
        if (verb == "table" || verb == "table-both-ways") {
            if (line.words.size() != 2) throw line.error("table NAME expected");
            const std::string path = LOCALES + line.words[1];
            const std::string text = read_file(path);
            result.fingerprint_.add(verb).add(text);
            result.add_locale_text(text, path, verb == "table-both-ways");
        } else if (verb == "either") {
            const char32_t a = line.number(1, 16, CODE_LIMIT - 1), b = line.number(2, 16, CODE_LIMIT - 1);
            result.fingerprint_.add(verb).add(line.words[1]).add(line.words[2]);
            result.add(a, b);
            result.add(b, a);
        } else if (verb == "except") {
            const char32_t code = line.number(1, 16, CODE_LIMIT - 1);
            result.fingerprint_.add(line.words[1]);
            result.drop(code);
        } else {
            throw line.error(excerpt(verb) + ": unknown word");
        }
    });
    for (const auto &[code, alternative] : result.reverse_) result.add(code, alternative);
    result.reverse_.clear();
    return result;
}

} // namespace qbgl::compiler
