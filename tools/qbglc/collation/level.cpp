#include "collation/level.h"

#include "system/error.h"

#include <fmt/format.h>

#include <algorithm>
#include <unordered_map>

namespace qbgl::compiler {

namespace {

using Ordinal = CollationOrder::Ordinal;
using Weights = std::span<const Ordinal>;
using Member = CollationShare::Member;

constexpr uint32_t NONE = CollationOrder::NONE;
constexpr size_t LONG_RUN = 500;                            // a row for all of its characters is worth their longer keys
constexpr uint32_t FIRST_DIGIT = 2;                         // a code value or a rank below cannot be written into a key
constexpr size_t MOST_RANKS = UINT16_MAX - FIRST_DIGIT + 1; // on a weight

// What gets a number.
struct Segment {
    std::u32string weights;
    uint32_t member = NONE; // the first that has it alone, a character if any does
    uint32_t spare = NONE;  // the spare that carries it
    uint32_t count = 0;     // members that have it alone
    bool has_character = false, has_element = false;
    bool is_undefined = false; // of the characters that the order does not have
    uint16_t weight = 0;
};

// Neighbours whose order is that of their characters' codes, or ranks; or could be that of ranks.
struct Run {
    size_t begin, end;
    size_t size() const { return end - begin; }
};

class LevelNumbering {
  public:
    LevelNumbering(const CollationOrder &order, const CollationShare &share, size_t level, const CollationParts &parts,
                   const CollationRanks &ranks, CollationExpansions &expansions)
        : order_(order), share_(share), level_(level), parts_(parts), ranks_(ranks), expansions_(expansions) {}

    CollationLevel number() {
        collect();
        for (const uint32_t member : split_) choose_carriers(member);
        number_segments();
        if (result_.missing_ranks.empty()) number_members();
        return std::move(result_);
    }

  private:
    Weights string_of(uint32_t member) const { return order_.string(order_.string_of(share_.members[member].item, level_)); }
    std::vector<Weights> parts_of(uint32_t member) const { return parts_(share_.members[member].item); }

    // ---- segments

    Segment &segment(Weights weights) {
        std::u32string key(weights.begin(), weights.end());
        const auto [place, is_new] = segments_.try_emplace(key);
        if (is_new) place->second.weights = std::move(key);
        return place->second;
    }

    void collect() {
        for (uint32_t i = 0; i < share_.members.size(); ++i) {
            if (share_.members[i].item == NONE) {
                if (level_ == 0) add_undefined(undefined_weights(i));
                continue;
            }
            const Weights weights = string_of(i);
            if (weights.empty()) continue;
            if (weights.size() == 1 || parts_of(i).size() == 1)
                add_alone(i);
            else
                split_.push_back(i);
        }
        if (level_ == 0 && !share_.unlisted.empty()) add_undefined({order_.undefined_ordinal(), FIRST_DIGIT});
    }
    // All have one weight and sort by their codes, but for codes that a key cannot have: these have weights of their own.
    std::u32string undefined_weights(uint32_t member) const {
        const uint32_t value = share_.members[member].wide[0];
        const bool is_low = value < FIRST_DIGIT;
        return {order_.undefined_ordinal(), is_low ? value : FIRST_DIGIT};
    }
    void add_undefined(const std::u32string &weights) {
        Segment &undefined = segments_[weights];
        undefined.weights = weights;
        undefined.is_undefined = weights.back() == FIRST_DIGIT;
    }
    void add_alone(uint32_t member) {
        Segment &alone = segment(string_of(member));
        if (alone.count++ == 0) alone.member = member;
        (member < share_.character_count ? alone.has_character : alone.has_element) = true;
    }

    // Each part needs a character that has it alone, or a spare.
    void choose_carriers(uint32_t member) {
        const std::vector<Weights> parts = parts_of(member);
        std::vector<std::u32string> missing;
        for (const Weights part : parts) {
            std::u32string text(part.begin(), part.end());
            const auto known = segments_.find(text);
            const bool carried = known != segments_.end() && (known->second.has_character || known->second.spare != NONE);
            if (!carried && std::find(missing.begin(), missing.end(), text) == missing.end()) missing.push_back(std::move(text));
        }
        if (parts.size() > CollationShare::LONGEST_TEXT || result_.spares.size() + missing.size() > share_.spares.size()) {
            whole_.push_back(member);
            add_alone(member);
            return;
        }
        for (const std::u32string &text : missing) {
            const std::vector<Ordinal> weights(text.begin(), text.end());
            segment(weights).spare = static_cast<uint32_t>(result_.spares.size());
            result_.spares.push_back(CollationLevel::IGNORED);
        }
    }

    // ---- numbers

