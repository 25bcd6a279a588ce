#include "definition/lexer.h"

#include "charmap/sequence.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <optional>

namespace qbgl::compiler {

namespace {

constexpr std::string_view DECIMAL = "0123456789", HEXADECIMAL = "0123456789ABCDEFabcdef";

bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

template <class Integer> std::optional<Integer> number(std::string_view text, int base) {
    Integer value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

// The code of a name Uxxxx or Uxxxxxxxx.
std::optional<char32_t> code_of_name(std::string_view name) {
    if ((name.size() != 5 && name.size() != 9) || name[0] != 'U') return std::nullopt;
    if (const auto code = number<uint32_t>(name.substr(1), 16)) return char32_t{*code};
    return std::nullopt;
}

// The UTF-8 character at `position`, which moves behind it.
std::optional<char32_t> decode_at(std::string_view text, size_t &position) {
    const auto lead = static_cast<uint8_t>(text[position]);
    const size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    char32_t code = length == 1 ? lead : lead & (0x7Fu >> length);
    for (size_t i = 1; i < length && position + i < text.size(); ++i)
        code = code << 6 | (static_cast<uint8_t>(text[position + i]) & 0x3F);
    // Whatever is not the one way to write a character fails to come back as it was.
    if (!is_scalar_value(code) || utf8_of(code).text() != text.substr(position, length)) return std::nullopt;
    position += length;
    return code;
}

} // namespace

Piece Piece::of(std::string_view symbol) { return {code_of_name(symbol).value_or(Piece::NO_CODE), symbol}; }

Lexer::Lexer(const DefinitionSource &source, const DefinitionSource::Category &category)
    : file_(source.file), text_(category.body), line_(category.line + 1), token_line_(line_), comment_char_(category.comment_char),
      escape_char_(category.escape_char), storage_(std::make_shared<TokenStorage>(source.text)) {}

void Lexer::fail(std::string_view what) const {
    throw place().error(token_.is_end() ? fmt::format("{}: end of line", what)
                                        : fmt::format("{}: {}", what, excerpt(raw_.substr(0, raw_.find('\n')))));
}

// For what is wrong inside a token: a string may go on over many lines.
void Lexer::fail_here(std::string_view what) const { throw Place{file_, line_, column()}.error(what); }

unsigned Lexer::column() const {
    const std::string_view before = text_.substr(line_start_, position_ - line_start_);
    return static_cast<unsigned>(
        1 + std::count_if(before.begin(), before.end(), [](char c) { return (static_cast<uint8_t>(c) & 0xC0) != 0x80; }));
}

bool Lexer::next_line() {
    do advance();
    while (token_.kind == Token::Kind::END_OF_LINE);
    return token_.kind != Token::Kind::END_OF_BODY;
}

void Lexer::skip_line() {
    while (!token_.is_end()) advance();
}

void Lexer::recover() {
    while (!line_ended_ && position_ < text_.size()) {
        const size_t end = std::min(text_.find('\n', position_), text_.size());
        const size_t escapes = end - 1 - text_.substr(0, end).find_last_not_of(escape_char_);
        position_ = std::min(end + 1, text_.size());
        line_start_ = position_;
        ++line_;
        line_ended_ = escapes % 2 == 0;
    }
    token_ = {};
}

bool Lexer::skip_continuation() {
    if (!at(escape_char_)) return false;
    size_t next = position_ + 1;
    if (next < text_.size() && text_[next] == '\r') ++next;
    if (next >= text_.size() || text_[next] != '\n') return false;
    position_ = line_start_ = next + 1;
    ++line_;
    return true;
}

// Blanks and comments. A comment goes to the end of its own line, and an escape character there continues the line of which it
// is the end.
bool Lexer::skip_blanks() {
    bool blank = false;
    while (position_ < text_.size()) {
        if (is_blank(text_[position_])) {
            ++position_;
            blank = true;
        } else if (at(comment_char_)) {
            const size_t end = std::min(text_.find('\n', position_), text_.size());
            const size_t escapes = end - 1 - text_.substr(0, end).find_last_not_of(escape_char_);
            position_ = end - escapes % 2;
            blank = true;
        } else if (!skip_continuation()) {
            break;
        }
    }
    return blank;
}

void Lexer::advance() {
    const bool blank = skip_blanks();
    token_ = {};
    token_.adjoins = !blank;
    token_line_ = line_;
    token_column_ = column();
    line_ended_ = false;
    const size_t start = position_;
    if (position_ >= text_.size()) {
        token_.kind = Token::Kind::END_OF_BODY;
        return;
    }
    const auto punctuation = [this](Token::Kind kind) {
        token_.kind = kind;
        ++position_;
    };
    switch (text_[position_]) {
    case '\n':
        line_start_ = ++position_;
        ++line_;
        line_ended_ = true;
        return;
    case ';': punctuation(Token::Kind::SEMICOLON); break;
    case ',': punctuation(Token::Kind::COMMA); break;
    case '(': punctuation(Token::Kind::OPEN); break;
    case ')': punctuation(Token::Kind::CLOSE); break;
    case '<': read_symbol(); break;
    case '"': read_string(); break;
    default:
        if (text_.substr(position_).starts_with(".."))
            read_ellipsis();
        else
            read_word();
    }
    raw_ = text_.substr(start, position_ - start);
}

// What stands for one byte behind the escape character: \x41 \d65 \101, or a character taken literally.
char Lexer::escaped() {
    ++position_;
    if (position_ >= text_.size()) fail_here("escape character at the end");
    const char kind = text_[position_];
    const size_t prefix = kind == 'x' || kind == 'd' ? 1 : 0;
    const int base = kind == 'x' ? 16 : kind == 'd' ? 10 : 8;
    const std::string_view rest = text_.substr(position_ + prefix, base == 16 ? 2 : 3);
    const std::string_view digits =
        rest.substr(0, rest.find_first_not_of(base == 16 ? HEXADECIMAL : DECIMAL.substr(0, static_cast<size_t>(base))));
    if (digits.size() < 2) {
        ++position_;
        return kind;
    }
    const unsigned value = number<unsigned>(digits, base).value_or(0);
    if (value >= 0x80) fail_here(fmt::format("{}: a byte beyond ASCII is no character, write <Uxxxx>", digits));
    position_ += prefix + digits.size();
    return static_cast<char>(value);
}

// At a "<".
std::string_view Lexer::symbol_name() {
    const size_t start = ++position_;
    bool has_escape = false;
    while (!at('>')) {
        if (at(escape_char_)) {
            has_escape = true;
            ++position_;
        }
        if (position_ >= text_.size() || at('\n')) fail_here("symbol is not closed by >");
        ++position_;
    }
    std::string_view name = text_.substr(start, position_ - start);
    ++position_;
    if (has_escape) {
        buffer_.clear();
        for (size_t i = 0; i < name.size(); ++i) {
            if (name[i] == escape_char_ && i + 1 < name.size()) ++i;
            buffer_ += name[i];
        }
        name = storage_->keep(std::string_view(buffer_));
    }
    if (name.empty()) fail_here("symbol without a name");
    return name;
}

void Lexer::read_symbol() {
    token_.kind = Token::Kind::SYMBOL;
    token_.piece = Piece::of(symbol_name());
    if (!token_.piece.is_name() && !is_scalar_value(token_.piece.code))
        fail_here(fmt::format("<{}> is not a character of Unicode", excerpt(token_.piece.symbol)));
}

void Lexer::read_string() {
    token_.kind = Token::Kind::STRING;
    string_.clear();
    ++position_;
    while (!at('"')) {
        if (position_ >= text_.size() || at('\n')) fail_here("text is not closed by \"");
        if (skip_continuation()) continue;
        Piece piece;
        if (at('<')) {
            piece = Piece::of(symbol_name());
            if (!piece.is_name() && !is_scalar_value(piece.code))
                fail_here(fmt::format("<{}> is not a character of Unicode", piece.symbol));
        } else if (at(escape_char_) && position_ + 1 < text_.size() && static_cast<uint8_t>(text_[position_ + 1]) < 0x80) {
            piece.code = static_cast<uint8_t>(escaped());
        } else {
            position_ += at(escape_char_);
            if (position_ >= text_.size()) continue;
            const auto code = decode_at(text_, position_);
            if (!code) fail_here("not UTF-8");
            piece.code = *code;
        }
        string_.push_back(piece);
    }
    ++position_;
}

// Dots, or dots with a step between them: ..(2)..
void Lexer::read_ellipsis() {
    token_.kind = Token::Kind::ELLIPSIS;
    const auto dots = [this] {
        const size_t count = std::min(text_.find_first_not_of('.', position_), text_.size()) - position_;
        position_ += count;
        return static_cast<unsigned>(count);
    };
    token_.dots = dots();
    if (token_.dots > 4) fail_here("more than four dots");
    const size_t digits = position_ + 1, close = std::min(text_.find_first_not_of(DECIMAL, digits), text_.size());
    if (!at('(') || close == digits || !text_.substr(close).starts_with(")..")) return;
    const auto step = number<unsigned>(text_.substr(digits, close - digits), 10);
    position_ = close + 1;
    if (!step || *step == 0 || *step >= CODE_LIMIT || dots() != token_.dots) fail_here("malformed step of an ellipsis");
    token_.step = *step;
}

void Lexer::read_word() {
    token_.kind = Token::Kind::WORD;
    const size_t start = position_;
    bool has_escape = false;
    buffer_.clear();
    while (position_ < text_.size()) {
        const char c = text_[position_];
        if (is_blank(c) || std::string_view("\n;,()<\"").find(c) != std::string_view::npos) break;
        if (c == '.' && text_.substr(position_).starts_with("..")) break;
        if (c == escape_char_) {
            if (skip_continuation()) break;
            has_escape = true;
            buffer_ += escaped();
        } else {
            buffer_ += c;
            ++position_;
        }
    }
    token_.text = has_escape ? storage_->keep(std::string_view(buffer_)) : text_.substr(start, buffer_.size());
}

char32_t Lexer::code_of(const Piece &piece) const {
    if (!piece.is_name()) return piece.code;
    if (const auto code = portable_character(piece.symbol)) return *code;
    throw place().error(fmt::format("<{}>: unknown character", excerpt(piece.symbol)));
}

std::u32string Lexer::decode(std::string_view word) const {
    std::u32string result;
    for (size_t position = 0; position < word.size();) {
        const auto code = decode_at(word, position);
        if (!code) fail("not UTF-8");
        result += *code;
    }
    return result;
}

std::u32string Lexer::take_text() {
    if (token_.kind != Token::Kind::STRING) fail("text in quotes expected");
    std::u32string text;
    for (const Piece &piece : string_) text += code_of(piece);
    advance();
    return text;
}

std::string Lexer::take_name() {
    std::string name;
    for (const char32_t code : take_text()) name += utf8_of(code).text();
    return name;
}

char32_t Lexer::take_character() {
    char32_t result;
    if (token_.kind == Token::Kind::SYMBOL) {
        result = code_of(token_.piece);
    } else {
        const std::u32string characters = token_.kind == Token::Kind::WORD ? decode(token_.text) : U"";
        if (characters.size() != 1) fail("character expected");
        result = characters[0];
    }
    advance();
    return result;
}

std::u32string Lexer::take_characters() {
    if (token_.kind == Token::Kind::STRING) return take_text();
    std::u32string result;
    do result += take_character();
    while (token_.adjoins && (token_.kind == Token::Kind::SYMBOL || token_.kind == Token::Kind::WORD));
    return result;
}

int Lexer::take_number() {
    const auto value = token_.kind == Token::Kind::WORD ? number<int>(token_.text, 10) : std::nullopt;
    if (!value) fail("number expected");
    advance();
    return *value;
}

} // namespace qbgl::compiler
