#include "charmap/sequence.h"
#include "definition/parser.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <optional>

namespace qbgl::compiler {

namespace {

using Statement = CollationStatement;
using StatementKind = CollationStatement::Kind;
using Item = CollationItem;
using ItemKind = CollationItem::Kind;

constexpr unsigned LONGEST_RANGE = 0x110000, LAST_NUMBER = 0x7FFFFFFF;

// The two names of a range <S00A0>..<S327F>: the same letters, each with a number behind them. Which of the hexadecimal digits
// that both begin with belong to the letters makes no difference.
struct NameRange {
    std::string_view letters;
    unsigned first = 0, last = 0;
    size_t digits = 0;
    bool hexadecimal, upper_case;

    template <class Function> void for_each(unsigned step, Function function) const {
        for (unsigned number = first; number <= last; number += step)
            function(!hexadecimal ? fmt::format("{}{:0{}}", letters, number, digits)
                     : upper_case ? fmt::format("{}{:0{}X}", letters, number, digits)
                                  : fmt::format("{}{:0{}x}", letters, number, digits));
    }
};

std::optional<NameRange> range_of_names(std::string_view first, std::string_view last, unsigned base) {
    const auto is_digit = [base](char c) { return base == 16 ? std::isxdigit(c) : std::isdigit(c); };
    size_t at = static_cast<size_t>(std::mismatch(first.begin(), first.end(), last.begin(), last.end()).first - first.begin());
    while (at > 1 && is_digit(first[at - 1])) --at;
    if (at == 0) return std::nullopt;
    NameRange range;
    range.letters = first.substr(0, at);
    range.digits = first.size() - at;
    range.hexadecimal = base == 16;
    const auto has_lower_case = [at](std::string_view name) { return name.find_first_of("abcdef", at) != std::string_view::npos; };
    range.upper_case = !has_lower_case(first) && !has_lower_case(last);
    const auto number = [&](std::string_view name, unsigned &value) {
        const char *begin = name.data() + at, *end = name.data() + name.size();
        return begin != end && std::from_chars(begin, end, value, static_cast<int>(base)).ptr == end;
    };
    if (!number(first, range.first) || !number(last, range.last)) return std::nullopt;
    if (range.last < range.first || range.last - range.first >= LONGEST_RANGE || range.last > LAST_NUMBER) return std::nullopt;
    return range;
}

class RulesParser {
  public:
    RulesParser(const DefinitionSource &source, CopiedCategories &copied, std::set<std::string, std::less<>> defined)
        : lexer_(source, source.category("LC_COLLATE")), copied_(copied), defined_(std::move(defined)), sources_{*source.file} {}

    ParsedRules parse() {
        lexer_.for_each_line(errors_, [this] {
            place_ = lexer_.place();
            if (read_condition()) {
                lexer_.expect_end();
            } else if (is_skipped()) {
                lexer_.skip_line();
            } else {
                read_line();
                lexer_.expect_end();
            }
        });
        if (!conditions_.empty()) errors_.add(conditions_.back().place.error("condition is not closed by endif").what());
        if (open_) errors_.add(open_place_.error(fmt::format("{} is not closed by {}", open_->begin, open_->end)).what());
        errors_.throw_if_any();
        rules_->storage = lexer_.storage();
        return {std::move(rules_), std::move(defined_), std::move(sources_)};
    }

  private:
    struct Condition {
        bool holds, had_branch, had_else;
        Place place;
    };
    // A part between two keywords.
    struct Part {
        std::string_view begin, end;
    };
    static constexpr Part ORDER{"order_start", "order_end"}, REORDER{"reorder-after", "reorder-end"},
        REORDER_SECTIONS{"reorder-sections-after", "reorder-sections-end"};

    // ---- conditions

    bool is_skipped() const {
        return std::any_of(conditions_.begin(), conditions_.end(), [](const Condition &condition) { return !condition.holds; });
    }

    // A line that decides which lines count. Its words stand under a condition like all others, so the branches inside a skipped
    // part open and close without being looked at.
    bool read_condition() {
        if (lexer_.token().kind != Token::Kind::WORD) return false;
        const std::string_view word = lexer_.token().text;
        if (word == "ifdef" || word == "ifndef") {
            lexer_.advance();
            // It stands open also when its name is missing; then none of its branches counts.
            conditions_.push_back({false, true, false, place_});
            const bool holds = take_defined() == (word == "ifdef");
            conditions_.back().holds = conditions_.back().had_branch = holds;
            return true;
        }
        const bool is_else = word == "else", is_branch = is_else || word == "elif" || word == "elifdef" || word == "elifndef";
        if (!is_branch && word != "endif") return false;
        lexer_.advance();
        if (conditions_.empty()) throw place_.error(fmt::format("{} without a condition", word));
        if (!is_branch) {
            conditions_.pop_back();
            return true;
        }
        Condition &condition = conditions_.back();
        if (condition.had_else) throw place_.error(fmt::format("{} behind else", word));
        condition.had_else = is_else;
        condition.holds = !condition.had_branch;
        if (!is_else && take_defined() == (word == "elifndef")) condition.holds = false;
        condition.had_branch |= condition.holds;
        return true;
    }
    bool take_defined() { return defined_.contains(take_word("name of a condition expected")); }

