#include "definition/parser.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <optional>

namespace qbgl::compiler {

namespace {

enum class Operands { TEXT, NUMBER };

struct KnownKeyword {
    std::string_view category, name;
    Operands operands;
    unsigned least, most;
};

constexpr unsigned ANY = ~0u;

constexpr std::array KEYWORDS = std::to_array<KnownKeyword>({
    {"LC_NUMERIC", "decimal_point", Operands::TEXT, 1, 1},
    {"LC_NUMERIC", "thousands_sep", Operands::TEXT, 1, 1},
    {"LC_NUMERIC", "grouping", Operands::NUMBER, 1, ANY},

    {"LC_MONETARY", "int_curr_symbol", Operands::TEXT, 1, 1},
    {"LC_MONETARY", "currency_symbol", Operands::TEXT, 1, 1},
    {"LC_MONETARY", "mon_decimal_point", Operands::TEXT, 1, 1},
    {"LC_MONETARY", "mon_thousands_sep", Operands::TEXT, 1, 1},
    {"LC_MONETARY", "mon_grouping", Operands::NUMBER, 1, ANY},
    {"LC_MONETARY", "positive_sign", Operands::TEXT, 1, 1},
    {"LC_MONETARY", "negative_sign", Operands::TEXT, 1, 1},
    {"LC_MONETARY", "int_frac_digits", Operands::NUMBER, 1, 1},
    {"LC_MONETARY", "frac_digits", Operands::NUMBER, 1, 1},
    {"LC_MONETARY", "p_cs_precedes", Operands::NUMBER, 1, 1},
    {"LC_MONETARY", "p_sep_by_space", Operands::NUMBER, 1, 1},
    {"LC_MONETARY", "n_cs_precedes", Operands::NUMBER, 1, 1},
    {"LC_MONETARY", "n_sep_by_space", Operands::NUMBER, 1, 1},
    {"LC_MONETARY", "p_sign_posn", Operands::NUMBER, 1, 1},
    {"LC_MONETARY", "n_sign_posn", Operands::NUMBER, 1, 1},
    {"LC_MONETARY", "int_p_cs_precedes", Operands::NUMBER, 1, 1},
    {"LC_MONETARY", "int_p_sep_by_space", Operands::NUMBER, 1, 1},
    {"LC_MONETARY", "int_n_cs_precedes", Operands::NUMBER, 1, 1},
    {"LC_MONETARY", "int_n_sep_by_space", Operands::NUMBER, 1, 1},
    {"LC_MONETARY", "int_p_sign_posn", Operands::NUMBER, 1, 1},
    {"LC_MONETARY", "int_n_sign_posn", Operands::NUMBER, 1, 1},
    {"LC_MONETARY", "duo_int_curr_symbol", Operands::TEXT, 1, 1},
    {"LC_MONETARY", "duo_currency_symbol", Operands::TEXT, 1, 1},
    {"LC_MONETARY", "duo_int_frac_digits", Operands::NUMBER, 1, 1},
    {"LC_MONETARY", "duo_frac_digits", Operands::NUMBER, 1, 1},
    {"LC_MONETARY", "duo_p_cs_precedes", Operands::NUMBER, 1, 1},
    {"LC_MONETARY", "duo_p_sep_by_space", Operands::NUMBER, 1, 1},
    {"LC_MONETARY", "duo_n_cs_precedes", Operands::NUMBER, 1, 1},
    {"LC_MONETARY", "duo_n_sep_by_space", Operands::NUMBER, 1, 1},
    {"LC_MONETARY", "duo_p_sign_posn", Operands::NUMBER, 1, 1},
    {"LC_MONETARY", "duo_n_sign_posn", Operands::NUMBER, 1, 1},
    {"LC_MONETARY", "duo_int_p_cs_precedes", Operands::NUMBER, 1, 1},
    {"LC_MONETARY", "duo_int_p_sep_by_space", Operands::NUMBER, 1, 1},
    {"LC_MONETARY", "duo_int_n_cs_precedes", Operands::NUMBER, 1, 1},
    {"LC_MONETARY", "duo_int_n_sep_by_space", Operands::NUMBER, 1, 1},
    {"LC_MONETARY", "duo_int_p_sign_posn", Operands::NUMBER, 1, 1},
    {"LC_MONETARY", "duo_int_n_sign_posn", Operands::NUMBER, 1, 1},
    {"LC_MONETARY", "uno_valid_from", Operands::NUMBER, 1, 1},
    {"LC_MONETARY", "uno_valid_to", Operands::NUMBER, 1, 1},
    {"LC_MONETARY", "duo_valid_from", Operands::NUMBER, 1, 1},
    {"LC_MONETARY", "duo_valid_to", Operands::NUMBER, 1, 1},
    {"LC_MONETARY", "conversion_rate", Operands::NUMBER, 2, 2},

    {"LC_TIME", "abday", Operands::TEXT, 7, 7},
    {"LC_TIME", "day", Operands::TEXT, 7, 7},
    {"LC_TIME", "abmon", Operands::TEXT, 12, 12},
    {"LC_TIME", "mon", Operands::TEXT, 12, 12},
    {"LC_TIME", "ab_alt_mon", Operands::TEXT, 12, 12},
    {"LC_TIME", "alt_mon", Operands::TEXT, 12, 12},
    {"LC_TIME", "d_t_fmt", Operands::TEXT, 1, 1},
    {"LC_TIME", "d_fmt", Operands::TEXT, 1, 1},
    {"LC_TIME", "t_fmt", Operands::TEXT, 1, 1},
    {"LC_TIME", "t_fmt_ampm", Operands::TEXT, 1, 1},
    {"LC_TIME", "date_fmt", Operands::TEXT, 1, 1},
    {"LC_TIME", "am_pm", Operands::TEXT, 2, 2},
    {"LC_TIME", "era", Operands::TEXT, 1, ANY},
    {"LC_TIME", "era_year", Operands::TEXT, 1, 1},
    {"LC_TIME", "era_d_fmt", Operands::TEXT, 1, 1},
    {"LC_TIME", "era_t_fmt", Operands::TEXT, 1, 1},
    {"LC_TIME", "era_d_t_fmt", Operands::TEXT, 1, 1},
    {"LC_TIME", "alt_digits", Operands::TEXT, 1, 100},
    {"LC_TIME", "week", Operands::NUMBER, 1, 3},
    {"LC_TIME", "first_weekday", Operands::NUMBER, 1, 1},
    {"LC_TIME", "first_workday", Operands::NUMBER, 1, 1},
    {"LC_TIME", "cal_direction", Operands::NUMBER, 1, 1},
    {"LC_TIME", "timezone", Operands::TEXT, 1, ANY},

    {"LC_MESSAGES", "yesexpr", Operands::TEXT, 1, 1},
    {"LC_MESSAGES", "noexpr", Operands::TEXT, 1, 1},
    {"LC_MESSAGES", "yesstr", Operands::TEXT, 1, 1},
    {"LC_MESSAGES", "nostr", Operands::TEXT, 1, 1},
});

// The values that POSIX gives to layouts of money and, with the platform, to days and directions; -1 is "not available".
struct NumberRange {
    std::string_view end; // of the keyword's name
    int least, most;
};
constexpr std::array NUMBER_RANGES = std::to_array<NumberRange>({
    {"_cs_precedes", -1, 1},
    {"_sep_by_space", -1, 2},
    {"_sign_posn", -1, 4},
    {"first_weekday", 1, 7},
    {"first_workday", 1, 7},
    {"cal_direction", 1, 3},
});

void check_values(const Keyword &keyword, std::string_view name) {
    const auto *range = std::find_if(NUMBER_RANGES.begin(), NUMBER_RANGES.end(),
                                     [&](const NumberRange &entry) { return name.ends_with(entry.end); });
    if (range != NUMBER_RANGES.end() && (keyword.number() < range->least || keyword.number() > range->most))
        throw keyword.place.error(
            fmt::format("{}: {} is not between {} and {}", name, keyword.number(), range->least, range->most));
    // Three letters of ISO 4217 and what stands between them and a number, or nothing.
    if (name.ends_with("int_curr_symbol") && !keyword.text().empty() && keyword.text().size() != 4)
        throw keyword.place.error(fmt::format("{}: {} characters, not 4", name, keyword.text().size()));
}

Keyword read_operands(Lexer &lexer, const KnownKeyword &known) {
    Keyword keyword{{}, lexer.place()};
    do {
        if (lexer.token().is_end() && !keyword.operands.empty()) break; // a ; may end the list
        if (known.operands == Operands::TEXT)
            keyword.operands.emplace_back(lexer.take_text());
        else
            keyword.operands.emplace_back(lexer.take_number());
    } while (lexer.accept(Token::Kind::SEMICOLON));
    lexer.expect_end();
    if (const size_t count = keyword.operands.size(); count < known.least || count > known.most)
        throw keyword.place.error(known.least == known.most
                                      ? fmt::format("{}: {} operands, not {}", known.name, count, known.least)
                                      : fmt::format("{}: {} operands, not {} to {}", known.name, count, known.least, known.most));
    check_values(keyword, known.name);
    return keyword;
}

} // namespace

ParsedKeywords parse_keywords(const DefinitionSource &source, std::string_view category, CopiedCategories &copied) {
    Lexer lexer(source, source.category(category));
    ParsedKeywords parsed{{}, {*source.file}};
    ErrorList errors;
    std::optional<Place> copy;
    lexer.for_each_line(errors, [&] {
        const Place place = lexer.place();
        if (lexer.token().kind != Token::Kind::WORD) lexer.fail("keyword expected");
        const std::string name(lexer.token().text);
        lexer.advance();
        if (copy || (name == "copy" && !parsed.keywords.empty()))
            throw place.error(fmt::format("{}: a copy stands alone in {}", excerpt(name), category));
        if (name == "copy") {
            copy = place;
            const ParsedKeywords &other = copied.keywords(lexer.take_name(), place, category);
            lexer.expect_end();
            parsed.keywords = other.keywords;
            parsed.sources.insert(parsed.sources.end(), other.sources.begin(), other.sources.end());
            return;
        }
        const auto *known = std::find_if(KEYWORDS.begin(), KEYWORDS.end(), [&](const KnownKeyword &entry) {
            return entry.category == category && entry.name == name;
        });
        if (known == KEYWORDS.end()) throw place.error(fmt::format("{}: unknown keyword of {}", excerpt(name), category));
        const auto [entry, is_new] = parsed.keywords.try_emplace(name);
        if (!is_new) throw place.error(fmt::format("{}: stands twice", name));
        entry->second = read_operands(lexer, *known);
    });
    errors.throw_if_any();
    return parsed;
}

} // namespace qbgl::compiler
