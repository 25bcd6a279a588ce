// The words of a category of a definition file.
#pragma once

#include "definition/source.h"

#include <memory_resource>
#include <type_traits>

namespace qbgl::compiler {

// Keeps what the tokens of a category look at: the file's text, and texts that do not stand there as they are.
class TokenStorage {
  public:
    explicit TokenStorage(std::shared_ptr<const std::string> text) : text_(std::move(text)) {}

    template <class Char> std::basic_string_view<Char> keep(std::basic_string_view<Char> text) {
        if (text.empty()) return {};
        auto *copy = static_cast<Char *>(memory_.allocate(text.size() * sizeof(Char), alignof(Char)));
        std::copy(text.begin(), text.end(), copy);
        return {copy, text.size()};
    }

  private:
    std::shared_ptr<const std::string> text_;
    std::pmr::monotonic_buffer_resource memory_;
};

// A character, as it stands or as <Uxxxx>, or another symbol.
struct Piece {
    static constexpr char32_t NO_CODE = ~char32_t(0);

    char32_t code = NO_CODE;
    std::string_view symbol = {}; // of <symbol>, without the brackets; empty for a character that stands for itself

    static Piece of(std::string_view symbol);
    bool is_name() const { return code == NO_CODE; }
};

struct Token {
    enum class Kind {
        END_OF_LINE, // of a logical line
        END_OF_BODY,
        WORD,     // anything else: `text`
        SYMBOL,   // <...>: `piece`
        STRING,   // "...": the lexer's string()
        ELLIPSIS, // `dots`, `step`
        SEMICOLON,
        COMMA,
        OPEN, // parentheses
        CLOSE
    };
    Kind kind = Kind::END_OF_LINE;
    bool adjoins = false; // nothing stands between it and the token before
    unsigned dots = 0;
    unsigned step = 1;
    std::string_view text; // UTF-8, without escapes
    Piece piece;

    bool is_end() const { return kind == Kind::END_OF_LINE || kind == Kind::END_OF_BODY; }
    bool is_word(std::string_view word) const { return kind == Kind::WORD && text == word; }
};

// One token ahead. Errors are DataErrors with file, line and column.
class Lexer {
  public:
    Lexer(const DefinitionSource &source, const DefinitionSource::Category &category);

    // Goes to the first token of the next line that has one; false at the end of the category.
    bool next_line();
    const Token &token() const { return token_; }
    // The pieces of a STRING, until the next advance().
    const std::vector<Piece> &string() const { return string_; }
    void advance();
    // Skips what is left of the line, whatever it is.
    void skip_line();
    // The same behind an error, where the rest need not consist of tokens.
    void recover();
    // Calls read() at the beginning of every line that has a token, until it returns false. A line with an error is left, and its
    // error kept.
    template <class Function> void for_each_line(ErrorList &errors, Function read) {
        for (bool more = true; more;) {
            try {
                more = next_line();
                if constexpr (std::is_void_v<decltype(read())>) {
                    if (more) read();
                } else {
                    more = more && read();
                }
            } catch (const DataError &error) {
                errors.add(error.what());
                recover();
            }
        }
    }

    bool accept(Token::Kind kind) {
        if (token_.kind != kind) return false;
        advance();
        return true;
    }
    void expect(Token::Kind kind, std::string_view what) {
        if (!accept(kind)) fail(what);
    }
    void expect_end() const {
        if (!token_.is_end()) fail("end of line expected");
    }

    // A STRING of characters, taken.
    std::u32string take_text();
    // The file name in a STRING, taken.
    std::string take_name();
    // Adjoining symbols and characters, or a STRING, taken.
    std::u32string take_characters();
    // One character, as a symbol or as it stands, taken.
    char32_t take_character();
    // A WORD that is a number, taken.
    int take_number();
    // What a piece stands for; an unknown name is an error.
    char32_t code_of(const Piece &piece) const;
    // The characters of a WORD.
    std::u32string decode(std::string_view word) const;

    Place place() const { return {file_, token_line_, token_column_}; }
    // "FILE:LINE:COLUMN: what: the token"
    [[noreturn]] void fail(std::string_view what) const;
    const std::shared_ptr<TokenStorage> &storage() const { return storage_; }

  private:
    [[noreturn]] void fail_here(std::string_view what) const;
    bool at(char character) const { return position_ < text_.size() && text_[position_] == character; }
    unsigned column() const; // of what stands at position_
    bool skip_continuation();
    bool skip_blanks();
    void read_symbol();
    void read_string();
    void read_ellipsis();
    void read_word();
    std::string_view symbol_name();
    char escaped();

    std::shared_ptr<const std::string> file_;
    std::string_view text_;
    size_t position_ = 0;
    size_t line_start_ = 0;
    unsigned line_, token_line_, token_column_ = 1;
    bool line_ended_ = true; // the token is the end of a line that was really there
    char comment_char_, escape_char_;
    std::shared_ptr<TokenStorage> storage_;
    Token token_;
    std::string_view raw_; // the token as it stands
    std::vector<Piece> string_;
    std::string buffer_;
};

} // namespace qbgl::compiler
