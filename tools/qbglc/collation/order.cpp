#include "collation/order.h"

#include "charmap/sequence.h"
#include "collation/list.h"

#include <fmt/format.h>

#include <algorithm>
#include <deque>
#include <optional>
#include <unordered_map>
#include <utility>

namespace qbgl::compiler {

namespace {

constexpr uint32_t NONE = CollationOrder::NONE;
constexpr char32_t DIRECTING_LETTER = U'a';

using Statement = CollationStatement;
using StatementKind = CollationStatement::Kind;
using ItemKind = CollationItem::Kind;

struct Node {
    enum class Kind : uint8_t { SYMBOL, CHARACTER, ELEMENT, UNDEFINED };
    Kind kind;
    char32_t code = 0;                    // of a CHARACTER
    std::u32string_view text = {};        // of an ELEMENT
    const Statement *statement = nullptr; // has the weights
};

} // namespace

// Carries out the statements one by one, then gathers the weights: a weight may be named before it has its place.
class CollationResolver {
  public:
    explicit CollationResolver(CollationOrder &order) : order_(order), nodes_of_codes_(CODE_LIMIT, NONE) {}

    void resolve(const CollationRules &rules) {
        undefined_ = add({Node::Kind::UNDEFINED});
        rules.for_each([this](const Statement &statement) { errors_.collect([&] { carry_out(statement); }); });
        check_ellipsis();
        errors_.throw_if_any();
        if (order_.by_code_) return;
        if (order_.levels_.empty()) order_.levels_.resize(1);
        choose_directions();
        number();
        gather();
        errors_.throw_if_any();
    }

  private:
    // ---- nodes

    uint32_t add(Node node) {
        nodes_.push_back(node);
        return list_.add_node();
    }
    uint32_t node_of(char32_t code) {
        uint32_t &node = nodes_of_codes_[code];
        if (node == NONE) node = add({Node::Kind::CHARACTER, code});
        return node;
    }
    uint32_t find_name(std::string_view name) const {
        const auto found = names_.find(name);
        return found == names_.end() ? NONE : found->second;
    }
    void add_name(std::string_view name, Node node, const Place &place) {
        if (names_.contains(name)) {
            // Files that are copied one behind the other may define the symbols that both need.
            if (node.kind == Node::Kind::SYMBOL && nodes_[find_name(name)].kind == Node::Kind::SYMBOL) {
                const auto known = symbol_places_.find(name);
                if (known != symbol_places_.end() && known->second->file == place.file)
                    order_.warnings_.push_back(
                        fmt::format("{}: <{}> is a symbol already, from {}", place.text(), name, known->second->text()));
                return;
            }
            throw place.error(fmt::format("<{}> has a meaning already", name));
        }
        if (node.kind == Node::Kind::SYMBOL) symbol_places_.emplace(name, &place);
        names_.emplace(name, add(node));
    }
    uint32_t node_of_name(std::string_view name, const Place &place) {
        if (const uint32_t node = find_name(name); node != NONE) return node;
        if (const auto code = portable_character(name)) return node_of(*code);
        order_.warnings_.push_back(fmt::format("{}: <{}>: no such symbol; taken for one", place.text(), name));
        names_.emplace(name, add({Node::Kind::SYMBOL}));
        return find_name(name);
    }
    uint32_t node_of(const CollationItem &item, const Place &place) {
        switch (item.kind) {
        case ItemKind::CHARACTER: return node_of(item.text[0]);
        case ItemKind::NAME: return node_of_name(item.name, place);
        case ItemKind::UNDEFINED: return undefined_;
        default: throw place.error("symbol or character expected");
        }
    }
    std::string name_of(const CollationItem &item) const {
        if (item.kind == ItemKind::CHARACTER) return fmt::format("<U{:04X}>", static_cast<uint32_t>(item.text[0]));
        return fmt::format("<{}>", item.name);
    }

    // ---- statements
    //
    // The statements behind a wrong one are carried out, too, to find all errors. So what is missing is made when its error has
    // been told: they have a section and a place, and are not blamed for what is not wrong with them.

    void report(const Place &place, std::string_view what) { errors_.add(place.error(what).what()); }