    std::string_view take_word(std::string_view otherwise) {
        if (lexer_.token().kind != Token::Kind::WORD) lexer_.fail(otherwise);
        const std::string_view word = lexer_.token().text;
        lexer_.advance();
        return word;
    }

    // ---- items

    std::string_view take_name() {
        if (lexer_.token().kind != Token::Kind::SYMBOL || !lexer_.token().piece.is_name()) lexer_.fail("<name> expected");
        const std::string_view name = lexer_.token().piece.symbol;
        lexer_.advance();
        return name;
    }
    Item name_item(std::string_view name) const { return {ItemKind::NAME, {}, name}; }
    Item character_item(char32_t code) const {
        return {ItemKind::CHARACTER, lexer_.storage()->keep(std::u32string_view(&code, 1)), {}};
    }
    Item item_of(const Piece &piece) const { return piece.is_name() ? name_item(piece.symbol) : character_item(piece.code); }
    Item take_item() {
        const Token token = lexer_.token();
        if (token.kind == Token::Kind::SYMBOL) {
            lexer_.advance();
            return item_of(token.piece);
        }
        return character_item(lexer_.take_character());
    }

    // An ellipsis that stands alone.
    ItemKind take_ellipsis() {
        if (lexer_.token().dots == 4 || lexer_.token().step != 1)
            throw place_.error("such an ellipsis stands between two names only");
        lexer_.advance();
        return ItemKind::ELLIPSIS;
    }

    // ---- statements

    Statement &add(StatementKind kind) {
        Statement statement;
        statement.kind = kind;
        statement.place = place_;
        rules_->items.emplace_back(std::move(statement));
        return std::get<Statement>(rules_->items.back());
    }

    void read_line() {
        const Token first = lexer_.token();
        if (first.kind == Token::Kind::WORD && read_statement(first.text)) return;
        if (open_ == &REORDER_SECTIONS)
            read_section();
        else
            read_entry();
    }

    bool read_statement(std::string_view keyword) {
        struct Known {
            std::string_view keyword;
            void (RulesParser::*read)();
        };
        static constexpr Known KNOWN[] = {
            {"collating-symbol", &RulesParser::read_collating_symbol},
            {"collating-element", &RulesParser::read_collating_element},
            {"symbol-equivalence", &RulesParser::read_symbol_equivalence},
            {"section-symbol", &RulesParser::read_section_symbol},
            {"script", &RulesParser::read_script},
            {"coll_weight_max", &RulesParser::read_weight_max},
            {"order_start", &RulesParser::read_order_start},
            {"order_end", &RulesParser::read_order_end},
            {"reorder-after", &RulesParser::read_reorder_after},
            {"reorder-end", &RulesParser::read_reorder_end},
            {"reorder-sections-after", &RulesParser::read_reorder_sections_after},
            {"reorder-sections-end", &RulesParser::read_reorder_sections_end},
            {"copy", &RulesParser::read_copy},
            {"define", &RulesParser::read_define},
            {"undef", &RulesParser::read_undef},
            {"codepoint_collation", &RulesParser::read_codepoint_collation},
        };
        const auto *known =
            std::find_if(std::begin(KNOWN), std::end(KNOWN), [&](const Known &entry) { return entry.keyword == keyword; });
        if (known == std::end(KNOWN)) return false;
        lexer_.advance();
        (this->*known->read)();
        return true;
    }

    void read_copy() {
        const ParsedRules &other = copied_.rules(lexer_.take_name(), place_, defined_);
        rules_->items.emplace_back(other.rules);
        defined_ = other.defined;
        sources_.insert(sources_.end(), other.sources.begin(), other.sources.end());
    }
    void read_define() { defined_.emplace(take_word("name of a condition expected")); }
    void read_undef() { defined_.erase(std::string(take_word("name of a condition expected"))); }
    void read_codepoint_collation() { add(StatementKind::CODEPOINT_COLLATION); }

