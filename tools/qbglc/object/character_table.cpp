#include "object/character_table.h"

#include "object/numbers.h"
#include "system/error.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <map>
#include <span>
#include <tuple>

namespace qbgl::compiler {

namespace {

constexpr int COMPACT = 11, COMPACT_WITH_REPEATS = 15; // flags of the text form
constexpr unsigned ENDS = 4, CONTINUES = 1;
constexpr size_t REPEAT_FROM = 4; // from here on, a run with a repeat count is shorter

// An array of 256 flags, of which zeros are left out.
std::string flags_text(const std::array<uint8_t, 256> &values) {
    std::string text;
    const auto equal_from = [&](size_t start) {
        size_t end = start + 1;
        while (end < values.size() && values[end] == values[start]) ++end;
        return end - start;
    };
    for (size_t i = 0; i < values.size();) {
        const size_t repeat = equal_from(i);
        if (values[i] == 0) {
            i += repeat;
            continue;
        }
        size_t literal = 1;
        if (repeat < REPEAT_FROM)
            while (i + literal < values.size() && values[i + literal] != 0 && equal_from(i + literal) < REPEAT_FROM) ++literal;
        const size_t copies = repeat < REPEAT_FROM ? 1 : repeat;
        text += fmt::format("{:02x}{:03x}{:03x}", i, literal, copies);
        for (size_t k = 0; k < literal; ++k) text += fmt::format("{:02x}", values[i + k]);
        text += '\n';
        i += literal * copies;
    }
    return text + "0000000\n";
}

using Values = std::array<uint16_t, 256>;

// Numbers arrays in the order in which they come, and keeps their texts.
template <class Array> class Numbering {
  public:
    template <class Write> size_t number_of(const Array &array, Write write) {
        const auto [place, is_new] = numbers_.emplace(array, numbers_.size());
        if (is_new) write(all_);
        return place->second;
    }
    size_t size() const { return numbers_.size(); }
    const std::string &all() const { return all_; }

  private:
    std::map<Array, size_t> numbers_;
    std::string all_;
};

} // namespace

// Finds the nodes of a table from the leaves up, and writes them from the root down.
class CharacterTableText {
  public:
    using Item = CharacterTable::Item;

    explicit CharacterTableText(const CharacterTable &table) : items_(table.items_), default_(table.default_) {}

    std::string write() {
        size_t shortest = Sequence::MAX, longest = 0;
        for (const Item &item : items_) {
            shortest = std::min<size_t>(shortest, item.length);
            longest = std::max<size_t>(longest, item.length);
        }
        single_byte_ = shortest == 1 && longest == 1;
        write_node(node_of(items_, 1));
        return fmt::format("{} {} {} {:04x}\n{} {}\n{}{}{}\n", longest, shortest, repeats_ ? COMPACT_WITH_REPEATS : COMPACT,
                           default_, flags_.size(), values_.size(), flags_.all(), values_.all(), nodes_text_);
    }

  private:
    // The bytes from `first` to `last`: ends of characters with a value, or one byte with which others continue.
    struct Part {
        uint8_t first, last;
        bool continues;
        uint32_t target; // the value, or the node
        bool operator<(const Part &other) const {
            return std::tie(first, last, continues, target) < std::tie(other.first, other.last, other.continues, other.target);
        }
    };
    using Node = std::vector<Part>;

    static uint8_t byte_of(const Item &item, size_t depth) { return static_cast<uint8_t>(item.key >> 8 * (Sequence::MAX - depth)); }

    // The number of the node of these items, which agree in the bytes before `depth`.
    size_t node_of(std::span<const Item> items, size_t depth) {
        Node node;
        for (size_t i = 0, end; i < items.size(); i = end) {
            const uint8_t byte = byte_of(items[i], depth);
            end = i + 1;
            if (items[i].length == depth) {
                if (!node.empty() && node.back().last >= byte) refuse(items[i]);
                const bool joins =
                    !node.empty() && !node.back().continues && node.back().target == items[i].value && node.back().last + 1 == byte;
                if (joins)
                    node.back().last = items[i].last_byte;
                else
                    node.push_back({byte, items[i].last_byte, false, items[i].value});
                continue;
            }
            while (end < items.size() && byte_of(items[end], depth) == byte && items[end].length > depth) ++end;
            if (!node.empty() && node.back().last >= byte) refuse(items[i]);
            const size_t child = node_of(items.subspan(i, end - i), depth + 1);
            node.push_back({byte, byte, true, static_cast<uint32_t>(child)});
        }
        const auto [place, is_new] = numbers_[depth].emplace(std::move(node), nodes_.size());
        if (is_new) nodes_.push_back(&place->first);
        return place->second;
    }
    [[noreturn]] static void refuse(const Item &item) {
        const uint32_t value = item.key >> 8 * (Sequence::MAX - item.length);
        throw DataError(fmt::format("{}: a character that begins another one, or that another one begins",
                                    Sequence::big_endian(value, item.length).hex()));
    }

