#include "charmap/sequence.h"
#include "definition/parser.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <iterator>
#include <optional>

namespace qbgl::compiler {

namespace {

constexpr std::array<std::string_view, 13> STANDARD_CLASSES = {"upper", "lower", "alpha", "digit",  "alnum", "space",   "cntrl",
                                                               "punct", "graph", "print", "xdigit", "blank", "outdigit"};

bool is_standard_class(std::string_view name) {
    return std::find(STANDARD_CLASSES.begin(), STANDARD_CLASSES.end(), name) != STANDARD_CLASSES.end();
}

template <class Container> void append(Container &to, const Container &from) { to.insert(to.end(), from.begin(), from.end()); }
template <class Container> void append(Container &to, Container &&from) {
    to.insert(to.end(), std::make_move_iterator(from.begin()), std::make_move_iterator(from.end()));
}

class TypesParser {
  public:
    TypesParser(const DefinitionSource &source, CopiedCategories &copied)
        : lexer_(source, source.category("LC_CTYPE")), copied_(copied), sources_{*source.file} {}

    ParsedTypes parse() {
        lexer_.for_each_line(errors_, [this] {
            read_statement(take_keyword());
            lexer_.expect_end();
        });
        errors_.collect([this] { refuse_terminator(); });
        errors_.throw_if_any();
        append(types_.translit, std::move(included_translit_));
        append(types_.translit, std::move(copied_translit_));
        return {std::move(types_), std::move(sources_)};
    }

  private:
    struct Member {
        char32_t code;
        std::string_view name;
    };

    std::string_view take_keyword() {
        if (lexer_.token().kind != Token::Kind::WORD) lexer_.fail("keyword expected");
        place_ = lexer_.place();
        const std::string_view keyword = lexer_.token().text;
        lexer_.advance();
        return keyword;
    }

    // NUL ends text: no reader may pass over it, and the library refuses a locale in which one would.
    void refuse_terminator() const {
        for (const char *name : {"space", "digit", "blank"}) {
            const auto found = types_.classes.find(name);
            if (found == types_.classes.end()) continue;
            for (const CodeRange &range : found->second)
                if (range.first == 0) throw range.place.error(fmt::format("{}: NUL cannot be in this class", name));
        }
    }

    void read_statement(std::string_view keyword) {
        if (keyword == "copy")
            read_copy();
        else if (is_standard_class(keyword))
            read_members(types_.classes[std::string(keyword)]);
        else if (keyword == "class")
            read_class();
        else if (keyword == "charclass")
            read_names([this](const std::string &name) { declare_class(name); });
        else if (keyword == "charconv")
            read_names([this](const std::string &name) { types_.maps[name]; });
        else if (keyword == "toupper" || keyword == "tolower")
            read_pairs(types_.maps[std::string(keyword)]);
        else if (keyword == "map")
            read_map();
        else if (keyword == "translit_start")
            read_translit();
        else if (const auto own_class = types_.classes.find(std::string(keyword)); own_class != types_.classes.end())
            read_members(own_class->second);
        else if (const auto own_map = types_.maps.find(std::string(keyword)); own_map != types_.maps.end())
            read_pairs(own_map->second);
        else
            throw place_.error(fmt::format("{}: unknown keyword of LC_CTYPE", excerpt(keyword)));
    }

    void read_copy() {
        const ParsedTypes &other = copied_.types(lexer_.take_name(), place_);
        append(sources_, other.sources);
        for (const auto &[name, ranges] : other.types.classes) append(types_.classes[name], ranges);
        for (const auto &[name, pairs] : other.types.maps) append(types_.maps[name], pairs);
        for (const std::string &name : other.types.own_classes) declare_class(name);
        append(copied_translit_, other.types.translit);
        if (types_.default_missing.empty()) types_.default_missing = other.types.default_missing;
    }

    // A class or map name, quoted or not.
    std::string take_identifier() {
        const Token token = lexer_.token();
        std::string name;
        if (token.kind == Token::Kind::WORD) {
            name = token.text;
            lexer_.advance();
        } else {
            name = lexer_.take_name();
        }
        if (name.empty()) throw place_.error("name expected");
        return name;
    }
    template <class Function> void read_names(Function function) {
        do function(take_identifier());
        while (lexer_.accept(Token::Kind::SEMICOLON));
    }
    void declare_class(const std::string &name) {
        types_.classes[name];
        auto &own = types_.own_classes;
        if (!is_standard_class(name) && std::find(own.begin(), own.end(), name) == own.end()) own.push_back(name);
    }

    void read_class() {
        const std::string name = take_identifier();
        lexer_.expect(Token::Kind::SEMICOLON, "; expected");
        declare_class(name);
        read_members(types_.classes[name]);
    }
    void read_map() {
        const std::string name = take_identifier();
        lexer_.expect(Token::Kind::SEMICOLON, "; expected");
        read_pairs(types_.maps[name]);
    }

    Member take_member() {
        const std::string_view name = lexer_.token().piece.symbol;
        return {lexer_.take_character(), name};
    }
    // Characters and ranges, each of which may be written a..z or a;..;z. A ; may end the list.
    void read_members(std::vector<CodeRange> &ranges) {
        std::optional<Member> first;
        do {
            if (first && lexer_.token().is_end()) break;
            const Place place = lexer_.place();
            const bool stands_alone = lexer_.token().kind == Token::Kind::ELLIPSIS;
            if (!stands_alone)
                first = take_member();
            else if (!first || ranges.back().first != ranges.back().last)
                lexer_.fail("ellipsis without a first character");
            const Token ellipsis = lexer_.token();
            if (ellipsis.kind != Token::Kind::ELLIPSIS) {
                ranges.push_back({first->code, first->code, 1, place});
                continue;
            }
            lexer_.advance();
            if (stands_alone) {
                lexer_.expect(Token::Kind::SEMICOLON, "; expected behind the ellipsis");
                ranges.pop_back(); // the first character, which is the range's
            }
            add_range(ranges, *first, take_member(), ellipsis, place);
        } while (lexer_.accept(Token::Kind::SEMICOLON));
    }