    bool is_of_one_character(const Segment &one) const {
        return one.count == 1 && one.has_character && !one.has_element && !one.is_undefined && one.spare == NONE &&
               wide(one) >= FIRST_DIGIT;
    }
    uint32_t wide(const Segment &one) const { return share_.members[one.member].wide[0]; }
    bool is_ranked(const Segment &one) const { return ranks_.contains(wide(one)); }
    uint32_t told_by(const Segment &one) const {
        const auto rank = ranks_.find(wide(one));
        return rank != ranks_.end() ? rank->second : wide(one);
    }
    bool is_less(const Segment &a, const Segment &b) const { return is_ranked(a) == is_ranked(b) && told_by(a) < told_by(b); }

    // Of neighbours that may follow each other in one, the longest first.
    template <class Follows> std::vector<Run> runs(const std::vector<Segment *> &sorted, Follows may_follow) const {
        std::vector<Run> runs;
        const auto may = [&](size_t i) { return is_of_one_character(*sorted[i]); };
        for (size_t begin = 0, end; begin < sorted.size(); begin = end) {
            end = begin + 1;
            if (may(begin))
                while (end < sorted.size() && may(end) && may_follow(*sorted[end - 1], *sorted[end])) ++end;
            if (end - begin > 1) runs.push_back({begin, end});
        }
        std::stable_sort(runs.begin(), runs.end(), [](const Run &a, const Run &b) { return a.size() > b.size(); });
        return runs;
    }

    // The runs that share one weight: none where all have room, because the code value behind it makes keys longer; else the long
    // ones, and as many as are needed to make room. Where controls can make the room that lets all others have keys of one byte a
    // weight, theirs may be longer.
    std::vector<Run> shared_runs(const std::vector<Segment *> &sorted) {
        std::vector<Run> shared = fewest_of_controls(sorted);
        if (!shared.empty() || sorted.size() <= room(CollationLevel::LAST)) return shared;
        size_t left = sorted.size();
        for (const Run &run : runs(sorted, [this](const Segment &a, const Segment &b) { return is_less(a, b); })) {
            if (run.size() < LONG_RUN && left <= room(CollationLevel::LAST)) break;
            shared.push_back(run);
            left -= run.size() - 1;
        }
        if (left > room(CollationLevel::LAST) && ranks_.empty()) choose_ranks(sorted);
        return shared;
    }
    // For the longest stretches of neighbours, in whatever order their codes are, until all have room.
    void choose_ranks(const std::vector<Segment *> &sorted) {
        size_t left = sorted.size();
        for (const Run &run : runs(sorted, [](const Segment &, const Segment &) { return true; })) {
            if (left <= room(CollationLevel::LAST)) return;
            for (size_t i = 0; i < run.size(); ++i)
                result_.missing_ranks[wide(*sorted[run.begin + i])] = static_cast<uint16_t>(FIRST_DIGIT + i % MOST_RANKS);
            left -= run.size() - (run.size() - 1) / MOST_RANKS - 1;
        }
        if (left > room(CollationLevel::LAST)) result_.missing_ranks.clear();
    }
    std::vector<Run> fewest_of_controls(const std::vector<Segment *> &sorted) const {
        if (sorted.size() <= room(CollationLevel::LAST_OF_ONE_BYTE)) return {};
        size_t excess = sorted.size() - room(CollationLevel::LAST_OF_ONE_BYTE);
        std::vector<Run> shared;
        const auto are_controls = [this](const Segment &a, const Segment &b) {
            return is_control(a) && is_control(b) && is_less(a, b);
        };
        for (Run run : runs(sorted, are_controls)) {
            run.end = std::min(run.end, run.begin + excess + 1);
            shared.push_back(run);
            excess -= run.size() - 1;
            if (excess == 0) return shared;
        }
        return {};
    }
    bool is_control(const Segment &one) const {
        const char32_t code = share_.members[one.member].text[0];
        return code < U' ' || (code >= 0x7F && code < 0xA0);
    }
    static size_t room(uint16_t last) { return size_t{last} - CollationLevel::FIRST + 1; }

    void number_segments() {
        std::vector<Segment *> sorted;
        for (auto &[text, one] : segments_) sorted.push_back(&one);
        std::sort(sorted.begin(), sorted.end(), [](const Segment *a, const Segment *b) { return a->weights < b->weights; });
        std::vector<bool> joins(sorted.size() + 1, false); // the segment before
        for (const Run &run : shared_runs(sorted))
            std::fill(joins.begin() + static_cast<std::ptrdiff_t>(run.begin) + 1,
                      joins.begin() + static_cast<std::ptrdiff_t>(run.end), true);
        if (!result_.missing_ranks.empty()) return;
        uint16_t next = CollationLevel::FIRST - 1;
        std::vector<std::u32string> crowded;
        for (size_t i = 0; i < sorted.size(); ++i) {
            Segment &one = *sorted[i];
            if (!joins[i] && next < CollationLevel::LAST)
                ++next;
            else if (!joins[i] && one.member != NONE)
                crowded.push_back(share_.members[one.member].text);
            const bool special = one.is_undefined || joins[i] || joins[i + 1];
            one.weight = static_cast<uint16_t>(special ? next | CollationLevel::SPECIAL : next);
            if (one.spare != NONE) result_.spares[one.spare] = one.weight;
            if (one.is_undefined) result_.undefined = one.weight;
        }
        result_.largest = std::max(next, CollationLevel::FIRST);
        report("more weights than a level can have; equal here", crowded);
    }

