#include "order/parts.h"

#include "coll/rules.h"
#include "multi/table.h"

#include <iterator>
#include <string.h>
#include <utility>

namespace qbgl {

namespace {

constexpr uint32_t WEIGHTS = WEIGHT_VALUE + 1, SLOTS = 256, LEADS_DISTANCE = 65536, ASCII = 128;
constexpr gl_wchar SPACE = ' ', CAPITAL = 'A';
constexpr uint8_t OF_CHARACTER = 1, OF_ELEMENT = 2, HAS_SPECIAL = 4; // of a row
constexpr uint8_t LOOKED_AT = 1, WITHOUT_SPECIAL = 2;                // of a node
constexpr int MOST_TELLERS = 3;                                      // passes that tell a group, beside the first
constexpr uint32_t MOST_LENGTH = 254;
constexpr uint8_t HIDDEN_AND_TOLD = 2; // hidden_: with weights in a pass that tells groups
constexpr uint32_t COMBINED_RUN = 16;  // the same where the weight behind a run can be said with it
constexpr uint32_t MOST_RUN = 32, MOST_RELATIVE = 64, LEAST_LETTERS = 64;
constexpr uint32_t MOST_LISTED = 8192; // characters of a weight that have a place each
// Characters that further passes tell of most often, those beyond ASCII in utf8: a capital, an accented letter, a tone, the space.
constexpr gl_wchar MARKED[] = {CAPITAL, 0xE1, 0xE48, SPACE};
constexpr uint64_t ANY_GROUP = UINT64_MAX; // of a letter that can stand beside any
constexpr uint32_t FIRST_PASS_BYTES = OF_UNKNOWN - FIRST_WEIGHT_BYTE, FURTHER_PASS_BYTES = OF_EITHER - FIRST_WEIGHT_BYTE;

// Of characters, by what tells them apart in a key.
struct Range {
    uint32_t least = UINT32_MAX, most = 0;
    uint32_t width() const { return least <= most ? most - least + 1 : 1; }
    void take(uint32_t character) {
        least = std::min(least, character);
        most = std::max(most, character);
    }
};

// Characters of utf8 in a row that have a row in common.
struct RowRun {
    uint32_t first, last;
    uint16_t row;
};

// A weight of a pass, and what the rules say of it.
struct WeightFacts {
    uint8_t used, special;
    uint8_t without_singles;       // special, and some unit's number is less than those of ASCII: that of an element
    uint8_t unlisted;              // special, and a unit has it whose number is that of none of its characters
    uint8_t preferred;             // 0, or the number of the block of characters for which it should be one byte
    uint8_t lettered, unlettered;  // a row has it that has a weight in the first pass, or one that has none there
    uint8_t breaks, common, below; // as the flags of its token
    uint8_t relative;              // its place in its group, where that is enough to tell
    uint16_t rows;                 // how many have it and nothing else
    uint32_t characters, runs;     // special: how many characters of utf8 have it alone, and in how many runs
    uint32_t lengths;              // how many its rows have in the passes that tell its group, and 1
};

// The weights that an expansion comes to in a pass: the first one, 0 for none, and how many, as far as that can be told in 16 bits.
struct ExpansionFacts {
    uint16_t first, count;
};

// The weights of rows in a pass.
struct PassRows {
    const uint16_t *weights;
    const ExpansionFacts *expansions;

    const ExpansionFacts &expansion(uint32_t row) const { return expansions[weights[row] & WEIGHT_VALUE]; }
    // One weight, which is no other's place.
    bool is_single(uint32_t row) const { return !is_expansion(weights[row]) && weights[row] != WEIGHT_IGNORED; }
    // 0 for a row that has none.
    uint32_t first(uint32_t row) const {
        if (is_expansion(weights[row])) return expansion(row).first;
        return weights[row] != WEIGHT_IGNORED ? weights[row] & WEIGHT_VALUE : 0;
    }
    uint32_t count(uint32_t row) const {
        if (is_expansion(weights[row])) return expansion(row).count;
        return weights[row] != WEIGHT_IGNORED ? 1 : 0;
    }
};

// The weights that can stand in one place where the passes before are equal.
struct GroupMember {
    uint64_t group;
    uint32_t weight;
    bool operator<(const GroupMember &other) const { return group != other.group ? group < other.group : weight < other.weight; }
    bool operator==(const GroupMember &) const = default;
};

// Characters of a script of one case: each block has one byte a letter where there is room, in this order.
struct Block {
    uint16_t first, last;
};
constexpr Block BLOCKS[] = {{0xDF, 0x17F},  {0x430, 0x45F}, {0x3B1, 0x3C9},   {0x5D0, 0x5EA}, {0x621, 0x64A},
                            {0x904, 0x939}, {0xE01, 0xE2E}, {0x10D0, 0x10F0}, {0x561, 0x586}, {0x3041, 0x3093}};
constexpr uint8_t ONE_BYTE_BLOCK = 1, BLOCK_COUNT = 1 + std::size(BLOCKS);

bool is_letter_or_digit(gl_wchar wc) { return wc - '0' < 10 || (wc | 0x20) - 'a' < 26; }

// The bytes of runs up to a length, and of one with more behind it: before lesser weights and before greater ones.
constexpr uint32_t run_places(uint32_t run, bool lesser, uint32_t greater_places) {
    return 2 + (run - 1) * ((lesser ? COMBINED_PLACES : 1) + greater_places);
}

// Lays the weights of a region out in the order of their values.
class Bytes {
  public:
    Bytes(const WeightFacts *facts, uint32_t count, const Range *ranges, const uint16_t *ascii)
        : facts_(facts), count_(count), ranges_(ranges), ascii_(ascii) {}

    uint8_t preferred = 0;      // blocks up to this number have one byte
    uint32_t plain_singles = 0; // and so have the first ordinary weights
    bool ascii_singles = false; // and ASCII characters that have special ones
    // A weight of one byte, or an ASCII character that has one, whose runs are counted: places for them.
    uint32_t counted_weight = 0, counted_character = ASCII;
    // Special weights of up to so many codes have room for their characters among the slots; from ALL_CODES on those of more, too.
    static constexpr uint32_t ALL_CODES = 2 * LEADS_DISTANCE;
    uint32_t most_codes = ALL_CODES;
    // Those of so many characters have a place for each; those that need no more room for that have it anyway.
    uint32_t most_listed = 0;