    void carry_out(const Statement &statement) {
        switch (statement.kind) {
        case StatementKind::SECTION_SYMBOL:
        case StatementKind::SCRIPT:
            for (const CollationItem &item : statement.operands) sections_.try_emplace(std::string(item.name));
            break;
        case StatementKind::COLLATING_SYMBOL: add_symbols(statement); break;
        case StatementKind::COLLATING_ELEMENT:
            add_name(statement.operands[0].name, {Node::Kind::ELEMENT, 0, statement.operands[1].text}, statement.place);
            break;
        case StatementKind::SYMBOL_EQUIVALENCE: {
            const uint32_t same = node_of_name(statement.operands[1].name, statement.place);
            if (!names_.emplace(statement.operands[0].name, same).second)
                throw statement.place.error(fmt::format("<{}> has a meaning already", statement.operands[0].name));
            break;
        }
        case StatementKind::WEIGHT_MAX: break; // an order of more levels is taken, too
        case StatementKind::ORDER_START: start_order(statement); break;
        case StatementKind::ENTRY: enter(statement); break;
        case StatementKind::REORDER_AFTER: reorder_after(statement); break;
        case StatementKind::ORDER_END:
        case StatementKind::REORDER_END: end_part(); break;
        case StatementKind::REORDER_SECTIONS_AFTER: section_cursor_ = section_of(statement).list; break;
        case StatementKind::REORDER_SECTION: {
            Section &section = section_of(statement);
            if (!statement.directions.empty()) section.directions = statement.directions;
            list_.move_section(section.list, section_cursor_);
            section_cursor_ = section.list;
            break;
        }
        case StatementKind::REORDER_SECTIONS_END: break;
        case StatementKind::CODEPOINT_COLLATION: order_.by_code_ = true; break;
        }
    }

    void add_symbols(const Statement &statement) {
        if (statement.operands.size() == 1) {
            add_name(statement.operands[0].name, {Node::Kind::SYMBOL}, statement.place);
            return;
        }
        for (std::string &name : names_of(statement)) {
            kept_names_.push_back(std::move(name));
            add_name(kept_names_.back(), {Node::Kind::SYMBOL}, statement.place);
        }
    }

    struct Section {
        uint32_t list = NONE; // none before its first order_start
        std::vector<std::string> directions;
    };
    Section &section_of(const Statement &statement) {
        Section &section = sections_[std::string(statement.name)];
        if (section.list == NONE) {
            report(statement.place, fmt::format("<{}>: no such section", statement.name));
            section.list = list_.add_section();
        }
        return section;
    }

    void start_order(const Statement &statement) {
        check_ellipsis();
        if (!statement.name.empty() && !sections_.contains(statement.name))
            report(statement.place, fmt::format("<{}>: no such section", statement.name));
        Section &section = sections_[std::string(statement.name)];
        if (section.list == NONE) section.list = list_.add_section();
        if (!statement.directions.empty()) section.directions = statement.directions;
        order_.levels_.resize(std::max(order_.levels_.size(), section.directions.size()));
        current_section_ = section.list;
        part_ = Part::ORDER;
        previous_ = NONE;
    }
    void reorder_after(const Statement &statement) {
        check_ellipsis();
        cursor_ = node_of(statement.operands[0], statement.place);
        if (!list_.contains(cursor_)) {
            report(statement.place, fmt::format("{} is not in the order", name_of(statement.operands[0])));
            list_.append(cursor_, list_.add_section());
            nodes_[cursor_].statement = &statement;
        }
        part_ = Part::REORDER;
        previous_ = NONE;
    }
    void end_part() {
        check_ellipsis();
        part_ = Part::NONE;
    }
    void check_ellipsis() {
        if (const Statement *statement = std::exchange(pending_ellipsis_, nullptr))
            report(statement->place, "an ellipsis needs a character behind it");
    }

    // ---- entries

