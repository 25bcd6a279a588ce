#include "coll/maps.h"

#include "ext/error.h"
#include "multi/character_table.h"
#include "multi/walk.h"
#include "util/growing.h"

#include <utility>

namespace qbgl {

namespace {

constexpr uint32_t MOST_ROWS = 0xFFFF;
constexpr uint32_t MOST_STARTS = WEIGHT_VALUE; // one less than there are numbers: the last one is CODE_UNKNOWN
constexpr uint32_t MIDS = 1024, ROWS = 64;
constexpr uint32_t MOST_ITEMS = 15; // characters of an expansion

// The row of a character in the tables, or -1.
int32_t row_in(const gl_multi &table, gl_wchar wc) {
    const void *entry = _gl_retrieve_wchar_multi_nl(nullptr, wc, &table);
    return entry != nullptr ? value_at(entry) : -1;
}

// The expansions with the rows of their characters.
class Expansions {
  public:
    Expansions(const gl_collate_info &info, const gl_ranks &ranks) : info_(info), ranks_(ranks) {}

    // False when memory is out.
    bool find_rows() {
        if (info_.expansion_count == 0) return true;
        const gl_expansion &last = info_.expansions[info_.expansion_count - 1];
        count_ = static_cast<uint32_t>(last.chars + last.count - info_.expansions[0].chars); // they stand in one block
        rows_ = Owned<int32_t>::allocate(count_);
        for (uint32_t i = 0; rows_ && i < count_; ++i) rows_[i] = row_in(*info_.character_table, info_.expansions[0].chars[i]);
        return static_cast<bool>(rows_);
    }

    // Visits the weights of an expansion's characters in the order of the pass, and what tells special ones apart, until one ends
    // it: a character without a row, or another expansion. Returns that one's index, or -1.
    template <class Visit> int32_t walk(int pass, int32_t expansion, Visit visit) const {
        const gl_expansion &characters = info_.expansions[expansion];
        const int32_t *const rows = rows_.get() + (characters.chars - info_.expansions[0].chars);
        for (int32_t i = 0; i < characters.count; ++i) {
            const int32_t at = is_forward(info_, pass) ? i : characters.count - 1 - i, row = rows[at];
            const uint16_t weight = row < 0 ? CODE_UNKNOWN : info_.weights[pass][row];
            const gl_wchar wc = characters.chars[at];
            visit(weight, row < 0 ? wc : told_by(ranks_, static_cast<uint32_t>(row), wc), row < 0);
            if (row < 0) return -1;
            if (is_expansion(weight)) return weight & WEIGHT_VALUE;
        }
        return -1;
    }

    // Whether a character of any expansion stands for an expansion in a pass.
    bool meet_others(int pass) const {
        const uint16_t *const weights = info_.weights[pass];
        return std::any_of(rows_.get(), rows_.get() + count_,
                           [weights](int32_t row) { return row >= 0 && is_expansion(weights[row]); });
    }

  private:
    const gl_collate_info &info_;
    const gl_ranks ranks_;
    Owned<int32_t> rows_; // of all characters; -1 for none
    uint32_t count_ = 0;
};

class MapsBuilder {
  public:
    MapsBuilder(const gl_collate_info &info, const gl_ranks &ranks)
        : info_(info), ranks_(ranks), table_(*info.character_table), expansions_(info, ranks),
          unknown_(static_cast<uint32_t>(info.row_count) + 1) {}

    // False when memory is out, or for rules that the arrays cannot hold.
    bool collect() {
        used_ = Owned<uint8_t>::allocate(unknown_);
        const auto nodes = static_cast<uint32_t>(table_.node_count);
        seen_ = Owned<SeenNode>::allocate(nodes + 1);
        if (!used_ || !seen_ || !expansions_.find_rows()) return false;
        memset(used_.get(), 0, unknown_);
        std::fill_n(seen_.get(), nodes, SeenNode{});
        return add_mids() && add_rows() && collect_node(*table_.root, 0, 1) && collect_elements() && (weights_fit() || misfit()) &&
               collect_items() && (unknown_ + 1 + starts_.size() <= MOST_ROWS || misfit());
    }

    gl_collation_maps *assemble() const;

    bool fits() const { return fits_; }

  private:
    bool misfit() { return fits_ = false; }

