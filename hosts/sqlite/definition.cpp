#include "definition.h"

#include "sqlite.h"

#include <algorithm>

namespace qbgl_sqlite {

namespace {

// Functions that go by an order, and which of their arguments is its locale.
struct Function {
    const char *name;
    size_t locale;
    bool of_icu; // goes by it under ICU alone
};
constexpr Function FUNCTIONS[] = {
    {"qbgl_key", 1, false}, {"qbgl_compare", 2, false}, {"qbgl_like", 2, false}, {"qbgl_upper", 1, true}, {"qbgl_lower", 1, true}};

struct Token {
    enum { END, NAME, LITERAL, OTHER } kind;
    std::string text; // without its quotes; one byte of what is neither a name nor a literal

    bool is(char mark) const { return kind == OTHER && text[0] == mark; }
};

bool is_of_name(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '$' ||
           static_cast<unsigned char>(c) >= 0x80;
}

// Takes away what two marks enclose, or all where the second is missing.
void skip_comment(std::string_view &sql, std::string_view end) {
    const size_t at = sql.find(end, 2);
    sql.remove_prefix(at == std::string_view::npos ? sql.size() : at + end.size());
}

void skip_blanks(std::string_view &sql) {
    for (;;) {
        sql.remove_prefix(std::min(sql.find_first_not_of(" \t\n\f\r"), sql.size()));
        if (sql.starts_with("--"))
            skip_comment(sql, "\n");
        else if (sql.starts_with("/*"))
            skip_comment(sql, "*/");
        else
            return;
    }
}

// The text up to a quote that is not doubled.
std::string quoted_text(std::string_view &sql, char quote) {
    std::string text;
    sql.remove_prefix(1);
    for (; !sql.empty(); sql.remove_prefix(1)) {
        if (sql[0] == quote && (quote == ']' || sql.size() < 2 || sql[1] != quote)) break;
        if (sql[0] == quote) sql.remove_prefix(1);
        text += sql[0];
    }
    sql.remove_prefix(sql.empty() ? 0 : 1);
    return text;
}

Token next_token(std::string_view &sql) {
    skip_blanks(sql);
    if (sql.empty()) return {Token::END, {}};
    const char first = sql[0];
    if (first == '\'') return {Token::LITERAL, quoted_text(sql, first)};
    if (first == '"' || first == '`' || first == '[') return {Token::NAME, quoted_text(sql, first == '[' ? ']' : first)};
    const auto end = is_of_name(first) ? std::find_if_not(sql.begin(), sql.end(), is_of_name) : sql.begin() + 1;
    Token token{is_of_name(first) ? Token::NAME : Token::OTHER, std::string(sql.begin(), end)};
    sql.remove_prefix(token.text.size());
    return token;
}

const Function *find_function(const Token &token) {
    const auto *const found = std::find_if(std::begin(FUNCTIONS), std::end(FUNCTIONS), [&](const Function &function) {
        return token.kind == Token::NAME && sqlite3_stricmp(token.text.c_str(), function.name) == 0;
    });
    return found != std::end(FUNCTIONS) ? found : nullptr;
}

} // namespace

std::vector<std::string> locales_in(std::string_view definition) {
    struct Parentheses {
        const Function *called;
        size_t argument;
    };
    std::vector<Parentheses> open;
    std::vector<std::string> locales;
    Token before{}, token = next_token(definition);
    while (token.kind != Token::END) {
        Token after = next_token(definition);
        if (token.is('(')) open.push_back({find_function(before), 0});
        if (!open.empty() && token.is(',')) ++open.back().argument;
        if (!open.empty() && token.is(')')) open.pop_back();
        if (token.kind == Token::LITERAL && !open.empty() && open.back().called != nullptr) {
            const auto &[called, argument] = open.back();
            const bool alone = before.is(',') && (after.is(',') || after.is(')'));
            if (alone && argument == called->locale && (!called->of_icu || token.text.ends_with("@icu")))
                locales.push_back(token.text);
        }
        before = std::move(token);
        token = std::move(after);
    }
    return locales;
}

} // namespace qbgl_sqlite
