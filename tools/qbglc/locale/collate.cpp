#include "locale/collate.h"

#include "collation/alignment.h"
#include "collation/level.h"
#include "collation/share.h"
#include "object/character_table.h"
#include "object/numbers.h"
#include "object/text.h"
#include "system/error.h"

#include <qbgl.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <map>

namespace qbgl::compiler {

namespace {

int write_row_number(FILE *stream, const void *entry) {
    uint16_t value;
    std::memcpy(&value, entry, sizeof value);
    return std::fprintf(stream, "%04x", unsigned{value}) < 0 ? -1 : 0;
}

// The form without passes: characters compare by their code values.
std::string direct_section() {
    const uint16_t no_row = 0;
    TableWriter rows(sizeof no_row, &no_row);
    return fmt::format("as_specified\n{}1\n0 0 0 0 0\n", rows.text(write_row_number));
}

std::string digits(const std::vector<uint32_t> &wide) {
    std::string text;
    for (const uint32_t value : wide) text += fmt::format("{:08x}", value);
    return text;
}

class Section {
  public:
    Section(const CollationOrder &order, const Codeset &codeset) : order_(order), share_(order, codeset) {}

    CollateSection make() {
        if (!number_levels()) number_levels();
        if (is_code_order()) {
            result_.text = result_.listed = direct_section();
            return std::move(result_);
        }
        fill_tables();
        const char *const mode = ranks_.empty() ? "as_specified" : "as_ranked";
        const std::string elements = element_lines(), counts = count_lines();
        result_.text = fmt::format("{}\n{}{}2\n{}{}", mode, table_.text(), rank_lines<true>(), counts, compact_lines());
        result_.listed = fmt::format("{}\n{}{}0\n{}{}{}", mode, listed_table_.text(write_row_number), rank_lines<false>(), counts,
                                     elements, listed_lines());
        return std::move(result_);
    }

  private:
    using Row = std::array<uint16_t, GL_MAX_PASSES>;
    using Member = CollationShare::Member;
    static constexpr uint16_t FIRST_ROW = 0; // that of what is not in the order

    std::string count_lines() const {
        size_t largest = 0;
        for (const CollationLevel &level : levels_) largest = std::max<size_t>(largest, level.largest);
        std::string text;
        text += fmt::format("{} {} {} {} {}\n", rows_.size() - 1, levels_.size(), share_.members.size() - share_.character_count,
                            expansions_.list().size(), largest);
        for (const unsigned direction : directions_) text += fmt::format("{:04x}", direction);
        return text + '\n';
    }
    std::string listed_lines() const {
        std::string text;
        for (const std::vector<uint32_t> &expansion : expansions_.list())
            text += fmt::format("{:x}{}\n", expansion.size(), digits(expansion));
        for (const Row &row : rows_) {
            for (size_t level = 0; level < levels_.size(); ++level) text += fmt::format("{:04x}", row[level]);
            text += '\n';
        }
        return text;
    }

    // The same rules as elements and lines of expansions and rows, for the object.
    std::string compact_lines() {
        std::string text;
        std::vector<uint32_t> last(CollationShare::LONGEST_TEXT);
        const auto put_characters = [&text, &last](const std::vector<uint32_t> &characters) {
            for (size_t i = 0; i < characters.size(); last[i] = characters[i], ++i) put_difference(text, characters[i], last[i]);
        };
        for (size_t i = share_.character_count; i < share_.members.size(); ++i) {
            put_number(text, static_cast<uint32_t>(share_.members[i].wide.size()));
            put_number(text, number_of(row_of(i)));
            put_characters(share_.members[i].wide);
        }
        if (share_.members.size() > share_.character_count) text += '\n';
        std::fill(last.begin(), last.end(), 0);
        for (const std::vector<uint32_t> &expansion : expansions_.list()) {
            put_number(text, static_cast<uint32_t>(expansion.size()));
            put_characters(expansion);
        }
        if (!expansions_.list().empty()) text += '\n';
        std::vector<uint16_t> weights(rows_.size());
        for (size_t level = 0; level < levels_.size(); ++level) {
            std::transform(rows_.begin(), rows_.end(), weights.begin(), [level](const Row &row) { return row[level]; });
            RunWriter().put(text, weights);
            text += '\n';
        }
        return text;
    }