    bool add_mids() {
        const uint16_t none[MIDS] = {};
        return mids_.append(none, MIDS);
    }
    bool add_rows() {
        uint16_t none[ROWS];
        std::fill_n(none, ROWS, static_cast<uint16_t>(unknown_));
        return rows_.append(none, ROWS);
    }

    // The place of the number of the block with the row of a character of at most three bytes. Null when memory is out.
    uint16_t *mid_of(gl_wchar wc) {
        uint16_t &top = tops_[wc >> 16];
        if (top == 0) {
            top = static_cast<uint16_t>(mids_.size() / MIDS);
            if (!add_mids()) return nullptr;
        }
        return &mids_[top * MIDS + (wc >> 6 & (MIDS - 1))];
    }
    // A block like another one, 0 for that without characters. The number is 0 where there is none.
    uint16_t add_block(uint32_t like) {
        const uint32_t number = rows_.size() / ROWS;
        if (number > UINT16_MAX) return misfit(), uint16_t{0};
        uint16_t rows[ROWS];
        memcpy(rows, &rows_[like * ROWS], sizeof rows);
        return rows_.append(rows, ROWS) ? static_cast<uint16_t>(number) : uint16_t{0};
    }
    // Sets the row of one character alone: the nodes' blocks may be those of other characters, too.
    bool put(gl_wchar wc, uint32_t row) {
        uint16_t *const mid = mid_of(wc);
        if (mid == nullptr) return false;
        if (*mid < node_blocks_) {
            const uint16_t block = add_block(*mid);
            if (block == 0) return false;
            *mid = block;
        }
        rows_[*mid * ROWS + (wc & (ROWS - 1))] = static_cast<uint16_t>(row);
        return true;
    }

    // `prefix` are the bytes that lead to the node. What ends in a node that stands for others is looked at once.
    bool collect_node(const MultiNode &node, gl_wchar prefix, int length) {
        SeenNode own;
        SeenNode &seen = table_.nodes != nullptr ? seen_[static_cast<uint32_t>(node.number)] : own;
        const bool wide = encoded_length(table_.min_length, prefix << 8) == length; // a wide character stands for what ends here
        const bool in_arrays = (prefix << 8 | 0xFF) <= LARGEST_IN_ARRAYS; // as they are where the node stands first: prefixes rise
        const bool is_new = wide && !std::exchange(seen.seen, true);
        if (!is_new && length == MAX_KEY && !in_arrays) return true;
        for (gl_wchar quarter = 0; wide && quarter < 4; ++quarter) {
            if (is_new && !collect_ends(node, quarter, in_arrays, seen.blocks[quarter])) return false;
            if (seen.blocks[quarter] == 0 || !in_arrays) continue;
            uint16_t *const mid = mid_of(prefix << 8 | quarter * ROWS);
            if (mid == nullptr) return false;
            *mid = seen.blocks[quarter];
        }
        for (int byte = 0; node.child_count > 0 && byte < 256; ++byte) {
            const auto at = static_cast<uint8_t>(byte);
            if (node.flags[at] == FLAG_CHILD && !collect_node(*child_of(node, at), prefix << 8 | at, length + 1)) return false;
        }
        return true;
    }
    // Makes a block of the characters that end in a quarter of a node; 0 for none, and for those that are not in the arrays.
    bool collect_ends(const MultiNode &node, uint32_t quarter, bool in_arrays, uint16_t &block) {
        const uint32_t first = quarter * ROWS;
        if (memchr(node.flags + first, FLAG_END, ROWS) == nullptr) return true;
        if (in_arrays && (block = add_block(0)) == 0) return false;
        uint16_t *const rows = block != 0 ? &rows_[block * ROWS] : nullptr;
        for (uint32_t i = 0; i < ROWS; ++i) {
            const auto at = static_cast<uint8_t>(first + i);
            if (node.flags[at] != FLAG_END) continue;
            const uint16_t row = value_at(entry_of(table_, node, at));
            used_[row] = 1;
            if (rows != nullptr) rows[i] = row;
        }
        return true;
    }