    void read_collating_symbol() {
        const std::string_view first = take_name();
        if (lexer_.token().kind != Token::Kind::ELLIPSIS) {
            add(StatementKind::COLLATING_SYMBOL).operands = {name_item(first)};
            return;
        }
        const Token ellipsis = lexer_.token();
        lexer_.advance();
        add_names(StatementKind::COLLATING_SYMBOL, first, take_name(), ellipsis, {});
    }
    void read_collating_element() {
        const Item name = name_item(take_name());
        if (take_word("from expected") != "from") throw place_.error("from expected");
        const std::u32string text = lexer_.take_text();
        if (text.empty()) throw place_.error("collating element of no character");
        add(StatementKind::COLLATING_ELEMENT).operands = {name,
                                                          {ItemKind::TEXT, lexer_.storage()->keep(std::u32string_view(text)), {}}};
    }
    void read_symbol_equivalence() {
        const Item name = name_item(take_name());
        add(StatementKind::SYMBOL_EQUIVALENCE).operands = {name, name_item(take_name())};
    }
    void read_section_symbol() {
        Statement &statement = add(StatementKind::SECTION_SYMBOL);
        do statement.operands.push_back(name_item(take_name()));
        while (lexer_.accept(Token::Kind::SEMICOLON));
    }
    void read_script() { add(StatementKind::SCRIPT).operands = {name_item(take_name())}; }
    void read_weight_max() {
        const int number = lexer_.take_number();
        if (number <= 0) throw place_.error("weights of no level");
        add(StatementKind::WEIGHT_MAX).number = static_cast<unsigned>(number);
    }

    void open(const Part &part) {
        open_ = &part;
        open_place_ = place_;
    }
    void close(const Part &part) {
        if (open_ != &part) throw place_.error(fmt::format("{} without {}", part.end, part.begin));
        open_ = nullptr;
    }
    // The part that begins is open all the same.
    void expect_closed() {
        if (open_) errors_.add(place_.error(fmt::format("{} of {} is missing", open_->end, open_place_.text())).what());
    }

    void read_order_start() {
        expect_closed();
        open(ORDER);
        Statement &statement = add(StatementKind::ORDER_START);
        if (lexer_.token().is_end()) return;
        if (lexer_.token().kind == Token::Kind::SYMBOL) {
            statement.name = take_name();
            if (!lexer_.accept(Token::Kind::SEMICOLON)) return;
        }
        read_directions(statement);
    }
    void read_order_end() {
        close(ORDER);
        add(StatementKind::ORDER_END);
    }
    void read_directions(Statement &statement) {
        do {
            std::string direction;
            bool forward = false, backward = false;
            do {
                const std::string_view word = take_word("direction expected");
                if (word != "forward" && word != "backward" && word != "position")
                    throw place_.error(fmt::format("{}: unknown direction", excerpt(word)));
                forward |= word == "forward";
                backward |= word == "backward";
                if (!direction.empty()) direction += ',';
                direction += word;
            } while (lexer_.accept(Token::Kind::COMMA));
            if (forward && backward) throw place_.error("both forward and backward");
            statement.directions.push_back(std::move(direction));
        } while (lexer_.accept(Token::Kind::SEMICOLON));
    }

    void read_reorder_after() {
        if (open_ != &REORDER) expect_closed();
        open(REORDER);
        const Item item = take_item();
        add(StatementKind::REORDER_AFTER).operands = {item};
    }
    void read_reorder_end() {
        close(REORDER);
        add(StatementKind::REORDER_END);
    }
    void read_reorder_sections_after() {
        expect_closed();
        open(REORDER_SECTIONS);
        add(StatementKind::REORDER_SECTIONS_AFTER).name = take_name();
    }
    void read_section() {
        Statement &statement = add(StatementKind::REORDER_SECTION);
        statement.name = take_name();
        if (lexer_.accept(Token::Kind::SEMICOLON)) read_directions(statement);
    }
    void read_reorder_sections_end() {
        close(REORDER_SECTIONS);
        add(StatementKind::REORDER_SECTIONS_END);
    }

    // ---- entries