    void enter(const Statement &statement) {
        const std::vector<CollationItem> &operands = statement.operands;
        if (part_ == Part::NONE) enter_symbols(statement);
        if (operands[0].kind == ItemKind::ELLIPSIS) {
            if (!is_character(previous_)) throw statement.place.error("an ellipsis needs a character before it");
            pending_ellipsis_ = &statement;
            return;
        }
        if (pending_ellipsis_) fill_ellipsis(node_of(operands[0], statement.place));
        if (operands.size() == 1) {
            put(node_of(operands[0], statement.place), statement);
        } else if (operands[0].kind == ItemKind::CHARACTER) {
            put_range(operands[0].text[0], operands[1].text[0], statement);
        } else {
            for (const std::string &name : names_of(statement)) put(node_of_name(name, statement.place), statement);
        }
    }
    // Outside of order_start symbols may stand, which need no directions.
    void enter_symbols(const Statement &statement) {
        const CollationItem &first = statement.operands[0];
        if (first.kind != ItemKind::NAME || nodes_[node_of(first, statement.place)].kind != Node::Kind::SYMBOL)
            throw statement.place.error("an entry outside of order_start and reorder-after");
        if (symbols_ == NONE) symbols_ = list_.add_section();
        current_section_ = symbols_;
    }
    bool is_character(uint32_t node) const { return node != NONE && nodes_[node].kind == Node::Kind::CHARACTER; }
    void fill_ellipsis(uint32_t next) {
        const Statement &statement = *std::exchange(pending_ellipsis_, nullptr);
        if (!is_character(next)) throw statement.place.error("an ellipsis needs a character behind it");
        const char32_t first = nodes_[previous_].code, last = nodes_[next].code;
        if (last <= first) throw statement.place.error("the ellipsis runs backward");
        put_range(first + 1, last - 1, statement);
    }
    void put_range(char32_t first, char32_t last, const Statement &statement) {
        for (char32_t code = first; code <= last; ++code)
            if (is_scalar_value(code)) put(node_of(code), statement);
    }
    void put(uint32_t node, const Statement &statement) {
        previous_ = node;
        if (part_ != Part::REORDER) {
            if (list_.contains(node)) {
                order_.warnings_.push_back(fmt::format("{}: stands in the order already, at {}; left out here",
                                                       statement.place.text(), nodes_[node].statement->place.text()));
                return;
            }
            list_.append(node, current_section_);
        } else {
            list_.put_behind(node, cursor_);
            cursor_ = node;
        }
        nodes_[node].statement = &statement;
    }

    // ---- the result

    // A pass has one direction. Where sections differ, it is that of the letters.
    void choose_directions() {
        const uint32_t letter = nodes_of_codes_[DIRECTING_LETTER];
        const uint32_t home = letter == NONE ? NONE : list_.home(letter);
        const Section *letters = nullptr;
        for (const auto &[name, section] : sections_)
            if (section.list != NONE && (letters == nullptr || section.list == home)) letters = &section;
        const auto has = [](const Section &section, size_t level, std::string_view word) {
            return level < section.directions.size() && section.directions[level].find(word) != std::string::npos;
        };
        for (size_t level = 0; level < order_.levels_.size(); ++level) {
            order_.levels_[level].backward = letters != nullptr && has(*letters, level, "backward");
            for (const auto &[name, section] : sections_) order_.levels_[level].position |= has(section, level, "position");
        }
    }

    void number() {
        ordinals_.assign(nodes_.size(), NONE);
        uint32_t next = 0;
        list_.for_each([&](uint32_t node) { ordinals_[node] = next++; });
        order_.undefined_ordinal_ = ordinals_[undefined_] == NONE ? next : ordinals_[undefined_];
        singles_.assign(next + 1, NONE);
    }

    void gather() {
        intern({});
        list_.for_each([this](uint32_t index) {
            const Node node = nodes_[index];
            if (node.kind == Node::Kind::SYMBOL) return;
            if (node.kind == Node::Kind::UNDEFINED && node.statement->weights.empty()) return;
            const auto item = static_cast<uint32_t>(order_.strings_of_items_.size() / order_.levels_.size());
            errors_.collect([&] { check_weights(*node.statement); });
            for (size_t level = 0; level < order_.levels_.size(); ++level) {
                uint32_t string = CollationOrder::EMPTY;
                errors_.collect([&] { string = string_of(index, level); });
                order_.strings_of_items_.push_back(string);
            }
            if (node.kind == Node::Kind::ELEMENT) {
                order_.elements_.push_back({std::u32string(node.text), item});
            } else if (node.kind == Node::Kind::UNDEFINED) {
                order_.undefined_item_ = item;
            } else {
                if (order_.items_by_code_.size() <= node.code) order_.items_by_code_.resize(node.code + 1, NONE);
                order_.items_by_code_[node.code] = item;
            }
        });
    }