    // Numbers the characters that begin elements, and orders the elements by them.
    bool collect_elements() {
        const auto count = static_cast<uint32_t>(info_.element_count);
        candidates_ = Owned<uint16_t>::allocate(count + 1);
        seconds_ = Owned<gl_wchar>::allocate(count + 1);
        if (!candidates_ || !seconds_) return false;
        node_blocks_ = rows_.size() / ROWS;
        for (uint32_t i = 0; i < count; ++i) {
            // Texts of bytes find elements by what follows their first one. Rules without ranks may be those of bytes, whatever
            // keys their table has.
            if (ranks_.row_count == 0 && info_.elements[i].count == 1 && info_.elements[i].chars[0] <= UINT8_MAX) return misfit();
            candidates_[i] = static_cast<uint16_t>(i);
        }
        const auto first_of = [this](uint16_t element) { return info_.elements[element].chars[0]; };
        std::sort(candidates_.get(), candidates_.get() + count,
                  [&](uint16_t a, uint16_t b) { return first_of(a) != first_of(b) ? first_of(a) < first_of(b) : a < b; });
        for (uint32_t i = 0, end; i < count; i = end) {
            const gl_wchar first = first_of(candidates_[i]);
            for (end = i; end < count && first_of(candidates_[end]) == first; ++end) {
                const gl_collating_element &element = info_.elements[candidates_[end]];
                seconds_[end] = element.count > 1 ? element.chars[1] : 0;
                collect_element(element);
            }
            const int32_t row = row_in(table_, first);
            const uint32_t number = unknown_ + 1 + starts_.size();
            if (row < 0 || starts_.size() == MOST_STARTS || number > MOST_ROWS) return misfit();
            if (!starts_.append({first, static_cast<uint16_t>(row), i, end})) return false;
            if (first <= LARGEST_IN_ARRAYS && !put(first, number)) return false;
        }
        return true;
    }

    void collect_element(const gl_collating_element &element) {
        used_[element.row] = 1;
        for (int32_t i = 0; i < element.count; ++i) {
            const gl_wchar wc = element.chars[i];
            if (wc < 256) byte_parts_[wc] |= (i + 1 < element.count ? PART_CONTINUED : 0) | (i > 0 ? PART_FOLLOWING : 0);
            if (i + 1 == element.count) break;
            const PartBit bit(wc);
            parts_[bit.word] |= bit.mask;
        }
    }

    // Whether no weight that a text can have is 0 or a special 1, and none both special and ordinary.
    bool weights_fit() const {
        constexpr uint8_t ORDINARY = 1, SPECIAL = 2;
        for (int pass = 0; pass < info_.pass_count; ++pass) {
            uint8_t found[WEIGHT_VALUE + 1] = {};
            const uint16_t *const weights = info_.weights[pass];
            const uint8_t *const used = used_.get();
            for (uint32_t row = 0; row < unknown_; ++row) {
                const uint16_t weight = weights[row];
                if (used[row] == 0 || is_expansion(weight) || weight == WEIGHT_IGNORED) continue;
                found[weight & WEIGHT_VALUE] |= (weight & WEIGHT_SPECIAL) != 0 ? SPECIAL : ORDINARY;
            }
            if ((found[0] | found[1]) != 0 || memchr(found, ORDINARY | SPECIAL, sizeof found) != nullptr) return false;
        }
        return true;
    }

    bool collect_items() {
        for (int pass = 0; pass < info_.pass_count; ++pass) {
            for (int32_t expansion = 0; expansion < info_.expansion_count; ++expansion) {
                uint16_t list[MOST_ITEMS * 3 + 1], *end = list;
                const int32_t successor = expansions_.walk(pass, expansion, [&](uint16_t weight, gl_wchar wc, bool unknown) {
                    if (unknown) misfit();
                    if (weight == WEIGHT_IGNORED) return;
                    *end = code_of(weight);
                    if (!is_special(*end++)) return;
                    *end++ = static_cast<uint16_t>(wc);
                    *end++ = static_cast<uint16_t>(wc >> 16);
                });
                if (successor < 0) *end++ = CODE_END;
                const uint32_t at = items_.size();
                if (!fits_ || !lists_.append(at) || !items_.append(list, static_cast<uint32_t>(end - list))) return false;
            }
        }
        return true;
    }

    static uint16_t code_of(uint16_t weight) {
        return (weight & WEIGHT_SPECIAL) != 0 ? WEIGHT_SPECIAL | (weight & WEIGHT_VALUE) : weight;
    }

