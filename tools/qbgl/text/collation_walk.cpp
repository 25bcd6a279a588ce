#include "text/collation_walk.h"

#include <algorithm>
#include <optional>

namespace qbgl {

namespace {

using Characters = std::vector<gl_wchar>;

constexpr gl_wchar ELEMENT_CODE = 1, LEAST_RANK = 2; // that a character counts as which has none

// What has a row of weights: a character, or a collating element.
struct Unit {
    Characters chars;
    gl_wchar code;
    std::optional<unsigned> row; // none: not in the rules
};

class Walk {
  public:
    Walk(const gl_locale &locale, size_t pass, bool backward)
        : rules_(locale.collate), ranks_(locale.ranks), weights_(rules_.weights[pass]), first_(pass == 0), backward_(backward) {}

    Steps run(const Characters &text) {
        std::vector<Unit> units = split(text);
        if (backward_) std::reverse(units.begin(), units.end());
        for (const Unit &unit : units) {
            if (const std::optional<unsigned> expansion = add(unit, {})) expand(*expansion, unit.chars);
        }
        return std::move(steps_);
    }

  private:
    // Of the elements that fit, the first in the list is taken.
    std::vector<Unit> split(const Characters &text) const {
        std::vector<Unit> units;
        for (auto at = text.begin(); at != text.end();) {
            const gl_collating_element *element = element_at(at, text.end());
            units.push_back(element != nullptr ? Unit{{at, at + element->count}, ELEMENT_CODE, element->row} : character(*at));
            at += element != nullptr ? element->count : 1;
        }
        return units;
    }

    const gl_collating_element *element_at(Characters::const_iterator at, Characters::const_iterator end) const {
        const gl_collating_element *const first = rules_.elements, *const last = first + rules_.element_count;
        const gl_collating_element *const found = std::find_if(first, last, [&](const gl_collating_element &element) {
            return element.count > 0 && element.count <= end - at && std::equal(element.chars, element.chars + element.count, at);
        });
        return found != last ? found : nullptr;
    }

    Unit character(gl_wchar code) const {
        const auto *row = static_cast<const uint16_t *>(_gl_retrieve_wchar_multi_nl(nullptr, code, rules_.character_table));
        return {{code}, code, row != nullptr ? std::optional<unsigned>(*row) : std::nullopt};
    }

    // Adds a step. Returns the expansion that it leads to, if it does.
    std::optional<unsigned> add(const Unit &unit, const Characters &of) {
        if (!unit.row) {
            steps_.push_back({StepSort::UNKNOWN, GL_WEIGHT_VALUE + 1, first_ ? unit.code : 0, unit.chars, of});
            return std::nullopt;
        }
        const unsigned weight = weights_[*unit.row];
        const bool expands = (weight & (GL_WEIGHT_SPECIAL | GL_WEIGHT_EXPANSION)) == GL_WEIGHT_EXPANSION;
        const StepSort sort = (weight & GL_WEIGHT_SPECIAL) != 0 ? special(*unit.row)
                              : expands                         ? StepSort::EXPANSION
                              : weight == GL_WEIGHT_IGNORED     ? StepSort::IGNORED
                                                                : StepSort::WEIGHT;
        const gl_wchar code = sort == StepSort::RANKED ? rank(unit.code) : unit.code;
        steps_.push_back({sort, weight & GL_WEIGHT_VALUE, code, unit.chars, of});
        return expands ? std::optional<unsigned>(weight & GL_WEIGHT_VALUE) : std::nullopt;
    }

    StepSort special(unsigned row) const {
        return row >= 1 && row <= static_cast<unsigned>(ranks_.row_count) ? StepSort::RANKED : StepSort::SPECIAL;
    }
    gl_wchar rank(gl_wchar code) const {
        const auto *rank = static_cast<const uint16_t *>(_gl_retrieve_wchar_multi_nl(nullptr, code, ranks_.table));
        return std::max<gl_wchar>(rank != nullptr ? *rank : 0, LEAST_RANK);
    }

    // An expansion within an expansion takes the place of what is left of that one; loading has seen to it that this ends.
    void expand(unsigned index, const Characters &of) {
        for (std::optional<unsigned> next = index; next;) {
            const gl_expansion &expansion = rules_.expansions[*next];
            Characters chars(expansion.chars, expansion.chars + expansion.count);
            if (backward_) std::reverse(chars.begin(), chars.end());
            next.reset();
            for (size_t i = 0; i < chars.size() && !next; ++i) next = add(character(chars[i]), of);
        }
    }

    const gl_collate_info &rules_;
    const gl_ranks &ranks_;
    const uint16_t *weights_;
    bool first_, backward_;
    Steps steps_;
};

bool is_compared(const WalkStep *step) {
    return step != nullptr && step->sort != StepSort::IGNORED && step->sort != StepSort::EXPANSION;
}

int sign(uint64_t a, uint64_t b) { return a < b ? -1 : a > b ? 1 : 0; }

// Of two compared steps; a text that has ended comes first.
int compare_steps(const WalkStep *a, const WalkStep *b) {
    if (a == nullptr || b == nullptr) return sign(a != nullptr ? 1 : 0, b != nullptr ? 1 : 0);
    if (const int order = sign(a->weight, b->weight); order != 0) return order;
    return a->sort != StepSort::WEIGHT ? sign(a->code, b->code) : 0;
}

} // namespace

size_t pass_count(const gl_locale &locale) {
    return locale.coll_extras != 0 ? 1 : static_cast<size_t>(std::min(locale.collate.pass_count, GL_MAX_PASSES));
}

bool is_backward(const gl_locale &locale, size_t pass) {
    return locale.coll_extras == 0 && (locale.collate.directions[pass] & GL_PASS_FORWARD) == 0;
}

Steps walk_pass(const gl_locale &locale, const std::vector<gl_wchar> &text, size_t pass) {
    if (locale.coll_extras == 0) return Walk(locale, pass, is_backward(locale, pass)).run(text);
    Steps steps;
    for (const gl_wchar code : text) steps.push_back({StepSort::CODE, 0, code, {code}, {}});
    return steps;
}

Comparison compare_walks(const Steps &a, const Steps &b) {
    Comparison result;
    size_t i = 0, j = 0;
    while (i < a.size() || j < b.size()) {
        const WalkStep *left = i < a.size() ? &a[i] : nullptr, *right = j < b.size() ? &b[j] : nullptr;
        const bool left_skipped = left != nullptr && !is_compared(left), right_skipped = right != nullptr && !is_compared(right);
        if (left_skipped || right_skipped) {
            if (!left_skipped) left = nullptr;
            if (!right_skipped) right = nullptr;
        } else if (result.order == 0) {
            result.order = compare_steps(left, right);
            result.difference = result.rows.size();
        }
        result.rows.push_back({left, right});
        i += left != nullptr ? 1 : 0;
        j += right != nullptr ? 1 : 0;
    }
    return result;
}

} // namespace qbgl
