// Comparison in the order for indexes.
#include "coll/thai.h"
#include "order/code_values.h"
#include "order/entries.h"
#include "order/extension.h"
#include "order/prefix.h"
#include "order/thai.h"
#include "order/walk.h"

using namespace qbgl;

namespace {

// What a pass says of two texts. The last two: the weights of the one are the beginning of the other's.
enum Finding { LESS = -1, EQUAL = 0, GREATER = 1, SHORTER = -2, LONGER = 2 };

template <class Walk> Finding compare_pass(Walk a, Walk b) {
    for (;;) {
        OrderWeight x, y;
        const bool in_a = a.next(x), in_b = b.next(y);
        if (!in_a || !in_b) return in_a ? LONGER : in_b ? SHORTER : EQUAL;
        if (!(x == y)) return x < y ? LESS : GREATER;
    }
}

// One-byte characters at the beginning, as far as nothing can change their weights.
template <OrderShape SHAPE>
Finding compare_bytes(const gl_collation_maps &maps, OrderText a, OrderText b, size_t &from_a, size_t &from_b) {
    if (SHAPE == OrderShape::OTHER) return EQUAL;
    for (;; ++from_a, ++from_b) {
        while (from_a < a.length && maps.first_codes[a.bytes[from_a]] == FIRST_IGNORED) ++from_a;
        while (from_b < b.length && maps.first_codes[b.bytes[from_b]] == FIRST_IGNORED) ++from_b;
        if (from_a == a.length || from_b == b.length) return EQUAL;
        const uint16_t x = maps.first_codes[a.bytes[from_a]], y = maps.first_codes[b.bytes[from_b]];
        if (!is_ordinary(x) || !is_ordinary(y)) return EQUAL;
        if (x != y) return x < y ? LESS : GREATER;
    }
}

template <OrderShape SHAPE>
Finding compare_first(const gl_locale *locale, const gl_collation_maps &maps, OrderText a, OrderText b, size_t from) {
    size_t from_a = from, from_b = from;
    if (const Finding order = compare_bytes<SHAPE>(maps, a, b, from_a, from_b); order != EQUAL) return order;
    using Source = DecodedUnits<SHAPE>;
    return compare_pass(OrderWalk(maps, 0, Source(locale, maps, a, from_a)), OrderWalk(maps, 0, Source(locale, maps, b, from_b)));
}

// A backward pass meets what the texts have in common behind the rest.
[[gnu::noinline]] int compare_passes(const gl_locale *locale, OrderText a, OrderText b, size_t common, int first, int passes) {
    const gl_order_maps &rules = *locale->order_maps;
    const gl_collation_maps &maps = *rules.maps;
    Units units_a(locale, maps, a, common), units_b(locale, maps, b, common);
    for (int pass = first; pass < passes; ++pass) {
        const bool forward = rules.passes[pass].forward;
        const auto compare = [&](Units &x, Units &y) {
            return compare_pass(OrderWalk(maps, pass, KeptUnits(x, forward)), OrderWalk(maps, pass, KeptUnits(y, forward)));
        };
        Finding order = compare(units_a, units_b);
        if (!forward && common > 0 && (order == SHORTER || order == LONGER)) {
            Units whole_a(locale, maps, a), whole_b(locale, maps, b);
            order = compare(whole_a, whole_b);
        }
        if (order != EQUAL) return order < 0 ? -1 : 1;
    }
    return 0;
}

// How many passes are asked for.
int pass_count_of(const gl_order_maps &rules, int passes) {
    return passes > 0 ? std::min(passes, rules.pass_count) : rules.pass_count;
}

int compare_by_rules(const gl_locale *locale, OrderText a, OrderText b, size_t common, int passes) {
    const gl_order_maps &rules = *locale->order_maps;
    const gl_collation_maps &maps = *rules.maps;
    passes = pass_count_of(rules, passes);
    common = safe_prefix(locale, &maps, a, b, common);
    int first = 0;
    if (rules.passes[0].forward) {
        const Finding order =
            with_shape(order_shape(locale), [&]<OrderShape SHAPE>() { return compare_first<SHAPE>(locale, maps, a, b, common); });
        if (order != EQUAL) return order < 0 ? -1 : 1;
        first = 1;
    }
    return first < passes ? compare_passes(locale, a, b, common, first, passes) : 0;
}

// From where the entries do not tell all of the first pass.
[[gnu::noinline]] Finding compare_rest(const gl_locale *locale, OrderText a, OrderText b, const uint8_t *in_a,
                                       const uint8_t *in_b) {
    using Source = DecodedUnits<OrderShape::CONTINUATION>;
    const gl_collation_maps &maps = *locale->order_maps->maps;
    return compare_pass(OrderWalk(maps, 0, Source(locale, maps, a, static_cast<size_t>(in_a - a.bytes))),
                        OrderWalk(maps, 0, Source(locale, maps, b, static_cast<size_t>(in_b - b.bytes))));
}

// Of what two texts of utf8 have in common, as much as ends where units of both do.
size_t whole_units(OrderText a, OrderText b, size_t common) {
    const auto continues = [](OrderText text, size_t at) { return at < text.length && is_continuation_byte(text.bytes[at]); };
    if (continues(a, common) || continues(b, common)) [[unlikely]]
        while (common > 0 && (continues(a, common) || continues(b, common))) --common;
    return common;
}

int compare_by_entries(const gl_locale *locale, const OrderEntries &entries, OrderText a, OrderText b, size_t common, int passes) {
    const EntryReader reader(locale, entries);
    common = whole_units(a, b, common);
    if (reader.may_continue(a.bytes, a.bytes + common)) [[unlikely]]
        common = safe_prefix(locale, locale->order_maps->maps, a, b, common);
    const uint8_t *in_a = a.bytes + common, *in_b = b.bytes + common;
    const uint8_t *const end_a = a.bytes + a.length, *const end_b = b.bytes + b.length;
    const uint8_t *looked_at = in_a; // what the texts have in common up to there is read unit by unit
    for (;;) {
        const uint8_t *const from_a = in_a, *const from_b = in_b;
        const uint32_t x = reader.next_first(in_a, end_a), y = reader.next_first(in_b, end_b);
        if (x == EntryReader::NONE || y == EntryReader::NONE) [[unlikely]] {
            const Finding order = compare_rest(locale, a, b, from_a, from_b);
            if (order != EQUAL) return order < 0 ? -1 : 1;
            break;
        }
        if (x != y) return static_cast<int32_t>(x - y) >> 31 | 1; // either is as likely: no branch
        if (x == EntryReader::END) break;
        if (in_a < looked_at) continue;
        const OrderText rest_a = {in_a, static_cast<size_t>(end_a - in_a)}, rest_b = {in_b, static_cast<size_t>(end_b - in_b)};
        const size_t left = std::min(rest_a.length, rest_b.length);
        const size_t same = whole_units(rest_a, rest_b, common_prefix(in_a, in_b, left));
        if (reader.may_continue(in_a, in_a + same)) [[unlikely]] {
            looked_at = in_a + same;
            continue;
        }
        in_a += same;
        in_b += same;
    }
    passes = pass_count_of(*locale->order_maps, passes);
    return passes > 1 ? compare_passes(locale, a, b, common, 1, passes) : 0;
}

int compare_bytes(OrderText a, OrderText b, size_t common) {
    const size_t end = std::min(a.length, b.length);
    if (common < end) return a.bytes[common] < b.bytes[common] ? -1 : 1;
    return a.length < b.length ? -1 : a.length > b.length ? 1 : 0;
}

} // namespace

int gl_order_compare(gl_locale *locale, const char *s1, int len1, const char *s2, int len2, int passes) {
    const OrderText a = order_text(locale, s1, len1), b = order_text(locale, s2, len2);
    const size_t common = common_prefix(a.bytes, b.bytes, std::min(a.length, b.length));
    if (common == a.length && common == b.length) return 0;
    int order;
    if (const OrderEntries *const entries = order_entries(locale); entries != nullptr) {
        order = compare_by_entries(locale, *entries, a, b, common, passes);
    } else if (order_rules(locale) != nullptr) {
        order = compare_by_rules(locale, a, b, common, passes);
    } else if (is_thai_order(locale)) {
        if (!compare_as_thai(locale, a, b, passes, order)) return 0;
    } else if (is_extension_order(locale)) {
        if (!compare_by_extension(locale, a, b, passes, order)) return 0;
    } else {
        return compare_code_values(locale, a, b, common);
    }
    return order != 0 || passes != 0 ? order : compare_bytes(a, b, common);
}