    // Of the rows from `unknown` on, in every pass.
    uint16_t code_behind(uint32_t row) const {
        return row == unknown_ ? CODE_UNKNOWN : static_cast<uint16_t>(CODE_ELEMENT | (row - unknown_ - 1));
    }

    struct SeenNode {
        uint16_t blocks[4] = {}; // of its quarters; 0 for none
        bool seen = false;
    };

    const gl_collate_info &info_;
    const gl_ranks ranks_;
    const gl_multi &table_;
    Expansions expansions_;
    const uint32_t unknown_;
    bool fits_ = true;
    uint16_t tops_[256] = {};
    Growing<uint16_t> mids_, rows_;
    Owned<uint8_t> used_;  // for each row whether a text can come to it
    Owned<SeenNode> seen_; // for each listed node
    uint32_t node_blocks_ = 0;
    Growing<ElementStart> starts_;
    Owned<uint16_t> candidates_;
    Owned<gl_wchar> seconds_;
    uint32_t parts_[64] = {};
    uint8_t byte_parts_[256] = {};
    Growing<uint16_t> items_;
    Growing<uint32_t> lists_;
};

// Lays arrays out behind the record: first to know their size, then to fill them.
class Layout {
  public:
    explicit Layout(uint8_t *block) : block_(block) {}

    template <class T> T *place(size_t count) {
        at_ = (at_ + alignof(T) - 1) / alignof(T) * alignof(T);
        T *const array = block_ != nullptr ? reinterpret_cast<T *>(block_ + at_) : nullptr;
        at_ += count * sizeof(T);
        return array;
    }
    template <class T> const T *copy(const T *from, size_t count) {
        T *const to = place<T>(count);
        if (to != nullptr && count > 0) memcpy(static_cast<void *>(to), from, count * sizeof(T));
        return to;
    }
    size_t size() const { return at_; }