    // False, with ranks for the next time, when a level needs them.
    bool number_levels() {
        result_.warnings = share_.warnings;
        expansions_ = {};
        levels_.clear();
        directions_.clear();
        CollationAlignment alignment(order_, share_);
        const CollationParts aligned = [&](uint32_t item) { return alignment.parts(item); };
        for (size_t level = 0; level < order_.levels().size(); ++level) {
            const CollationParts single_weights = [this, level](uint32_t item) {
                const auto string = order_.string(order_.string_of(item, level));
                std::vector<std::span<const CollationOrder::Ordinal>> parts;
                for (size_t i = 0; i < string.size(); ++i) parts.push_back(string.subspan(i, 1));
                return parts;
            };
            const bool is_aligned = level > 0 && alignment.cut(level);
            CollationLevel numbered =
                number_level(order_, share_, level, is_aligned ? aligned : single_weights, ranks_, expansions_);
            if (!numbered.missing_ranks.empty()) {
                ranks_ = std::move(numbered.missing_ranks);
                return false;
            }
            add_pass(std::move(numbered), level);
            if (!order_.levels()[level].position) continue;
            if (auto positions = number_positions(order_, share_, level)) add_pass(std::move(*positions), level);
        }
        if (levels_.size() > GL_MAX_PASSES) throw DataError(fmt::format("more than {} levels of collation", int{GL_MAX_PASSES}));
        return true;
    }
    void add_pass(CollationLevel pass, size_t level) {
        result_.warnings.insert(result_.warnings.end(), pass.warnings.begin(), pass.warnings.end());
        levels_.push_back(std::move(pass));
        directions_.push_back(order_.levels()[level].backward ? GL_PASS_BACKWARD : GL_PASS_FORWARD);
    }

    // Every character alone on its weight, or on one that leaves the order to the code, and all in the order of their codes.
    bool is_code_order() const {
        if (order_.by_code()) return true;
        if (levels_.size() != 1 || order_.levels()[0].backward || share_.members.size() != share_.character_count) return false;
        uint16_t last = 0;
        for (size_t i = 0; i < share_.character_count; ++i) {
            const uint16_t weight = row_of(i)[0];
            const bool special = (weight & CollationLevel::SPECIAL) != 0;
            const auto value = static_cast<uint16_t>(weight & CollationLevel::LAST);
            if (value < CollationLevel::FIRST || (weight & ~CollationLevel::LAST & ~CollationLevel::SPECIAL) != 0) return false;
            if (value < last || (value == last && !special)) return false;
            if (i > 0 && share_.members[i].wide[0] <= share_.members[i - 1].wide[0]) return false;
            last = value;
        }
        return true;
    }

    Row row_of(size_t member) const {
        Row row = {};
        for (size_t level = 0; level < levels_.size(); ++level) row[level] = levels_[level].weights[member];
        return row;
    }
    Row undefined_row() const {
        Row row = {};
        for (size_t level = 0; level < levels_.size(); ++level) row[level] = levels_[level].undefined;
        return row;
    }
    uint16_t number_of(const Row &row, bool ranked = false) {
        const auto [place, is_new] = numbers_.emplace(std::pair(row, ranked), static_cast<uint16_t>(rows_.size()));
        if (is_new) rows_.push_back(row);
        if (rows_.size() > UINT16_MAX) throw DataError("more rows of weights than an order can have");
        return place->second;
    }

    bool is_ranked(const Member &character) const { return ranks_.contains(character.wide[0]); }

