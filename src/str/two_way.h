// Where one sequence of units stands in another, in linear time and without memory: the two-way algorithm of Crochemore and Perrin
// (Two-way string-matching, JACM 38, 1991).
#pragma once

#include <algorithm>
#include <stddef.h>
#include <stdint.h>

namespace qbgl {

// A needle cut where its local period is the global one: `period` is the needle's own when `periodic`, otherwise one that no two
// occurrences are nearer than.
template <class Unit> class Needle {
  public:
    Needle(const Unit *units, size_t length) : units_(units), length_(length) {
        const Suffix up = greatest_suffix([](Unit a, Unit b) { return a < b; });
        const Suffix down = greatest_suffix([](Unit a, Unit b) { return b < a; });
        const Suffix &longest = down.begin < up.begin ? up : down;
        cut_ = longest.begin;
        period_ = longest.period;
        periodic_ = period_ + cut_ <= length_ && std::equal(units, units + cut_, units + period_);
        if (!periodic_) period_ = std::max(cut_, length_ - cut_) + 1;
    }

    // The first occurrence that `accept` takes; they are offered in their order. Null when there is none.
    template <class Accept> const Unit *find_in(const Unit *text, const Unit *end, Accept accept) const {
        size_t known = 0; // units at the beginning that are known to fit
        while (static_cast<size_t>(end - text) >= length_) {
            size_t i = std::max(cut_, known);
            while (i < length_ && units_[i] == text[i]) ++i;
            if (i < length_) {
                text += i - cut_ + 1;
                known = 0;
                continue;
            }
            i = cut_;
            while (i > known && units_[i - 1] == text[i - 1]) --i;
            if (i <= known && accept(text)) return text;
            text += period_;
            known = periodic_ ? length_ - period_ : 0;
        }
        return nullptr;
    }

  private:
    struct Suffix {
        size_t begin, period;
    };

    // The suffix that is the greatest in an order, with its period.
    template <class Before> Suffix greatest_suffix(Before before) const {
        size_t begin = 0, candidate = 1, matched = 0, period = 1;
        while (candidate + matched < length_) {
            const Unit a = units_[candidate + matched], b = units_[begin + matched];
            if (before(a, b)) {
                candidate += matched + 1;
                matched = 0;
                period = candidate - begin;
            } else if (a != b) {
                begin = candidate++;
                matched = 0;
                period = 1;
            } else if (++matched == period) {
                candidate += period;
                matched = 0;
            }
        }
        return {begin, period};
    }

    const Unit *units_;
    size_t length_, cut_, period_;
    bool periodic_;
};

} // namespace qbgl