  private:
    uint8_t *block_;
    size_t at_ = 0;
};

gl_collation_maps *MapsBuilder::assemble() const {
    const auto passes = static_cast<uint32_t>(info_.pass_count);
    const uint32_t row_count = unknown_ + 1 + starts_.size();
    uint16_t *codes = nullptr, *byte_codes = nullptr, *byte_keys = nullptr;
    const auto lay_out = [&](Layout &layout) {
        auto *maps = layout.place<gl_collation_maps>(1);
        gl_collation_maps unused;
        gl_collation_maps &record = maps != nullptr ? *maps : unused;
        record.items = layout.copy(items_.begin(), items_.size());
        record.seconds = layout.copy(seconds_.get(), static_cast<size_t>(info_.element_count));
        record.item_lists = layout.copy(lists_.begin(), lists_.size());
        record.starts = layout.copy(starts_.begin(), starts_.size());
        record.mids = layout.copy(mids_.begin(), mids_.size());
        record.rows = layout.copy(rows_.begin(), rows_.size());
        record.candidates = layout.copy(candidates_.get(), static_cast<size_t>(info_.element_count));
        codes = layout.place<uint16_t>(size_t{row_count} * passes);
        record.byte_codes = byte_codes = layout.place<uint16_t>(size_t{passes} << 9);
        record.byte_keys = byte_keys = layout.place<uint16_t>(size_t{passes} << 9);
        return maps;
    };
    Layout measured(nullptr);
    lay_out(measured);
    if (measured.size() > UINT32_MAX) return nullptr;
    auto *block = static_cast<uint8_t *>(_gl_alloc_ptr(static_cast<uint32_t>(measured.size())));
    if (block == nullptr) return nullptr;
    Layout layout(block);
    gl_collation_maps &maps = *lay_out(layout);

    maps.unknown = unknown_;
    memcpy(maps.tops, tops_, sizeof tops_);
    memcpy(maps.parts, parts_, sizeof parts_);
    maps.table = &table_;
    maps.ranks = ranks_;
    maps.elements = info_.elements;
    maps.expansion_count = static_cast<uint32_t>(info_.expansion_count);
    maps.start_count = starts_.size();
    maps.key_digits = key_digits(static_cast<uint32_t>(std::max(info_.fifth_count, 0)));
    memcpy(maps.byte_parts, byte_parts_, sizeof byte_parts_);
    maps.first_decides = is_forward(info_, 0);
    maps.backward = false;
    for (int pass = 0; pass < info_.pass_count; ++pass) {
        maps.backward = maps.backward || !is_forward(info_, pass);
        uint16_t *const of_pass = codes + static_cast<uint32_t>(pass) * row_count;
        maps.codes[pass] = of_pass;
        for (uint32_t row = 0; row < unknown_; ++row) of_pass[row] = code_of(info_.weights[pass][row]);
        for (uint32_t row = unknown_; row < row_count; ++row) of_pass[row] = code_behind(row);
    }
    maps.bytes_known = true;
    maps.bytes_with_elements = passes << 8;
    for (uint32_t at = 0; at < passes << 8; ++at) {
        const auto pass = static_cast<int>(at >> 8);
        const uint32_t row = maps.row_of(at & 0xFF), own = row > unknown_ ? starts_[row - unknown_ - 1].row : row;
        byte_codes[at] = maps.code_of(own, pass);
        byte_codes[at + (passes << 8)] = maps.code_of(row, pass);
        if (row == unknown_) maps.bytes_known = false;
    }
    for (uint32_t at = 0; at < passes << 9; ++at) byte_keys[at] = key_bytes(byte_codes[at], maps.key_digits);
    for (uint32_t byte = 0; byte < 256; ++byte) {
        const uint16_t code = byte_codes[maps.bytes_with_elements + byte];
        maps.first_codes[byte] = is_ordinary(code) ? code : code == WEIGHT_IGNORED ? FIRST_IGNORED : 0;
    }
    maps.first_codes[0] = FIRST_END;
    return &maps;
}

} // namespace

bool expansions_end(gl_locale *locale) {
    const gl_collate_info &info = locale->collate;
    if (info.expansion_count == 0) return true;
    constexpr uint32_t UNKNOWN = UINT32_MAX, IN_PATH = UNKNOWN - 1;
    const auto count = static_cast<uint32_t>(info.expansion_count);
    const Owned<uint32_t> lengths = Owned<uint32_t>::allocate(count), path = Owned<uint32_t>::allocate(count);
    Expansions expansions(info, locale->ranks);
    if (!lengths || !path || !expansions.find_rows()) return fail(locale, GL_ENOMEM, false);
    for (int pass = 0; pass < info.pass_count; ++pass) {
        if (!expansions.meet_others(pass)) continue;
        std::fill_n(lengths.get(), count, UNKNOWN);
        for (uint32_t first = 0; first < count; ++first) {
            auto at = static_cast<int32_t>(first);
            uint32_t steps = 0;
            for (; at >= 0 && lengths[static_cast<uint32_t>(at)] == UNKNOWN; ++steps) {
                path[steps] = static_cast<uint32_t>(at);
                lengths[path[steps]] = IN_PATH;
                at = expansions.walk(pass, at, [](uint16_t, gl_wchar, bool) {});
            }
            uint32_t length = at < 0 ? 0 : lengths[static_cast<uint32_t>(at)];
            while (steps > 0 && length <= MOST_EXPANDED) {
                length += static_cast<uint32_t>(info.expansions[path[--steps]].count);
                lengths[path[steps]] = length;
            }
            if (length > MOST_EXPANDED) return fail(locale, GL_EBADFILE, false);
        }
    }
    return true;
}

bool build_collation_maps(const gl_collate_info &info, const gl_ranks &ranks, gl_collation_maps *&maps) {
    MapsBuilder builder(info, ranks);
    maps = builder.collect() ? builder.assemble() : nullptr;
    return maps != nullptr || !builder.fits();
}

} // namespace qbgl

uint32_t gl_collation_maps::row_of_longest(gl_wchar wc) const {
    using namespace qbgl;
    const ElementStart *const end = starts + start_count;
    const ElementStart *const start =
        std::lower_bound(starts, end, wc, [](const ElementStart &a, gl_wchar character) { return a.character < character; });
    if (start != end && start->character == wc) return unknown + 1 + static_cast<uint32_t>(start - starts);
    const int32_t row = row_in(*table, wc);
    return row < 0 ? unknown : static_cast<uint32_t>(row);
}
