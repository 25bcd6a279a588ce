#include "collation/alignment.h"

#include <algorithm>
#include <map>
#include <tuple>
#include <utility>

namespace qbgl::compiler {

namespace {

std::u32string text_of(std::span<const CollationOrder::Ordinal> weights) { return {weights.begin(), weights.end()}; }

// Whether one text's beginning can be the other's.
template <class Iterator> bool begins(Iterator a, Iterator a_end, Iterator b, Iterator b_end) {
    return a_end - a <= b_end - b && std::equal(a, a_end, b);
}

} // namespace

CollationAlignment::CollationAlignment(const CollationOrder &order, const CollationShare &share) : order_(order) {
    std::map<uint32_t, Item> items;
    for (size_t i = 0; i < share.members.size(); ++i) {
        if (share.members[i].item == CollationOrder::NONE) continue;
        Item &item = items[share.members[i].item];
        item.number = share.members[i].item;
        item.is_character |= i < share.character_count;
    }
    items_.reserve(items.size());
    for (auto &[number, item] : items) {
        const Weights weights = base(item);
        item.groups.assign(weights.begin(), weights.end());
        items_.push_back(std::move(item));
    }
}

bool CollationAlignment::cut(size_t level) {
    level_ = level;
    backward_ = order_.levels()[level].backward;
    carried_.clear();
    std::vector<bool> begins;
    for (Item &item : items_) {
        item.former = std::exchange(item.cuts, {});
        const Weights weights = string(item);
        if (weights.empty()) continue;
        if (base(item).empty()) return false; // something that stands over against nothing
        if (base(item).size() > 1) continue;
        if (begins.size() <= weights[0]) begins.resize(weights[0] + 1, false);
        begins[weights[0]] = true;
        if (item.is_character) carried_.push_back(text_of(weights));
    }
    std::sort(carried_.begin(), carried_.end());
    for (const bool uses_spares : {false, true}) {
        uses_spares_ = uses_spares;
        for (Item &item : items_) item.cuts = find_cuts(item, begins);
        if (!is_exact()) continue;
        regroup();
        return true;
    }
    return false;
}

std::vector<std::span<const CollationOrder::Ordinal>> CollationAlignment::parts(uint32_t number) const {
    const auto item =
        std::lower_bound(items_.begin(), items_.end(), number, [](const Item &a, uint32_t b) { return a.number < b; });
    std::vector<Weights> result;
    for (const Part &part : parts(*item)) result.push_back(part.weights);
    return result;
}

// As many parts as weights on level 1: of one weight each, as they were on the level before, or where letters' strings begin.
std::vector<size_t> CollationAlignment::find_cuts(const Item &item, const std::vector<bool> &begins) const {
    const size_t count = base(item).size();
    const Weights weights = string(item);
    if (count < 2 || weights.size() < count) return {};
    std::vector<std::vector<size_t>> choices(2);
    if (!item.former.empty() && item.former.back() == weights.size()) choices.push_back(item.former);
    for (size_t i = 1; i <= weights.size(); ++i) {
        if (weights.size() == count) choices[0].push_back(i);
        if (i == weights.size() || (weights[i] < begins.size() && begins[weights[i]])) choices[1].push_back(i);
    }
    for (const std::vector<size_t> &cuts : choices)
        if (cuts.size() == count && has_carriers(item, cuts)) return cuts;
    return {};
}

bool CollationAlignment::has_carriers(const Item &item, const std::vector<size_t> &cuts) const {
    if (uses_spares_) return true;
    const Weights weights = string(item);
    size_t begin = 0;
    return std::all_of(cuts.begin(), cuts.end(), [&](size_t end) {
        const std::u32string part = text_of(weights.subspan(begin, end - begin));
        begin = end;
        return std::binary_search(carried_.begin(), carried_.end(), part);
    });
}

std::vector<CollationAlignment::Part> CollationAlignment::parts(const Item &item) const {
    const Weights weights = string(item), extent = base(item);
    if (item.cuts.empty()) {
        const uint32_t group = extent.empty() ? CollationOrder::NONE : backward_ ? item.groups.back() : item.groups.front();
        return {{group, weights, extent}};
    }
    std::vector<Part> parts;
    for (size_t i = 0, begin = 0; i < item.cuts.size(); begin = item.cuts[i++])
        parts.push_back({item.groups[i], weights.subspan(begin, item.cuts[i] - begin), extent.subspan(i, 1)});
    return parts;
}

bool CollationAlignment::is_exact() const {
    std::vector<Part> all;
    Ordinal greatest_first = 0;
    for (const Item &item : items_) {
        if (base(item).empty()) continue;
        for (const Part &part : parts(item)) {
            if (!part.weights.empty()) greatest_first = std::max(greatest_first, part.weights[0]);
            all.push_back(part);
        }
    }
    const auto less = [](Weights a, Weights b) { return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end()); };
    const auto equal = [](Weights a, Weights b) { return std::equal(a.begin(), a.end(), b.begin(), b.end()); };
    std::sort(all.begin(), all.end(), [&](const Part &a, const Part &b) {
        if (a.group != b.group) return a.group < b.group;
        return equal(a.weights, b.weights) ? less(a.extent, b.extent) : less(a.weights, b.weights);
    });
    all.erase(std::unique(all.begin(), all.end(),
                          [&](const Part &a, const Part &b) {
                              return a.group == b.group && equal(a.weights, b.weights) && equal(a.extent, b.extent);
                          }),
              all.end());
    const auto can_meet = [&](Weights a, Weights b) {
        if (a.size() > b.size()) std::swap(a, b);
        return backward_ ? begins(a.rbegin(), a.rend(), b.rbegin(), b.rend()) : begins(a.begin(), a.end(), b.begin(), b.end());
    };
    for (size_t i = 0; i < all.size(); ++i) {
        const Weights shorter = all[i].weights;
        for (size_t k = i + 1; k < all.size() && all[k].group == all[i].group; ++k) {
            const Weights longer = all[k].weights;
            if (!begins(shorter.begin(), shorter.end(), longer.begin(), longer.end())) break;
            if (!can_meet(all[i].extent, all[k].extent)) continue;
            if (shorter.size() == longer.size() || longer[shorter.size()] <= greatest_first) return false;
        }
    }
    return true;
}

// What has been told apart on this level need not be on the next.
void CollationAlignment::regroup() {
    std::map<std::tuple<uint32_t, std::u32string, std::u32string, size_t>, uint32_t> numbers;
    for (Item &item : items_) {
        const std::vector<Part> all = parts(item);
        for (size_t i = 0; i < item.groups.size(); ++i) {
            const Part &part = item.cuts.empty() ? all[0] : all[i];
            const size_t place = part.extent.size() == 1 ? 0 : i;
            const auto key = std::tuple(part.group, text_of(part.weights), text_of(part.extent), place);
            item.groups[i] = numbers.try_emplace(key, static_cast<uint32_t>(numbers.size())).first->second;
        }
    }
}

} // namespace qbgl::compiler