    void write_node(size_t number) {
        const auto [written, is_new] = lines_.emplace(number, lines_.size());
        if (!is_new) {
            put_number(nodes_text_, 0);
            put_number(nodes_text_, static_cast<uint32_t>(written->second));
            repeats_ = true;
            return;
        }
        const Node &node = *nodes_[number];
        std::array<uint8_t, 256> flags;
        flags.fill(single_byte_ ? ENDS : 0); // every byte is a character of a single-byte codeset
        Values values;
        values.fill(default_);
        for (const Part &part : node)
            for (size_t byte = part.first; byte <= part.last; ++byte) {
                flags[byte] = part.continues ? CONTINUES : ENDS;
                if (!part.continues) values[byte] = static_cast<uint16_t>(part.target);
            }
        const bool has_values = std::any_of(values.begin(), values.end(), [this](uint16_t value) { return value != default_; });
        const size_t flag_array = flags_.number_of(flags, [&flags](std::string &text) { text += flags_text(flags); });
        put_number(nodes_text_, static_cast<uint32_t>(flag_array + 1));
        if (has_values)
            put_value_array(values);
        else
            put_number(nodes_text_, 0);
        for (const Part &part : node)
            if (part.continues) write_node(part.target);
    }

    // Names the array of a node's values: mostly the one behind that which was named last.
    void put_value_array(const Values &values) {
        const auto number = static_cast<uint32_t>(values_.number_of(values, [&](std::string &text) {
            const auto has_value = [this](uint16_t value) { return value != default_; };
            const auto first = std::find_if(values.begin(), values.end(), has_value);
            const auto end = std::find_if(values.rbegin(), values.rend(), has_value).base();
            put_number(text, static_cast<uint32_t>(first - values.begin()));
            put_number(text, static_cast<uint32_t>(end - first));
            runs_.put(text, {first, end});
            text += '\n';
        }));
        put_number(nodes_text_, 1 + coded(static_cast<int32_t>(number - next_values_)));
        next_values_ = number + 1;
    }

    std::span<const Item> items_;
    const uint16_t default_;
    std::map<Node, size_t> numbers_[Sequence::MAX + 1]; // by depth
    std::vector<const Node *> nodes_;
    std::map<size_t, size_t> lines_; // of the nodes that are written
    Numbering<std::array<uint8_t, 256>> flags_;
    Numbering<Values> values_;
    RunWriter runs_;
    uint32_t next_values_ = 0;
    std::string nodes_text_;
    bool repeats_ = false, single_byte_ = false;
};

void CharacterTable::insert(const Sequence &character, uint16_t value) {
    const size_t unused = 8 * (Sequence::MAX - character.length);
    const uint8_t last_byte = character.bytes[character.length - 1u];
    const uint32_t key = character.value() << unused;
    if (!items_.empty()) {
        Item &last = items_.back();
        const bool is_neighbour = last.length == character.length && (last.key ^ key) >> unused <= UINT8_MAX;
        if (is_neighbour && last.value == value && last.last_byte + 1 == last_byte) {
            ++last.last_byte;
            return;
        }
    }
    items_.push_back({key, character.length, last_byte, value});
}

std::string CharacterTable::text() {
    const auto less = [](const Item &a, const Item &b) { return a.key < b.key || (a.key == b.key && a.length < b.length); };
    if (!std::is_sorted(items_.begin(), items_.end(), less)) std::sort(items_.begin(), items_.end(), less);
    return CharacterTableText(*this).write();
}

} // namespace qbgl::compiler
