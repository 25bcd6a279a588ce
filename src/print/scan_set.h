// The set of a "%[" conversion, read once.
#pragma once

#include "print/format.h"
#include "util/owned.h"

#include <algorithm>

namespace qbgl {

// The characters of a set by their values: a bit for each of the low ones, the others as ranges in their order. A set of few ranges
// needs no memory; asking for a character takes the logarithm of their number.
class ScanSet {
  public:
    // Reads a set behind its "[", up to a "]" which is there. False when memory is out.
    template <class Text> bool read(const Text &text, const typename Text::Unit *set) {
        uint32_t many = 0;
        without_ = for_each_range(text, set, [&](gl_wchar from, gl_wchar to) {
            for (gl_wchar wc = from; wc <= to && wc <= UINT8_MAX; ++wc) low_[wc / 32] |= 1U << wc % 32;
            many += from <= to && to > UINT8_MAX;
        });
        if (many == 0) return true;
        if (many > FEW) {
            more_ = Owned<Range>::allocate(many);
            if (!more_) return false;
            ranges_ = more_.get();
        }
        for_each_range(text, set, [&](gl_wchar from, gl_wchar to) {
            if (from <= to && to > UINT8_MAX) ranges_[count_++] = {from, to};
        });
        std::sort(ranges_, ranges_ + count_, [](Range a, Range b) { return a.from < b.from; });
        join();
        return true;
    }

    bool has(gl_wchar wc) const {
        if (wc <= UINT8_MAX) return ((low_[wc / 32] >> wc % 32 & 1) != 0) != without_;
        const Range *const behind =
            std::upper_bound(ranges_, ranges_ + count_, wc, [](gl_wchar value, Range range) { return value < range.from; });
        return (behind != ranges_ && wc <= behind[-1].to) != without_;
    }

  private:
    static constexpr uint32_t FEW = 32;
    struct Range {
        gl_wchar from, to;
    };

    // Whether the set is that of the characters that are not in the ranges. One that ends before it begins is empty.
    template <class Text, class Take> static bool for_each_range(const Text &text, const typename Text::Unit *set, Take take) {
        FormatReader<Text> reader(text, set);
        const bool without = reader.skip('^');
        for (bool first = true; first || reader.value() != ']'; first = false) {
            const gl_wchar from = reader.value();
            reader.advance();
            FormatReader<Text> ahead = reader;
            if (ahead.skip('-') && ahead.value() != ']') {
                take(from, ahead.value());
                ahead.advance();
                reader = ahead;
            } else {
                take(from, from);
            }
        }
        return without;
    }

    // Those that overlap, so that none goes on behind the beginning of the next one.
    void join() {
        uint32_t last = 0;
        for (uint32_t i = 1; i < count_; ++i)
            if (ranges_[i].from <= ranges_[last].to)
                ranges_[last].to = std::max(ranges_[last].to, ranges_[i].to);
            else
                ranges_[++last] = ranges_[i];
        count_ = last + 1;
    }

    uint32_t low_[8] = {};
    Range few_[FEW], *ranges_ = few_;
    uint32_t count_ = 0;
    bool without_ = false;
    Owned<Range> more_;
};

} // namespace qbgl