    void check_weights(const Statement &statement) const {
        const size_t levels = order_.levels_.size();
        if (statement.weights.size() > levels)
            throw statement.place.error(fmt::format("{} weights, but order_start has {} levels", statement.weights.size(), levels));
    }
    uint32_t string_of(uint32_t index, size_t level) {
        const Statement &statement = *nodes_[index].statement;
        if (level >= statement.weights.size() || statement.weights[level].empty()) return single(ordinals_[index]);
        const std::vector<CollationItem> &weights = statement.weights[level];
        if (weights.size() == 1) {
            if (weights[0].kind == ItemKind::IGNORE) return CollationOrder::EMPTY;
            return single(ordinal_of(weights[0], index, statement.place));
        }
        std::u32string ordinals;
        for (const CollationItem &weight : weights) ordinals += static_cast<char32_t>(ordinal_of(weight, index, statement.place));
        return intern(ordinals);
    }
    uint32_t ordinal_of(const CollationItem &weight, uint32_t self, const Place &place) {
        const uint32_t ordinal = ordinals_at(weight.kind == ItemKind::ELLIPSIS ? self : node_of(weight, place));
        if (ordinal == NONE) throw place.error(fmt::format("{} is not in the order", name_of(weight)));
        return ordinal;
    }
    // A character that only a weight names is no node yet when the others are numbered.
    uint32_t ordinals_at(uint32_t node) const { return node < ordinals_.size() ? ordinals_[node] : NONE; }

    uint32_t single(uint32_t ordinal) {
        uint32_t &number = singles_[ordinal];
        if (number == NONE) number = add_string(std::u32string(1, static_cast<char32_t>(ordinal)));
        return number;
    }
    uint32_t intern(const std::u32string &ordinals) {
        const auto [place, is_new] = strings_.try_emplace(ordinals, 0);
        if (is_new) place->second = add_string(ordinals);
        return place->second;
    }
    uint32_t add_string(const std::u32string &ordinals) {
        order_.strings_.push_back({static_cast<uint32_t>(order_.pool_.size()), static_cast<uint32_t>(ordinals.size())});
        order_.pool_.insert(order_.pool_.end(), ordinals.begin(), ordinals.end());
        return static_cast<uint32_t>(order_.strings_.size() - 1);
    }

    enum class Part { NONE, ORDER, REORDER };

    CollationOrder &order_;
    ErrorList errors_;
    std::vector<Node> nodes_;
    CollationList list_;
    std::vector<uint32_t> nodes_of_codes_;
    std::unordered_map<std::string_view, uint32_t> names_;
    std::unordered_map<std::string_view, const Place *> symbol_places_;
    std::deque<std::string> kept_names_; // of ranges; the others stand in the rules
    std::map<std::string, Section, std::less<>> sections_;
    Part part_ = Part::NONE;
    uint32_t current_section_ = NONE, cursor_ = NONE, section_cursor_ = NONE, undefined_ = NONE, symbols_ = NONE, previous_ = NONE;
    const Statement *pending_ellipsis_ = nullptr;
    std::vector<uint32_t> ordinals_; // by node
    std::vector<uint32_t> singles_;  // by ordinal, the string of it alone
    std::unordered_map<std::u32string, uint32_t> strings_;
};

CollationOrder::CollationOrder(const CollationRules &rules) { CollationResolver(*this).resolve(rules); }

const CollationRules &without_copying(const CollationRules &rules) {
    const CollationRules *innermost = &rules;
    while (innermost->items.size() == 1) {
        const auto *copied = std::get_if<CollationRulesPtr>(&innermost->items[0]);
        if (copied == nullptr) break;
        innermost = copied->get();
    }
    return *innermost;
}

} // namespace qbgl::compiler