    // The ranked rows come first behind row 0.
    template <bool COMPACT> std::string rank_lines() const {
        if (ranks_.empty()) return "";
        TableWriter plain(sizeof FIRST_ROW, &FIRST_ROW);
        CharacterTable compact(FIRST_ROW);
        for (const auto &[value, rank] : ranks_) {
            plain.insert(bytes_of(value), &rank);
            compact.insert(bytes_of(value), rank);
        }
        const auto rows =
            std::count_if(numbers_.begin(), numbers_.end(), [](const auto &numbered) { return numbered.first.second; });
        return fmt::format("{}{}\n", COMPACT ? compact.text() : plain.text(write_row_number), rows);
    }

    // Row 0 is that of most characters where most are not in the order. A single-byte codeset's table has all bytes.
    void fill_tables() {
        const uint16_t no_row = number_of(undefined_row());
        for (size_t i = 0; i < share_.character_count && !ranks_.empty(); ++i)
            if (is_ranked(share_.members[i])) number_of(row_of(i), true);
        const auto insert = [&](const Sequence &bytes, uint16_t number) {
            table_.insert(bytes, number);
            listed_table_.insert(bytes, number == no_row ? nullptr : &number);
        };
        std::map<uint32_t, size_t> lent = lent_spares();
        std::vector<std::u32string> controls;
        for (size_t i = 0; i < share_.character_count; ++i) {
            const Member &character = share_.members[i];
            Row row = row_of(i);
            if (const auto spare = lent.find(character.wide[0]); spare != lent.end()) {
                row = row_of_spare(spare->second, row);
                controls.push_back(character.text);
                lent.erase(spare);
            }
            insert(character.bytes, number_of(row, is_ranked(character)));
        }
        Row ignored = {};
        std::fill_n(ignored.begin(), levels_.size(), CollationLevel::IGNORED);
        for (const auto &[value, i] : lent) insert(bytes_of(value), number_of(row_of_spare(i, ignored)));
        for (const Sequence &bytes : share_.unlisted) table_.insert(bytes, no_row);
        if (!controls.empty()) result_.warnings.push_back("lent to weights that no characters have alone: " + codes_of(controls));
    }

    // Those in use.
    std::map<uint32_t, size_t> lent_spares() const {
        std::map<uint32_t, size_t> lent;
        for (const CollationLevel &level : levels_)
            for (size_t i = 0; i < level.spares.size(); ++i) lent.emplace(share_.spares[i], i);
        return lent;
    }
    Row row_of_spare(size_t spare, Row row) const {
        for (size_t level = 0; level < levels_.size(); ++level)
            if (spare < levels_[level].spares.size()) row[level] = levels_[level].spares[spare];
        return row;
    }
    static Sequence bytes_of(uint32_t value) {
        return Sequence::big_endian(value, value > 0xFFFFFF ? 4 : value > 0xFFFF ? 3 : value > 0xFF ? 2 : 1);
    }

    std::string element_lines() {
        std::string lines;
        for (size_t i = share_.character_count; i < share_.members.size(); ++i) {
            const Member &element = share_.members[i];
            lines += fmt::format("{:x}{:04x}{}\n", element.wide.size(), number_of(row_of(i)), digits(element.wide));
        }
        return lines;
    }

    const CollationOrder &order_;
    const CollationShare share_;
    CollationExpansions expansions_;
    std::vector<CollationLevel> levels_; // by pass
    std::vector<unsigned> directions_;
    std::vector<Row> rows_;
    CollationRanks ranks_;
    std::map<std::pair<Row, bool>, uint16_t> numbers_; // of a row, and whether it is ranked
    CharacterTable table_{FIRST_ROW};
    TableWriter listed_table_{sizeof FIRST_ROW, &FIRST_ROW};
    CollateSection result_;
};

} // namespace

CollateSection collate_section(const CollationOrder &order, const Codeset &codeset) { return Section(order, codeset).make(); }

} // namespace qbgl::compiler