    // Visits the weights: visit(weight, place, form), the place being two bytes, or visit(character, place) for ASCII characters.
    // Returns how many lead bytes are used.
    template <class Member, class Visit, class VisitAscii>
    uint32_t lay_out(Member is_member, Visit visit, VisitAscii visit_ascii) const {
        uint32_t lead = 0, slot = 0, singles = 0; // slot: used ones behind the lead
        const auto close = [&] {
            lead += (slot + SLOTS - 1) / SLOTS;
            slot = 0;
        };
        const auto take = [&](uint32_t weight, uint32_t slots, CodeForm form) {
            visit(weight, (lead << 8) + slot, form);
            slot += slots;
        };
        for (uint32_t weight = 2; weight < count_; ++weight) {
            const WeightFacts &fact = facts_[weight];
            if (fact.used == 0 || !is_member(fact)) continue;
            if (fact.special == 0) {
                if ((fact.preferred == 0 || fact.preferred > preferred) && singles >= plain_singles) {
                    take(weight, 1, CodeForm::SLOTS);
                    continue;
                }
                close();
                ++singles;
                visit(weight, lead++ << 8, CodeForm::LEADS);
                if (weight == counted_weight) lead += LESSER_PLACES - 1;
                continue;
            }
            for (uint32_t character = 0; ascii_singles && fact.without_singles == 0 && character < ASCII; ++character) {
                if (ascii_[character] != weight) continue;
                close();
                visit_ascii(character, lead++);
                if (character == counted_character) lead += LESSER_PLACES - 1;
            }
            const uint32_t width = ranges_[weight].width();
            const bool by_leads = width > LEADS_DISTANCE && most_codes == ALL_CODES;
            const uint32_t plain_slots = by_leads                                        ? SLOTS
                                         : width <= std::min(most_codes, LEADS_DISTANCE) ? (width - 1) / SLOTS + 1
                                                                                         : 1;
            if (fact.characters != 0 && fact.unlisted == 0 && fact.characters <= std::max(plain_slots, most_listed)) {
                take(weight, fact.characters, CodeForm::LISTED);
            } else if (by_leads) {
                close();
                visit(weight, lead << 8, CodeForm::LEADS);
                lead += (width - 1) / LEADS_DISTANCE + 1;
            } else if (width <= std::min(most_codes, LEADS_DISTANCE)) {
                take(weight, plain_slots, CodeForm::SLOTS);
            } else {
                take(weight, 1, width <= LEADS_DISTANCE ? CodeForm::TWO_BYTES : CodeForm::FOUR_BYTES);
            }
        }
        close();
        return lead;
    }
    template <class Member> uint32_t leads(Member is_member) const {
        return lay_out(
            is_member, [](uint32_t, uint32_t, CodeForm) {}, [](uint32_t, uint32_t) {});
    }

  private:
    const WeightFacts *facts_;
    uint32_t count_;
    const Range *ranges_;
    const uint16_t *ascii_;
};

class OrderBuilder {
  public:
    OrderBuilder(const gl_collate_info &rules, OrderParts &parts) : rules_(rules), maps_(*rules.maps), parts_(parts) {}

    // False when memory is out.
    bool make();

  private:
    bool allocate();
    void find_ranked();
    bool is_utf8() const;
    enum class Scan { FORWARD, BACKWARD };
    bool scan_node(const MultiNode &node, gl_wchar prefix, int length, Scan direction);
    void collect_runs(const MultiNode &node, gl_wchar prefix, int length);
    void add_run(uint32_t first, uint32_t last, uint16_t row);
    bool has_alone(gl_wchar character, uint16_t weight, int pass) const;
    void scan_expansions();
    void scan_rules();

    void collect_facts(int pass);
    void collect_blocks();
    void find_hidden(int pass);
    uint32_t most_frequent() const;
    bool find_implied(int pass);
    bool tells_letters(int earlier, int pass);
    void collect_members(int pass);
    template <class Chosen> bool count_follows(int pass, int earlier, Chosen is_chosen);
    template <class Chosen> bool end_says_something(int pass, Chosen is_chosen);
    bool ends_are_told(int pass);
    uint32_t greater_weight(int pass) const;

    Bytes bytes_of(int pass) const { return {facts_.get(), count_, ranges_.get(), ascii_weights_[pass]}; }
    void write_first();
    void write_further(int pass);
    // The tokens of the weights of a region whose first byte is given.
    template <class Member> void write(int pass, OrderToken *tokens, const Bytes &bytes, uint32_t first, Member is_member);
    OrderToken *add_tokens(uint32_t &at);

    uint16_t code(uint32_t row, int pass) const { return maps_.code_of(row, pass); }
    // Of a character by itself; WEIGHT_IGNORED for one that the rules do not have.
    uint16_t code_of_single(gl_wchar wc, int pass) const {
        uint32_t row = maps_.row_of(wc);
        if (row > maps_.unknown) row = maps_.starts[row - maps_.unknown - 1].row;
        return row < maps_.unknown ? code(row, pass) : WEIGHT_IGNORED;
    }
    uint32_t linear(gl_wchar wc) const { return utf8_ ? scalar_value(wc) : wc; }
    bool is_ranked(int pass, uint32_t weight) const {
        return ranked_ && ranked_[static_cast<uint32_t>(pass) * WEIGHTS + weight] != 0;
    }

    template <class Visit> void for_each_row(Visit visit) const {
        const uint8_t *const used = used_.get();
        for (uint32_t row = 0, end = maps_.unknown; row < end; ++row)
            if (used[row] != 0) visit(row);
    }
    PassRows rows_of(int pass) const {
        return {rules_.weights[pass], expansions_.get() + static_cast<uint32_t>(pass) * maps_.expansion_count};
    }
    // visit(code, character) for what a row has in a pass; the character is that of an expansion.
    template <class Visit> void visit_codes(uint32_t row, int pass, Visit visit) const {
        for_each_weight(maps_, pass, code(row, pass), 0, visit);
    }
    template <class Visit> void visit_weights(uint32_t row, int pass, Visit visit) const {
        visit_codes(row, pass, [&visit](uint16_t code, gl_wchar) { visit(uint32_t{code} & WEIGHT_VALUE); });
    }
    uint32_t count_shown(uint32_t row) const {
        const PassRows letters = rows_of(0);
        if (!is_expansion(letters.weights[row])) return letters.is_single(row) && hidden_[letters.first(row)] == 0 ? 1 : 0;
        uint32_t count = 0;
        visit_weights(row, 0, [&](uint32_t weight) { count += hidden_[weight] == 0 ? 1U : 0U; });
        return count;
    }

    const gl_collate_info &rules_;
    const gl_collation_maps &maps_;
    bool utf8_ = false;
    Owned<uint8_t> used_;                 // by row, of the bits above
    Owned<uint8_t> seen_;                 // of the character table's listed nodes, of the bits above
    Owned<uint32_t> same_rows_;           // of its nodes of last bytes: 0, or 1 and the row that all of them have
    Growing<RowRun> row_runs_;            // in utf8, of rows that have a special weight, in order
    Owned<Range> row_ranges_;             // the characters of rows that have a special weight
    Owned<ExpansionFacts> expansions_;    // by pass and expansion
    uint32_t counts_[GL_MAX_PASSES] = {}; // one more than the greatest weight, of the passes up to the one at hand
    uint16_t ascii_weights_[GL_MAX_PASSES][ASCII] = {};
    Owned<uint8_t> ranked_;    // by pass and weight: special ones that ranked rows have; null where no row is ranked
    Owned<WeightFacts> facts_; // of the pass at hand
    Owned<Range> ranges_;      // the characters of its special weights
    uint32_t count_ = 0;       // of its weights
    Owned<int32_t> first_counts_;
    Owned<uint32_t> further_counts_; // modulo 2^32
    Owned<uint16_t> longer_;         // rows of more than one weight in a pass
    Owned<uint8_t> hidden_;          // weights of the first pass that rows have which the pass at hand ignores
    Owned<GroupMember> members_;     // and room to sort them
    Owned<uint32_t> letter_ends_;
    uint32_t member_count_ = 0, most_relative_ = 0;
    bool memory_ = true;