    void read_entry() {
        const Token token = lexer_.token();
        if (token.kind == Token::Kind::ELLIPSIS) {
            const ItemKind kind = take_ellipsis();
            add_entry({{kind, {}, {}}}, take_weights());
            return;
        }
        if (token.is_word("UNDEFINED")) {
            lexer_.advance();
            add_entry({{ItemKind::UNDEFINED, {}, {}}}, take_weights());
            return;
        }
        if (token.kind == Token::Kind::WORD && lexer_.decode(token.text).size() != 1)
            throw place_.error(fmt::format("{}: unknown keyword of LC_COLLATE", excerpt(token.text)));
        const std::string_view first_name = token.piece.symbol;
        const Item first = take_item();
        const Token ellipsis = lexer_.token();
        if (ellipsis.kind != Token::Kind::ELLIPSIS || !ellipsis.adjoins) {
            add_entry({first}, take_weights());
            return;
        }
        lexer_.advance();
        const std::string_view last_name = lexer_.token().piece.symbol;
        const Item last = take_item();
        if (first.kind != last.kind) throw place_.error("range between a character and a name");
        std::vector<std::vector<Item>> weights = take_weights();
        if (first.kind == ItemKind::NAME || ellipsis.dots == 4)
            add_names(StatementKind::ENTRY, first_name, last_name, ellipsis, std::move(weights));
        else
            add_characters(first, last, ellipsis.step, std::move(weights));
    }

    Statement &add_entry(std::vector<Item> items, std::vector<std::vector<Item>> weights) {
        Statement &statement = add(StatementKind::ENTRY);
        statement.operands = std::move(items);
        statement.weights = std::move(weights);
        return statement;
    }

    // A range without gaps is one statement; the statements of another are written out.
    void add_names(StatementKind kind, std::string_view first, std::string_view last, const Token &ellipsis,
                   std::vector<std::vector<Item>> weights) {
        const unsigned base = ellipsis.dots == 4 ? 10 : 16;
        const auto range = ellipsis.dots == 3 ? std::nullopt : range_of_names(first, last, base);
        if (!range) throw place_.error(fmt::format("<{}> to <{}>: no range of names", first, last));
        if (ellipsis.step == 1 && Piece::of(first).is_name()) {
            Statement &statement = add_entry({name_item(first), name_item(last)}, std::move(weights));
            statement.kind = kind;
            statement.number = base;
            return;
        }
        range->for_each(ellipsis.step, [&](const std::string &name) {
            add_entry({item_of(Piece::of(lexer_.storage()->keep(std::string_view(name))))}, weights).kind = kind;
        });
    }
    void add_characters(const Item &first, const Item &last, unsigned step, std::vector<std::vector<Item>> weights) {
        const char32_t from = first.text[0], to = last.text[0];
        if (to < from) throw place_.error("range runs backward");
        if (from < 0xD800 && to > 0xDFFF) throw place_.error("range runs over the surrogates");
        if (step == 1)
            add_entry({first, last}, std::move(weights));
        else
            for (char32_t code = from; code <= to; code += step) add_entry({character_item(code)}, weights);
    }

    // Up to the end of the line; between two semicolons may stand nothing.
    std::vector<std::vector<Item>> take_weights() {
        std::vector<std::vector<Item>> weights;
        if (lexer_.token().is_end()) return weights;
        weights.reserve(4);
        do weights.push_back(take_weight());
        while (lexer_.accept(Token::Kind::SEMICOLON));
        return weights;
    }
    std::vector<Item> take_weight() {
        const Token token = lexer_.token();
        if (token.is_end() || token.kind == Token::Kind::SEMICOLON) return {};
        if (token.kind == Token::Kind::STRING) {
            std::vector<Item> items;
            items.reserve(lexer_.string().size());
            for (const Piece &piece : lexer_.string()) items.push_back(item_of(piece));
            if (items.empty()) items.push_back({ItemKind::IGNORE, {}, {}});
            lexer_.advance();
            return items;
        }
        if (token.kind == Token::Kind::ELLIPSIS) return {{take_ellipsis(), {}, {}}};
        if (token.is_word("IGNORE")) {
            lexer_.advance();
            return {{ItemKind::IGNORE, {}, {}}};
        }
        return {take_item()};
    }

    Lexer lexer_;
    ErrorList errors_;
    CopiedCategories &copied_;
    std::set<std::string, std::less<>> defined_;
    Sources sources_;
    Place place_; // of the line
    std::vector<Condition> conditions_;
    const Part *open_ = nullptr;
    Place open_place_;
    std::shared_ptr<CollationRules> rules_ = std::make_shared<CollationRules>();
};

} // namespace

std::vector<std::string> names_of(const CollationStatement &statement) {
    std::vector<std::string> names;
    const std::vector<CollationItem> &operands = statement.operands;
    if (operands.size() == 2)
        range_of_names(operands[0].name, operands[1].name, statement.number)->for_each(1, [&](std::string name) {
            names.push_back(std::move(name));
        });
    else if (operands.size() == 1)
        names.emplace_back(operands[0].name);
    return names;
}

ParsedRules parse_rules(const DefinitionSource &source, CopiedCategories &copied, std::set<std::string, std::less<>> defined) {
    return RulesParser(source, copied, std::move(defined)).parse();
}

} // namespace qbgl::compiler