    static void add_range(std::vector<CodeRange> &ranges, Member first, Member last, const Token &ellipsis, const Place &place) {
        if (last.code < first.code) throw place.error("range runs backward");
        if (first.code < 0xD800 && last.code > 0xDFFF) throw place.error("range runs over the surrogates");
        if (ellipsis.dots == 4)
            add_decimal_range(ranges, first, last, ellipsis.step, place);
        else
            ranges.push_back({first.code, last.code, ellipsis.step, place});
    }
    // <U0008>....<U0011> is U+0008, U+0009, U+0010 and U+0011.
    static void add_decimal_range(std::vector<CodeRange> &ranges, Member first, Member last, unsigned step, const Place &place) {
        const auto digits = [&](Member member) {
            unsigned value = 0;
            const char *end = member.name.data() + member.name.size();
            const bool is_code = member.name.size() > 1 && member.name[0] == 'U';
            if (!is_code || std::from_chars(member.name.data() + 1, end, value).ptr != end)
                throw place.error("decimal ellipsis between names that are not decimal");
            return value;
        };
        for (unsigned value = digits(first), end = digits(last); value <= end; value += step) {
            const std::string text = std::to_string(value);
            uint32_t code = 0;
            std::from_chars(text.data(), text.data() + text.size(), code, 16);
            ranges.push_back({code, code, 1, place});
        }
    }

    void read_pairs(std::vector<CodePair> &pairs) {
        bool any = false;
        const size_t before = pairs.size();
        do {
            if (any && lexer_.token().is_end()) break;
            CodePair pair{0, 0, lexer_.place()};
            lexer_.expect(Token::Kind::OPEN, "( expected");
            pair.from = lexer_.take_character();
            lexer_.expect(Token::Kind::COMMA, ", expected");
            pair.to = lexer_.take_character();
            lexer_.expect(Token::Kind::CLOSE, ") expected");
            if ((pair.from == 0) != (pair.to == 0)) throw pair.place.error("NUL is mapped, which ends every text");
            pairs.push_back(std::move(pair));
            any = true;
        } while (lexer_.accept(Token::Kind::SEMICOLON));
        check_pairs(pairs, before);
    }
    // A list may say otherwise than what was copied, but not otherwise than itself.
    void check_pairs(const std::vector<CodePair> &pairs, size_t begin) {
        std::map<char32_t, const CodePair *> targets;
        for (size_t i = begin; i < pairs.size(); ++i) {
            const auto [known, is_new] = targets.emplace(pairs[i].from, &pairs[i]);
            if (!is_new && known->second->to != pairs[i].to)
                errors_.add(pairs[i]
                                .place
                                .error(fmt::format("U+{:04X} is mapped to U+{:04X} here, and to U+{:04X} in line {}",
                                                   static_cast<uint32_t>(pairs[i].from), static_cast<uint32_t>(pairs[i].to),
                                                   static_cast<uint32_t>(known->second->to), known->second->place.line))
                                .what());
        }
    }

    void read_translit() {
        const Place start = place_;
        errors_.collect([this] { lexer_.expect_end(); });
        if (!lexer_.token().is_end()) lexer_.recover();
        bool closed = false;
        lexer_.for_each_line(errors_, [&] {
            place_ = lexer_.place();
            closed = lexer_.token().is_word("translit_end");
            if (closed) return false;
            if (lexer_.token().is_word("include"))
                read_include();
            else if (lexer_.token().is_word("default_missing"))
                read_default_missing();
            else if (lexer_.token().is_word("translit_ignore"))
                read_ignored();
            else
                read_rule();
            lexer_.expect_end();
            return true;
        });
        if (!closed) throw start.error("translit_start is not closed by translit_end");
        lexer_.advance();
    }

    // A second operand names a character repertoire; with names that are Unicode's there is nothing to choose.
    void read_include() {
        lexer_.advance();
        const ParsedTypes &other = copied_.types(lexer_.take_name(), place_);
        append(sources_, other.sources);
        append(included_translit_, other.types.translit);
        if (lexer_.accept(Token::Kind::SEMICOLON) && !lexer_.take_name().empty()) throw place_.error("repertoire of an include");
    }
    void read_default_missing() {
        lexer_.advance();
        types_.default_missing = take_alternatives();
    }
    void read_ignored() {
        lexer_.advance();
        std::vector<CodeRange> ranges;
        read_members(ranges);
        for (const CodeRange &range : ranges)
            for (char32_t code = range.first; code <= range.last; code += range.step)
                types_.translit.push_back({{code}, {U""}, range.place});
    }
    void read_rule() {
        std::u32string from = lexer_.take_characters();
        if (from.empty()) throw place_.error("rule for no character");
        types_.translit.push_back({std::move(from), take_alternatives(), place_});
    }
    std::vector<std::u32string> take_alternatives() {
        std::vector<std::u32string> alternatives;
        do alternatives.push_back(lexer_.take_characters());
        while (lexer_.accept(Token::Kind::SEMICOLON));
        return alternatives;
    }

    Lexer lexer_;
    CopiedCategories &copied_;
    Sources sources_;
    Place place_; // of the line
    ErrorList errors_;
    CharacterTypes types_;
    std::vector<TranslitRule> included_translit_, copied_translit_;
};

} // namespace

ParsedTypes parse_types(const DefinitionSource &source, CopiedCategories &copied) { return TypesParser(source, copied).parse(); }

} // namespace qbgl::compiler