    Owned<CodeRun> lists_; // of listed weights: where their next run is, and its place
    OrderParts &parts_;
};

void OrderBuilder::find_ranked() {
    for (int pass = 0; pass < rules_.pass_count; ++pass)
        for (uint32_t row = 1; row <= static_cast<uint32_t>(maps_.ranks.row_count); ++row)
            if (is_special(code(row, pass))) ranked_[static_cast<uint32_t>(pass) * WEIGHTS + (code(row, pass) & WEIGHT_VALUE)] = 1;
}

// Of a table whose characters are those of utf8, special weights tell scalar values apart; of any other, the bytes.
bool OrderBuilder::is_utf8() const {
    const MultiNode &root = *rules_.character_table->root;
    for (const uint8_t lead : {uint8_t{0xC3}, uint8_t{0xE4}}) {
        if (root.flags[lead] != FLAG_CHILD) return false;
        const MultiNode &node = *child_of(root, lead);
        for (int byte = 0; byte < 256; ++byte)
            if ((node.flags[byte] != FLAG_NONE) != (byte >= 0x80 && byte < 0xC0)) return false;
    }
    for (int pass = 0; pass < rules_.pass_count; ++pass)
        for (uint32_t i = 0; i < maps_.expansion_count; ++i)
            for (const uint16_t *at = maps_.items_of(static_cast<uint16_t>(i), pass); *at != CODE_END && !is_expansion(*at);) {
                const ExpansionItem item = maps_.take_item(at, pass);
                if (is_special(item.code) && !is_ranked(pass, item.code & WEIGHT_VALUE) && !is_utf8_character(item.character))
                    return false;
            }
    return true;
}

// Whether the first bytes of a sequence can be those of a character of utf8. What else stands in its table carries weights for
// expansions, and stands in no text.
bool begins_utf8(gl_wchar prefix, int length) {
    const gl_wchar lead = prefix >> (8 * (length - 1));
    const bool alone = length == 1; // what is too long for its character is known from the second byte on
    for (const int longest = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4; length < longest; ++length) prefix = prefix << 8 | 0x80;
    return lead >= 0xC2 && (alone || is_utf8_character(prefix));
}

// A node that stands for others is looked at where it stands first: one way, that has the least of its characters, the other way
// the greatest. Returns whether rows with special weights are below it: only their characters matter the other way.
bool OrderBuilder::scan_node(const MultiNode &node, gl_wchar prefix, int length, Scan direction) {
    const gl_multi &table = *rules_.character_table;
    uint8_t *const seen = table.nodes != nullptr ? &seen_[static_cast<uint32_t>(node.number)] : nullptr;
    if (seen != nullptr && std::exchange(*seen, *seen | LOOKED_AT) != 0) return (*seen & WITHOUT_SPECIAL) == 0;
    const bool continued = utf8_ && length > 1;
    const int begin = continued ? 0x80 : 0, end = utf8_ ? (continued ? 0xC0 : 0xF5) : 256;
    bool special = false, whole = true; // what stands behind one lead byte may be no character, and behind another one
    for (int i = begin; i < end; ++i) {
        const auto at = static_cast<uint8_t>(direction == Scan::FORWARD ? i : begin + end - 1 - i);
        const gl_wchar wc = prefix << 8 | at;
        if (node.flags[at] == FLAG_CHILD) {
            if (!utf8_ || begins_utf8(wc, length))
                special |= scan_node(*child_of(node, at), wc, length + 1, direction);
            else
                whole = false;
        } else if (node.flags[at] == FLAG_END && (!utf8_ || continued || at < ASCII)) {
            uint16_t row;
            memcpy(&row, entry_of(table, node, at), sizeof row);
            used_[row] |= OF_CHARACTER;
            if ((used_[row] & HAS_SPECIAL) == 0) continue;
            special = true;
            row_ranges_[row].take(linear(wc));
        }
    }
    if (seen != nullptr && !whole) *seen &= static_cast<uint8_t>(~LOOKED_AT);
    if (seen != nullptr && whole && !special) *seen |= WITHOUT_SPECIAL;
    return special;
}

void OrderBuilder::add_run(uint32_t first, uint32_t last, uint16_t row) {
    const uint32_t count = row_runs_.size();
    if (count > 0 && row_runs_[count - 1].row == row && row_runs_[count - 1].last + 1 == first)
        row_runs_[count - 1].last = last;
    else
        memory_ = memory_ && row_runs_.append({first, last, row});
}

// The characters of utf8 whose rows have special weights. Nodes of last bytes that have one row stand for many.
void OrderBuilder::collect_runs(const MultiNode &node, gl_wchar prefix, int length) {
    const gl_multi &table = *rules_.character_table;
    const bool continued = length > 1, numbered = table.nodes != nullptr;
    const auto number = static_cast<uint32_t>(node.number);
    if (numbered && (seen_[number] & WITHOUT_SPECIAL) != 0) return;
    if (numbered && same_rows_[number] != 0) {
        const uint32_t first = scalar_value(prefix << 8 | 0x80);
        add_run(first, first + 0x3F, static_cast<uint16_t>(same_rows_[number] - 1));
        return;
    }
    bool same = continued;
    uint32_t common = UINT32_MAX;
    for (uint32_t at = continued ? 0x80 : 0, end = continued ? 0xC0 : 0xF5; at < end; ++at) {
        const auto byte = static_cast<uint8_t>(at);
        const gl_wchar wc = prefix << 8 | at;
        const bool ends = node.flags[byte] == FLAG_END && (continued || at < ASCII);
        if (node.flags[byte] == FLAG_CHILD && begins_utf8(wc, length)) collect_runs(*child_of(node, byte), wc, length + 1);
        uint16_t row = 0;
        if (ends) memcpy(&row, entry_of(table, node, byte), sizeof row);
        same = same && ends && (common == UINT32_MAX || common == row);
        common = row;
        if (ends && (used_[row] & HAS_SPECIAL) != 0) add_run(scalar_value(wc), scalar_value(wc), row);
    }
    if (numbered && same) same_rows_[number] = common + 1;
}

// Whether a character of utf8 has a special weight in a pass, and nothing else.
bool OrderBuilder::has_alone(gl_wchar character, uint16_t weight, int pass) const {
    const uint32_t scalar = scalar_value(character);
    const RowRun *const end = row_runs_.begin() + row_runs_.size();
    const RowRun *const run =
        std::lower_bound(row_runs_.begin(), end, scalar, [](const RowRun &a, uint32_t b) { return a.last < b; });
    return run != end && run->first <= scalar && code(run->row, pass) == weight;
}

void OrderBuilder::scan_expansions() {
    for (int pass = 0; pass < rules_.pass_count; ++pass) {
        for (uint32_t i = 0; i < maps_.expansion_count; ++i) {
            ExpansionFacts &facts = expansions_[static_cast<uint32_t>(pass) * maps_.expansion_count + i];
            facts = {0, 0};
            for_each_weight(maps_, pass, static_cast<uint16_t>(WEIGHT_EXPANSION | i), 0, [&facts](uint16_t code, gl_wchar) {
                if (facts.count++ == 0) facts.first = code & WEIGHT_VALUE;
                if (facts.count == 0) facts.count = UINT16_MAX;
            });
        }
    }
}

void OrderBuilder::scan_rules() {
    const gl_multi &table = *rules_.character_table;
    for (uint32_t row = 0; row < maps_.unknown; ++row) {
        uint8_t special = 0;
        for (int pass = 0; pass < rules_.pass_count; ++pass) special |= is_special(code(row, pass)) ? HAS_SPECIAL : 0;
        used_[row] = special;
    }
    scan_node(*table.root, 0, 1, Scan::FORWARD);
    if (table.nodes != nullptr) {
        for (int32_t i = 0; i < table.node_count; ++i) seen_[static_cast<uint32_t>(i)] &= WITHOUT_SPECIAL;
        scan_node(*table.root, 0, 1, Scan::BACKWARD);
    }
    if (utf8_) collect_runs(*table.root, 0, 1);
    for (int32_t i = 0; i < rules_.element_count; ++i) {
        const uint16_t row = rules_.elements[i].row;
        used_[row] |= OF_ELEMENT;
        row_ranges_[row].take(ELEMENT_CHARACTER);
    }
    for (uint32_t row = 0; row < maps_.unknown; ++row) used_[row] &= OF_CHARACTER | OF_ELEMENT;
    scan_expansions();
    for (int pass = 0; pass < rules_.pass_count; ++pass) {
        for (gl_wchar wc = 0; wc < ASCII; ++wc) {
            const uint32_t row = maps_.row_of(wc);
            if (wc == ELEMENT_CHARACTER || row == maps_.unknown) continue;
            const uint16_t of_row = code(row > maps_.unknown ? maps_.starts[row - maps_.unknown - 1].row : row, pass);
            const uint16_t weight = of_row & WEIGHT_VALUE;
            if (is_special(of_row) && !is_ranked(pass, weight)) ascii_weights_[pass][wc] = weight;
        }
        for (uint16_t &weight : ascii_weights_[pass]) { // controls alone need no bytes of their own
            const uint16_t *const weights = ascii_weights_[pass];
            if (std::find(weights + SPACE, weights + ASCII - 1, weight) == weights + ASCII - 1) weight = 0;
        }
    }
}

void OrderBuilder::collect_facts(int pass) {
    memset(static_cast<void *>(facts_.get()), 0, WEIGHTS * sizeof(WeightFacts));
    std::fill_n(ranges_.get(), WEIGHTS, Range());
    const PassRows letters = rows_of(0), own = rows_of(pass);
    WeightFacts *const facts = facts_.get();
    uint32_t largest = 1;
    const uint32_t start_of_heading = maps_.row_of(ELEMENT_CHARACTER); // the character of that number
    const auto use = [&](uint32_t weight, bool lettered) {
        largest = std::max(largest, weight);
        facts[weight].used = 1;
        (lettered ? facts[weight].lettered : facts[weight].unlettered) = 1;
    };
    for_each_row([&](uint32_t row) {
        const uint16_t said = own.weights[row];
        const uint32_t weight = said & WEIGHT_VALUE;
        const bool lettered = letters.first(row) != 0;
        if (is_expansion(said)) {
            visit_codes(row, pass, [&](uint16_t each, gl_wchar character) {
                const uint32_t part = each & WEIGHT_VALUE;
                use(part, lettered);
                if (!is_special(each)) return;
                facts[part].special = 1;
                if (character == ELEMENT_CHARACTER) facts[part].without_singles = 1;
                if (!utf8_ || is_ranked(pass, part) || !has_alone(character, each, pass)) facts[part].unlisted = 1;
                ranges_[part].take(is_ranked(pass, part) ? character : linear(character));
            });
            return;
        }
        if (said == WEIGHT_IGNORED) return;
        use(weight, lettered);
        if ((said & WEIGHT_SPECIAL) == 0) {
            ++facts[weight].rows;
            return;
        }
        facts[weight].special = 1;
        if (row == start_of_heading || (used_[row] & OF_ELEMENT) != 0) facts[weight].without_singles = 1;
        if ((used_[row] & OF_ELEMENT) != 0 || is_ranked(pass, weight)) facts[weight].unlisted = 1;
        Range &range = ranges_[weight];
        if (qbgl::is_ranked(maps_.ranks, row)) {
            range.take(0);
            range.take(UINT16_MAX);
        } else {
            const bool by_bytes = utf8_ && is_ranked(pass, weight);
            for (const uint32_t end : {row_ranges_[row].least, row_ranges_[row].most})
                range.take(by_bytes ? utf8_character(end) : end);
        }
    });
    for (uint32_t i = 0; i < row_runs_.size(); ++i) {
        const RowRun &run = row_runs_[i];
        const uint16_t said = code(run.row, pass);
        if (!is_special(said)) continue;
        facts[said & WEIGHT_VALUE].characters += run.last - run.first + 1;
        ++facts[said & WEIGHT_VALUE].runs;
    }
    count_ = counts_[pass] = largest + 1;
}

// Letters of the first pass that should be one byte each.
void OrderBuilder::collect_blocks() {
    const auto prefer = [&](gl_wchar wc, uint8_t block) {
        uint32_t row = maps_.row_of(wc);
        if (row > maps_.unknown) row = maps_.starts[row - maps_.unknown - 1].row;
        const uint16_t weight = row < maps_.unknown ? code(row, 0) : WEIGHT_IGNORED;
        if (is_ordinary(weight) && facts_[weight].preferred == 0) facts_[weight].preferred = block;
    };
    for (gl_wchar wc = 0; wc < 256; ++wc)
        if (is_letter_or_digit(wc) || wc >= ASCII) prefer(wc, ONE_BYTE_BLOCK);
    uint8_t number = ONE_BYTE_BLOCK;
    for (const auto &[first, last] : BLOCKS) {
        ++number;
        for (uint32_t scalar = first; utf8_ && scalar <= last; ++scalar) prefer(utf8_character(scalar), number);
    }
}

void OrderBuilder::find_hidden(int pass) {
    memset(hidden_.get(), 0, WEIGHTS);
    const PassRows own = rows_of(pass);
    for_each_row([&](uint32_t row) {
        if (own.first(row) == 0) visit_weights(row, 0, [&](uint32_t weight) { hidden_[weight] = 1; });
    });
}

// The weight that the most rows have, or 0.
uint32_t OrderBuilder::most_frequent() const {
    uint32_t common = 0;
    for (uint32_t weight = 2; weight < count_; ++weight)
        if (facts_[weight].rows > facts_[common].rows) common = weight;
    return common;
}

// Whether it is known where in a pass before the one at hand its letters are: the pass says something of each of them, and of what
// the pass at hand ignores a number of weights that follows from the first pass.
bool OrderBuilder::tells_letters(int earlier, int pass) {
    constexpr int32_t OPEN = -1;
    if (!is_forward(rules_, earlier)) return false;
    std::fill_n(first_counts_.get(), counts_[0], OPEN);
    const PassRows letters = rows_of(0), before = rows_of(earlier), own = rows_of(pass);
    for (uint32_t row = 0; row < maps_.unknown; ++row) {
        if (used_[row] == 0) continue;
        const auto count = static_cast<int32_t>(before.count(row));
        if (own.first(row) != 0) {
            if (count == 0 && letters.first(row) != 0) return false;
        } else if (!letters.is_single(row)) {
            if (count != 0) return false;
        } else {
            int32_t &of_weight = first_counts_[letters.first(row)];
            if (of_weight != OPEN && of_weight != count) return false;
            of_weight = count;
        }
    }
    for (uint32_t weight = 0; weight < counts_[0]; ++weight)
        if (first_counts_[weight] > 0) hidden_[weight] |= HIDDEN_AND_TOLD;
    return true;
}

// Notes which letters can stand in one place, and the weights behind which two texts may be at different places of the passes
// before.
void OrderBuilder::collect_members(int pass) {
    int tellers[MOST_TELLERS], teller_count = 0;
    for (int earlier = pass - 1; earlier > 0 && teller_count < MOST_TELLERS; --earlier)
        if (tells_letters(earlier, pass)) tellers[teller_count++] = earlier;
    member_count_ = 0;
    uint32_t *const ends = letter_ends_.get(); // of each letter's members; those of ANY_GROUP are the last
    std::fill_n(ends, WEIGHTS + 1, 0);
    GroupMember *const found = members_.get(), *const sorted = found + maps_.unknown;
    const PassRows letters = rows_of(0), own = rows_of(pass);
    PassRows before[MOST_TELLERS] = {};
    for (int i = 0; i < teller_count; ++i) before[i] = rows_of(tellers[i]);
    for_each_row([&](uint32_t row) {
        const uint32_t first = own.first(row);
        if (first == 0) return;
        WeightFacts &fact = facts_[first];
        const bool by_code = fact.special != 0 && !is_ranked(pass, first); // ranks can be equal
        const bool by_character = by_code && own.is_single(row) && used_[row] < OF_ELEMENT;
        bool uncertain = !by_character && fact.special != 0;
        const uint32_t letter = letters.first(row);
        if (letters.is_single(row))
            uncertain = uncertain || (hidden_[letter] & HIDDEN_AND_TOLD) != 0;
        else
            visit_weights(row, 0, [&](uint32_t weight) { uncertain = uncertain || (hidden_[weight] & HIDDEN_AND_TOLD) != 0; });
        uint32_t lengths = 0;
        uint64_t group = letter;
        const auto add_length = [&](uint32_t length) {
            uncertain = uncertain || length > MOST_LENGTH;
            lengths = lengths << 8 | length;
        };
        for (int i = 0; i < teller_count; ++i) {
            add_length(before[i].count(row));
            group = group << 14 | before[i].first(row);
        }
        add_length(count_shown(row));
        ++lengths;
        uncertain = uncertain || (!by_character && fact.lengths != 0 && fact.lengths != lengths);
        if (uncertain || own.count(row) > 1) fact.breaks = 1;
        fact.lengths = lengths;
        if (letter == 0) return;
        const bool any = hidden_[letter] != 0;
        found[member_count_++] = {any ? ANY_GROUP : group, first};
        ++ends[any ? WEIGHTS : letter];
    });
    const auto letter_of = [&](uint64_t group) { return std::min<uint64_t>(group >> (14 * teller_count), WEIGHTS); };
    for (uint32_t letter = 0, end = 0; letter <= WEIGHTS; ++letter) ends[letter] = std::exchange(end, end + ends[letter]);
    for (uint32_t i = 0; i < member_count_; ++i) sorted[ends[letter_of(found[i].group)]++] = found[i];
    for (uint32_t letter = 0, begin = 0; letter <= WEIGHTS; begin = ends[letter++])
        if (ends[letter] - begin > 1) std::sort(sorted + begin, sorted + ends[letter]);
    member_count_ = static_cast<uint32_t>(std::unique_copy(sorted, sorted + member_count_, found) - found);
}

// Whether the letters of a pass follow from the passes before but for rare ones: then the least of those that can stand in a place
// is a common weight, and the others are told by their place among them. docs/keys.md has the proof.
bool OrderBuilder::find_implied(int pass) {
    uint32_t least_letter = WEIGHTS, most_other = 0, letters = 0;
    for (uint32_t weight = 2; weight < count_; ++weight) {
        if (facts_[weight].lettered != 0) least_letter = std::min(least_letter, weight);
        letters += facts_[weight].lettered;
        if (facts_[weight].unlettered != 0) most_other = weight;
    }
    if (!is_forward(rules_, pass) || !is_forward(rules_, 0) || most_other >= least_letter) return false;
    if (letters < LEAST_LETTERS) return false;
    find_hidden(pass);
    collect_members(pass);
    Owned<uint16_t> groups = Owned<uint16_t>::allocate(2 * WEIGHTS); // of each weight, and those that it is the least of
    if (!memory_ || !groups) return memory_ = false;
    memset(groups.get(), 0, 2 * WEIGHTS * sizeof(uint16_t));
    uint16_t *const least_of = groups.get() + WEIGHTS;
    const auto for_each_group = [this](auto visit) {
        for (uint32_t i = 0, end; i < member_count_; i = end) {
            for (end = i; end < member_count_ && members_[end].group == members_[i].group;) ++end;
            visit(members_[i].group, &members_[i], end - i);
        }
    };
    uint32_t limit = WEIGHTS; // from here on a weight can stand beside any
    for_each_group([&](uint64_t group, const GroupMember *members, uint32_t count) {
        if (group == ANY_GROUP) limit = members[0].weight;
        ++least_of[members[0].weight];
        for (uint32_t i = 0; i < count; ++i) ++groups[members[i].weight];
    });
    const auto is_common = [&](uint32_t weight) {
        const WeightFacts &fact = facts_[weight];
        return fact.lettered != 0 && weight < limit && fact.special == 0 && fact.breaks == 0 && groups[weight] == least_of[weight];
    };
    uint32_t rows = 0;
    for (uint32_t weight = 2; weight < count_; ++weight) rows += is_common(weight) ? facts_[weight].rows : 0;
    if (rows <= facts_[most_frequent()].rows) return false;
    for (uint32_t weight = 2; weight < count_; ++weight) {
        facts_[weight].common = is_common(weight) ? 1 : 0;
        facts_[weight].below = facts_[weight].unlettered;
    }
    most_relative_ = 0;
    for_each_group([&](uint64_t group, const GroupMember *members, uint32_t count) {
        uint16_t place = 0;
        for (uint32_t i = 0; i < count && place < MOST_RELATIVE && group != ANY_GROUP; ++i) {
            WeightFacts &fact = facts_[members[i].weight];
            if (groups[members[i].weight] > 1 || members[i].weight >= limit || fact.special != 0) break;
            if (fact.common == 0) fact.relative = ++place;
        }
        most_relative_ = std::max<uint32_t>(most_relative_, place);
    });
    return true;
}

// Whether the number of some weights of a pass follows from what the rows have in two passes before, each weight of which stands
// for some number of them. `chosen` tells the weights, which are in facts_.
template <class Chosen> bool OrderBuilder::count_follows(int pass, int earlier, Chosen is_chosen) {
    constexpr uint32_t OPEN = UINT32_MAX / 2 + 1;
    std::fill_n(first_counts_.get(), counts_[0], 0);
    std::fill_n(further_counts_.get(), counts_[earlier], OPEN);
    const auto chosen_of = [&](uint32_t row) {
        int32_t count = 0;
        visit_weights(row, pass, [&](uint32_t weight) { count += is_chosen(facts_[weight]) ? 1 : 0; });
        return count;
    };
    const PassRows letters = rows_of(0), before = rows_of(earlier), own = rows_of(pass);
    const auto said_alone = [&](uint32_t row) { // in the first pass, and in none of the others before
        for (int other = 1; other < pass; ++other)
            if (rules_.weights[other][row] != WEIGHT_IGNORED) return false;
        return letters.is_single(row);
    };
    if (earlier > 0)
        for_each_row([&](uint32_t row) {
            if (said_alone(row)) first_counts_[letters.first(row)] = chosen_of(row);
        });
    // A row with an open weight settles it: first those that have one, then two, then the others. The rest must be right, and so
    // must be those that have an open one twice.
    const auto settle = [&](uint32_t row) {
        auto left = static_cast<uint32_t>(chosen_of(row)), *open = static_cast<uint32_t *>(nullptr);
        if (earlier > 0) visit_weights(row, 0, [&](uint32_t weight) { left -= static_cast<uint32_t>(first_counts_[weight]); });
        visit_weights(row, earlier, [&](uint32_t weight) {
            uint32_t &count = further_counts_[weight];
            if (count == OPEN) {
                count = 0;
                open = &count;
            }
            left -= count;
        });
        if (open == nullptr) return left == 0;
        *open = left;
        return left != OPEN;
    };
    const auto settle_singles = [&](uint32_t row) { // nearly all are such
        uint32_t left = is_chosen(facts_[own.first(row)]) ? 1 : 0, &count = further_counts_[before.first(row)];
        if (earlier > 0) left -= static_cast<uint32_t>(first_counts_[letters.first(row)]);
        if (count == OPEN) count = left;
        return count == left;
    };
    uint32_t longer_count = 0;
    for (uint32_t row = 0; row < maps_.unknown; ++row) {
        if (used_[row] == 0) continue;
        if (before.count(row) > 1)
            longer_[longer_count++] = static_cast<uint16_t>(row);
        else if (!(own.is_single(row) && before.is_single(row) && letters.is_single(row) ? settle_singles(row) : settle(row)))
            return false;
    }
    for (const bool of_two : {true, false})
        for (uint32_t i = 0; i < longer_count; ++i)
            if ((before.count(longer_[i]) == 2) == of_two && !settle(longer_[i])) return false;
    return std::all_of(longer_.get(), longer_.get() + longer_count, settle);
}

// Whether texts that are equal in the passes before can differ in the number of some weights at the end alone. They cannot where
// both that number and that of all weights follows from the passes before.
template <class Chosen> bool OrderBuilder::end_says_something(int pass, Chosen is_chosen) {
    bool all_follow = false, chosen_follow = false;
    for (int earlier = 0; earlier < pass && !(all_follow && chosen_follow); ++earlier) {
        all_follow = all_follow || count_follows(pass, earlier, [](const WeightFacts &) { return true; });
        chosen_follow = chosen_follow || count_follows(pass, earlier, is_chosen);
    }
    return !all_follow || !chosen_follow;
}

// The same of the common weights. Where nothing is less than those, the number of any weights that they are among is enough.
bool OrderBuilder::ends_are_told(int pass) {
    const auto all = [](const WeightFacts &) { return true; };
    const auto lettered = [](const WeightFacts &fact) { return fact.unlettered == 0; };
    const auto common = [](const WeightFacts &fact) { return fact.common != 0; };
    for (uint32_t weight = 2; weight < count_; ++weight)
        if (facts_[weight].used != 0 && facts_[weight].below != 0) return end_says_something(pass, common);
    for (int earlier = 0; earlier < pass; ++earlier)
        if (count_follows(pass, earlier, all) || count_follows(pass, earlier, common)) return false;
    if (facts_[most_frequent()].unlettered != 0) return true;
    for (int earlier = 0; earlier < pass; ++earlier)
        if (count_follows(pass, earlier, lettered)) return false;
    return true;
}

template <class Member>
void OrderBuilder::write(int pass, OrderToken *tokens, const Bytes &bytes, uint32_t first, Member is_member) {
    bytes.lay_out(
        is_member,
        [&](uint32_t weight, uint32_t place, CodeForm form) {
            const WeightFacts &fact = facts_[weight];
            const uint32_t at = (first << 8) + place;
            OrderToken &token = tokens[weight];
            token.flags = static_cast<uint8_t>((fact.common != 0 ? TOKEN_COMMON : 0) | (fact.below != 0 ? TOKEN_BELOW : 0) |
                                               (fact.breaks != 0 ? TOKEN_BREAKS : 0));
            token.length = fact.special != 0 ? 0 : form == CodeForm::LEADS ? 1 : 2;
            uint32_t said = at;
            if (fact.special != 0) {
                const uint32_t number = parts_.specials.size() - parts_.specials_at[pass];
                said = number << 8 | number >> 8;
                const uint32_t least = ranges_[weight].least;
                const bool listed = form == CodeForm::LISTED;
                memory_ = memory_ && parts_.specials.append({listed ? parts_.code_runs.size() : least, static_cast<uint16_t>(at),
                                                             form, is_ranked(pass, weight), listed ? fact.runs : 0});
                lists_[weight] = {listed ? parts_.code_runs.size() : UINT32_MAX, 0};
                for (uint32_t left = listed ? fact.runs : 0; memory_ && left > 0; --left) memory_ = parts_.code_runs.append({0, 0});
            }
            token.bytes[0] = static_cast<uint8_t>(said >> 8);
            token.bytes[1] = static_cast<uint8_t>(said);
        },
        [&](uint32_t character, uint32_t place) { parts_.ascii[pass][character] = static_cast<uint8_t>(first + place); });
    for (uint32_t i = 0; memory_ && i < row_runs_.size(); ++i) {
        const RowRun &run = row_runs_[i];
        const uint16_t said = code(run.row, pass);
        const uint32_t weight = said & WEIGHT_VALUE;
        if (!is_special(said) || !is_member(facts_[weight]) || lists_[weight].first == UINT32_MAX) continue;
        CodeRun &next = lists_[weight];
        parts_.code_runs[next.first++] = {run.first, next.place};
        next.place += run.last - run.first + 1;
    }
}

// The weight of a further pass that should be said with the run before it, or 0: the only one above the common one, or the last one
// of a character that has such.
uint32_t OrderBuilder::greater_weight(int pass) const {
    uint32_t above = 0, only = 0;
    for (uint32_t weight = 2; weight < count_; ++weight) {
        const WeightFacts &fact = facts_[weight];
        if (fact.used == 0 || fact.below != 0 || fact.common != 0) continue;
        ++above;
        only = weight;
    }
    if (above == 1) return only;
    for (const gl_wchar scalar : MARKED) {
        if (scalar >= ASCII && !utf8_) continue;
        uint32_t last = 0;
        const gl_wchar wc = utf8_character(scalar);
        for_each_weight(maps_, pass, code_of_single(wc, pass), wc,
                        [&last](uint16_t code, gl_wchar) { last = is_ordinary(code) ? code : 0; });
        if (last != 0 && facts_[last].below == 0 && facts_[last].common == 0) return last;
    }
    return 0;
}

// Room for the tokens of a pass. Null when memory is out.
OrderToken *OrderBuilder::add_tokens(uint32_t &at) {
    at = parts_.tokens.size();
    static constexpr OrderToken NONE[64] = {};
    for (uint32_t left = count_; memory_ && left > 0; left -= std::min<uint32_t>(left, std::size(NONE)))
        memory_ = parts_.tokens.append(NONE, std::min<uint32_t>(left, std::size(NONE)));
    return memory_ ? &parts_.tokens[at] : nullptr;
}

constexpr auto ALL = [](const WeightFacts &) { return true; };

// As many blocks of letters as there is room for have one byte each.
void OrderBuilder::write_first() {
    collect_blocks();
    Bytes bytes = bytes_of(0);
    bytes.preferred = ONE_BYTE_BLOCK;
    while (bytes.most_codes > SLOTS && bytes.leads(ALL) > FIRST_PASS_BYTES) bytes.most_codes /= 2;
    for (uint8_t block = ONE_BYTE_BLOCK; block <= BLOCK_COUNT; ++block) {
        bytes.preferred = block;
        if (bytes.leads(ALL) <= FIRST_PASS_BYTES) continue;
        for (uint32_t weight = 0; weight < count_; ++weight) // not this one
            if (facts_[weight].preferred == block) facts_[weight].preferred = 0;
    }
    Bytes singles = bytes;
    singles.plain_singles = WEIGHTS;
    if (singles.leads(ALL) <= FIRST_PASS_BYTES) bytes = singles;
    for (bytes.most_listed = MOST_LISTED; bytes.most_listed > 0 && bytes.leads(ALL) > FIRST_PASS_BYTES;) bytes.most_listed /= 2;
    OrderToken *const tokens = add_tokens(parts_.tokens_at[0]);
    if (tokens != nullptr) write(0, tokens, bytes, FIRST_WEIGHT_BYTE, ALL);
    parts_.open_at[0] = parts_.tokens_at[0];
}

// The bytes of a further pass, from the least on: the weights below the common ones; runs before such; runs before others; places
// in groups; the weights above.
void OrderBuilder::write_further(int pass) {
    OrderPass &made = parts_.passes[pass];
    const bool implied = find_implied(pass);
    if (!memory_) return;
    if (!implied) {
        const uint32_t common = most_frequent();
        for (uint32_t weight = 0; weight < count_; ++weight) {
            facts_[weight].below = weight < common ? 1 : 0;
            facts_[weight].common = weight == common && common != 0 ? 1 : 0;
            facts_[weight].breaks = facts_[weight].relative = 0;
        }
        most_relative_ = 0;
    }
    made.ends_told = implied || ends_are_told(pass);
    const auto is_below = [](const WeightFacts &fact) { return fact.below != 0; };
    const auto is_above = [implied](const WeightFacts &fact) { return fact.below == 0 && (implied || fact.common == 0); };
    Bytes below = bytes_of(pass), above = bytes_of(pass);
    const auto leads = [&] { return below.leads(is_below) + above.leads(is_above); };
    while (below.most_codes > SLOTS && leads() + run_places(MOST_RUN, false, 1) > FURTHER_PASS_BYTES)
        below.most_codes = above.most_codes = below.most_codes / 2;
    uint32_t least = leads();
    uint32_t run = MOST_RUN;
    while (run > 2 && least + run_places(run, false, 1) > FURTHER_PASS_BYTES) run /= 2;
    least += run_places(run, false, 1);
    const auto raise = [&least](uint32_t before, uint32_t after) { // takes the better form where there is room for it
        if (least - before + after > FURTHER_PASS_BYTES) return false;
        least = least - before + after;
        return true;
    };
    bool lesser = false;     // what a space has can be said with a run before it,
    made.greater_places = 1; // and so can another weight, which leaves more than one place
    const auto combine = [&](auto &combined, auto value, Bytes &region, const Bytes &better, auto is_member) {
        const uint32_t before = region.leads(is_member) + run_places(run, lesser, made.greater_places), longest = run;
        const auto old = std::exchange(combined, value);
        run = std::min(run, COMBINED_RUN);
        if (raise(before, better.leads(is_member) + run_places(run, lesser, made.greater_places))) {
            region = better;
            return true;
        }
        combined = old;
        run = longest;
        return false;
    };
    const auto rank_of = [&](uint32_t weight, auto is_member) {
        uint32_t rank = 0;
        for (uint32_t each = 2; each <= weight; ++each)
            rank += facts_[each].used != 0 && facts_[each].special == 0 && is_member(facts_[each]) ? 1 : 0;
        return rank;
    };
    const uint16_t space = code_of_single(SPACE, pass);
    const uint32_t raised = implied ? 0 : greater_weight(pass); // the weight that is said with a run, or the first place in groups
    bool first_place = false;
    const WeightFacts &of_space = facts_[space & WEIGHT_VALUE];
    const bool alone =
        is_ordinary(space) || (is_special(space) && ascii_weights_[pass][SPACE] != 0 && of_space.without_singles == 0);
    if (alone && of_space.below != 0 && of_space.breaks == 0) {
        Bytes better = below;
        if (is_special(space)) {
            better.ascii_singles = true;
            better.counted_character = SPACE;
        } else {
            better.plain_singles = rank_of(space, is_below);
            better.counted_weight = space;
        }
        combine(lesser, true, below, better, is_below);
    }
    made.lesser_told =
        !lesser || !is_ordinary(space) || end_says_something(pass, [&](const WeightFacts &fact) { return &fact == &of_space; });
    if (implied && most_relative_ > 0) {
        ++least; // for the place
        first_place = combine(made.greater_places, uint8_t{COMBINED_PLACES - 1}, above, above, is_above);
        if (!first_place) --least;
    } else if (raised != 0 && facts_[raised].special == 0) {
        Bytes better = above;
        better.plain_singles = rank_of(raised, is_above);
        const auto places = static_cast<uint8_t>(better.plain_singles > 1 ? COMBINED_PLACES : COMBINED_PLACES - 1);
        combine(made.greater_places, places, above, better, is_above);
    }
    if (!below.ascii_singles) {
        const uint32_t plain_below = below.leads(is_below);
        below.ascii_singles = true;
        if (!raise(plain_below, below.leads(is_below))) below.ascii_singles = false;
    }
    for (below.most_listed = MOST_LISTED; below.most_listed > 0; below.most_listed /= 2) {
        Bytes plain = below;
        plain.most_listed = 0;
        if (raise(plain.leads(is_below), below.leads(is_below))) break;
    }
    if (first_place) --least;
    most_relative_ = std::min(most_relative_, FURTHER_PASS_BYTES - least);
    least += most_relative_;
    for (Bytes *const region : {&below, &above}) {
        uint32_t count = 0;
        bool special = false;
        for (uint32_t weight = 2; weight < count_; ++weight) {
            const WeightFacts &fact = facts_[weight];
            if (fact.used == 0 || !(region == &below ? is_below(fact) : is_above(fact))) continue;
            ++count;
            special = special || fact.special != 0;
        }
        if (special || implied) continue;
        const uint32_t now = region == &below ? below.leads(is_below) : above.leads(is_above);
        const uint32_t runs = region->counted_weight != 0 ? LESSER_PLACES - 1 : 0, room = FURTHER_PASS_BYTES - least + now - runs;
        uint32_t singles = std::min(count, room);
        while (singles > 0 && singles + (count - singles + SLOTS - 1) / SLOTS > room) --singles;
        region->plain_singles = singles;
        least += singles + (count - singles + SLOTS - 1) / SLOTS + runs - now;
    }
    OrderToken *const open = add_tokens(parts_.open_at[pass]);
    if (open == nullptr) return;
    uint32_t at = FIRST_WEIGHT_BYTE;
    write(pass, open, below, at, is_below);
    at += below.leads(is_below);
    made.low = static_cast<uint8_t>(at);
    at += run_places(run, lesser, made.greater_places);
    made.high = static_cast<uint8_t>(at - 1);
    made.run_most = static_cast<uint8_t>(run - 1);
    const uint32_t relative = at;
    at += most_relative_;
    write(pass, open, above, at, is_above);
    for (gl_wchar character = 0; character < ASCII; ++character)
        if (parts_.ascii[pass][character] != 0 && facts_[ascii_weights_[pass][character]].breaks != 0) made.ascii_breaks = true;
    if (lesser) made.lesser = is_special(space) ? parts_.ascii[pass][SPACE] : open[space].bytes[0];
    if (made.greater_places > 1) made.greater = static_cast<uint8_t>(first_place ? relative : open[raised].bytes[0]);
    parts_.tokens_at[pass] = parts_.open_at[pass];
    for (uint32_t weight = 2; weight < count_ && !implied; ++weight)
        if (facts_[weight].common != 0) open[weight].flags |= TOKEN_COMMON;
    if (!implied || add_tokens(parts_.tokens_at[pass]) == nullptr) return;
    for (uint32_t weight = 2; weight < parts_.tokens.size() - parts_.tokens_at[pass]; ++weight) {
        OrderToken &token = parts_.tokens[parts_.tokens_at[pass] + weight], &plain = parts_.tokens[parts_.open_at[pass] + weight];
        token = plain;
        plain.flags = static_cast<uint8_t>(plain.flags & TOKEN_BELOW);
        if (facts_[weight].relative == 0 || facts_[weight].relative > most_relative_) continue;
        token.bytes[0] = static_cast<uint8_t>(relative + facts_[weight].relative - 1U);
        token.length = 1;
    }
}

bool OrderBuilder::make() {
    const auto passes = static_cast<uint32_t>(rules_.pass_count);
    const auto nodes = static_cast<uint32_t>(rules_.character_table->node_count);
    used_ = Owned<uint8_t>::allocate(maps_.unknown);
    seen_ = Owned<uint8_t>::allocate(nodes + 1);
    same_rows_ = Owned<uint32_t>::allocate(nodes + 1);
    row_ranges_ = Owned<Range>::allocate(maps_.unknown);
    expansions_ = Owned<ExpansionFacts>::allocate(passes * maps_.expansion_count + 1);
    ranges_ = Owned<Range>::allocate(WEIGHTS);
    facts_ = Owned<WeightFacts>::allocate(WEIGHTS);
    lists_ = Owned<CodeRun>::allocate(WEIGHTS);
    hidden_ = Owned<uint8_t>::allocate(WEIGHTS);
    first_counts_ = Owned<int32_t>::allocate(WEIGHTS);
    further_counts_ = Owned<uint32_t>::allocate(WEIGHTS);
    longer_ = Owned<uint16_t>::allocate(maps_.unknown);
    members_ = Owned<GroupMember>::allocate(2 * maps_.unknown);
    letter_ends_ = Owned<uint32_t>::allocate(WEIGHTS + 1);
    if (!used_ || !seen_ || !same_rows_ || !lists_ || !row_ranges_ || !expansions_ || !ranges_ || !facts_ || !hidden_ ||
        !first_counts_ || !further_counts_ || !longer_ || !members_ || !letter_ends_)
        return false;
    memset(seen_.get(), 0, nodes);
    memset(same_rows_.get(), 0, (nodes + 1) * sizeof(uint32_t));
    std::fill_n(row_ranges_.get(), maps_.unknown, Range());
    if (maps_.ranks.row_count > 0) {
        ranked_ = Owned<uint8_t>::allocate(passes * WEIGHTS);
        if (!ranked_) return false;
        memset(ranked_.get(), 0, passes * WEIGHTS);
        find_ranked();
    }
    utf8_ = parts_.utf8 = is_utf8();
    scan_rules();
    for (int pass = 0; pass < rules_.pass_count; ++pass) {
        collect_facts(pass);
        pass == 0 ? write_first() : write_further(pass);
        if (!memory_) return false;
        parts_.token_counts[pass] = count_;
        parts_.specials_at[pass + 1] = parts_.specials.size();
    }
    return true;
}

} // namespace

bool make_order_parts(const gl_collate_info &rules, OrderParts &parts) { return OrderBuilder(rules, parts).make(); }

} // namespace qbgl