    void number_members() {
        result_.weights.assign(share_.members.size(), result_.undefined);
        std::vector<uint16_t> known(order_.string_count(), 0);
        known[CollationOrder::EMPTY] = CollationLevel::IGNORED;
        for (uint32_t i = 0; i < share_.members.size(); ++i) {
            if (share_.members[i].item == NONE) {
                if (level_ == 0) result_.weights[i] = segments_.at(undefined_weights(i)).weight;
                continue;
            }
            uint16_t &weight = known[order_.string_of(share_.members[i].item, level_)];
            if (weight == 0) weight = segment(string_of(i)).weight;
            result_.weights[i] = weight;
        }
        std::vector<std::u32string> whole;
        for (const uint32_t member : whole_) whole.push_back(share_.members[member].text);
        report("sorted as one weight, for no characters have theirs alone", whole);
        for (const uint32_t member : split_)
            if (!std::binary_search(whole_.begin(), whole_.end(), member)) result_.weights[member] = expansion(member);
    }

    // A pass that runs backward reads an expansion from its end.
    uint16_t expansion(uint32_t member) {
        std::vector<uint32_t> characters;
        for (const Weights part : parts_of(member)) {
            const Segment &one = segment(part);
            characters.push_back(one.has_character ? wide(one) : share_.spares[one.spare]);
        }
        if (order_.levels()[level_].backward) std::reverse(characters.begin(), characters.end());
        return static_cast<uint16_t>(CollationLevel::EXPANSION | expansions_.index_of(characters));
    }

    void report(std::string_view what, const std::vector<std::u32string> &texts) {
        if (!texts.empty()) result_.warnings.push_back(fmt::format("level {}: {}: {}", level_ + 1, what, codes_of(texts)));
    }

    const CollationOrder &order_;
    const CollationShare &share_;
    const size_t level_;
    const CollationParts &parts_;
    const CollationRanks &ranks_;
    CollationExpansions &expansions_;
    CollationLevel result_;
    std::unordered_map<std::u32string, Segment> segments_;
    std::vector<uint32_t> split_, whole_; // members of several parts, and those of them that cannot be taken apart
};

} // namespace

uint32_t CollationExpansions::index_of(const std::vector<uint32_t> &characters) {
    const auto [place, is_new] = indexes_.emplace(characters, static_cast<uint32_t>(list_.size()));
    if (is_new) list_.push_back(characters);
    if (list_.size() > CollationLevel::LAST + 1u) throw DataError("more expansions than an order can have");
    return place->second;
}

CollationLevel number_level(const CollationOrder &order, const CollationShare &share, size_t level, const CollationParts &parts,
                            const CollationRanks &ranks, CollationExpansions &expansions) {
    return LevelNumbering(order, share, level, parts, ranks, expansions).number();
}

std::optional<CollationLevel> number_positions(const CollationOrder &order, const CollationShare &share, size_t level) {
    constexpr uint16_t COUNTED = CollationLevel::FIRST, IGNORED_BEFORE = CollationLevel::FIRST + 1;
    enum class Kind { MARK, LETTER, IGNORED_LETTER, IGNORED_ALWAYS };
    const auto kind_of = [&](const Member &member) {
        if (member.item == NONE) return Kind::IGNORED_LETTER;
        const bool is_letter = level == 0 || order.string_of(member.item, 0) != CollationOrder::EMPTY;
        if (order.string_of(member.item, level) != CollationOrder::EMPTY) return is_letter ? Kind::LETTER : Kind::MARK;
        return is_letter && level > 0 ? Kind::IGNORED_LETTER : Kind::IGNORED_ALWAYS;
    };
    bool has_ignored_letters = false, has_ignored_always = false;
    for (const Member &member : share.members) {
        has_ignored_letters |= kind_of(member) == Kind::IGNORED_LETTER;
        has_ignored_always |= kind_of(member) == Kind::IGNORED_ALWAYS;
    }
    if (!has_ignored_letters && !has_ignored_always) return std::nullopt;
    CollationLevel positions;
    positions.undefined = positions.largest = IGNORED_BEFORE;
    for (const Member &member : share.members) {
        const Kind kind = kind_of(member);
        const bool is_redundant = kind == Kind::LETTER && !has_ignored_always;
        positions.weights.push_back(is_redundant                                 ? CollationLevel::IGNORED
                                    : kind == Kind::LETTER || kind == Kind::MARK ? COUNTED
                                                                                 : IGNORED_BEFORE);
    }
    return positions;
}

} // namespace qbgl::compiler
