#include "coll/by_maps.h"

#include "coll/prefix.h"
#include "coll/rows.h"
#include "ext/error.h"
#include "multi/table.h"

namespace qbgl {

namespace {

WideSpan without(WideSpan span, Skip skip) {
    return {span.text + skip.before, span.length - static_cast<int32_t>(skip.before + skip.behind)};
}

bool known(const gl_collation_maps &maps, const gl_wchar *begin, const gl_wchar *end) {
    return std::all_of(begin, end, [&maps](gl_wchar wc) { return maps.row_of(wc) != maps.unknown; });
}

// How much of what two texts have in common decides nothing: up to where no element can go on, if no character ends a walk.
Skip skippable(const gl_collation_maps &maps, WideSpan a, WideSpan b, size_t common) {
    const gl_wchar *a_end = a.text + a.length, *b_end = b.text + b.length;
    if (!known(maps, a.text, a_end) || !known(maps, b.text + common, b_end)) return {0, 0};
    const auto continues = [&maps](const gl_wchar *begin, const gl_wchar *at) {
        return maps.start_count > 0 && at != begin && maps.may_continue(at[-1]);
    };
    while (continues(a.text, a.text + common)) --common;
    size_t behind = common_suffix(a_end, b_end, static_cast<size_t>(std::min(a.length, b.length)) - common);
    a_end -= behind;
    b_end -= behind;
    for (; behind > 0 && (continues(a.text, a_end) || continues(b.text, b_end)); --behind, ++a_end) ++b_end;
    return {common, behind};
}

// Straight through the characters.
using FirstWalk = Walker<CharacterText, false, true, true>;

Order first_pass(const gl_collation_maps &maps, WideSpan a, WideSpan b) {
    const CharacterText text(maps, 0);
    return collate_pass(FirstWalk(maps, 0, text, a.text, a.text + a.length), FirstWalk(maps, 0, text, b.text, b.text + b.length));
}

// The passes over rows, made anew for as much of the texts as a pass asks for.
class RowPasses {
  public:
    RowPasses(const gl_collate_info &rules, WideSpan a, WideSpan b) : rules_(rules), maps_(*rules.maps), a_(a), b_(b) {}

    Order operator()(int pass, Skip skip) {
        if (made_for_.before != skip.before || made_for_.behind != skip.behind)
            memory_ = memory_ && rows_a_.build(maps_, without(a_, skip)) && rows_b_.build(maps_, without(b_, skip));
        made_for_ = skip;
        if (!memory_) return EQUAL;
        return is_forward(rules_, pass) ? collate_pass(rows_a_.walk<false>(maps_, pass), rows_b_.walk<false>(maps_, pass))
                                        : collate_pass(rows_a_.walk<true>(maps_, pass), rows_b_.walk<true>(maps_, pass));
    }
    bool memory() const { return memory_; }

  private:
    const gl_collate_info &rules_;
    const gl_collation_maps &maps_;
    WideSpan a_, b_;
    Rows rows_a_, rows_b_;
    Skip made_for_ = {SIZE_MAX, SIZE_MAX};
    bool memory_ = true;
};

[[gnu::noinline]] int compare_by_rows(gl_locale *locale, WideSpan a, WideSpan b, Skip skip, int first_pass) {
    RowPasses passes(locale->collate, a, b);
    const int order = collate_passes(locale->collate, first_pass, skip, [&passes](int pass, Skip of) { return passes(pass, of); });
    if (passes.memory()) return order;
    set_error(locale, GL_ENOMEM);
    return 0;
}

} // namespace

int compare_by_maps(gl_locale *locale, WideSpan a, WideSpan b) {
    const gl_collate_info &rules = locale->collate;
    const gl_collation_maps &maps = *rules.maps;
    const size_t common = common_prefix(a.text, b.text, static_cast<size_t>(std::min(a.length, b.length)));
    if (a.length == b.length && common == static_cast<size_t>(a.length)) return 0;
    const Skip skip = skippable(maps, a, b, common);
    if (!is_forward(rules, 0)) return compare_by_rows(locale, a, b, skip, 0);
    Order order = first_pass(maps, without(a, skip), without(b, skip));
    if (skip.behind > 0 && (order == SHORTER || order == LONGER))
        order = first_pass(maps, without(a, {skip.before, 0}), without(b, {skip.before, 0}));
    if (order != EQUAL) return order < 0 ? -1 : 1;
    return rules.pass_count > 1 ? compare_by_rows(locale, a, b, skip, 1) : 0;
}

int key_by_maps(gl_locale *locale, char *out, WideSpan span, int capacity) {
    const gl_collate_info &rules = locale->collate;
    const gl_collation_maps &maps = *rules.maps;
    const int character_digits = character_key_digits(locale->ctype.codeset_table->max_length);
    KeyWriter key(out, capacity);
    if (rules.pass_count == 1 && is_forward(rules, 0)) { // rows would be looked at once
        FirstWalk(maps, 0, CharacterText(maps, 0), span.text, span.text + span.length)
            .write(key, maps.key_digits, character_digits);
        return key.finish();
    }
    Rows rows;
    if (!rows.build(maps, span)) {
        set_error(locale, GL_ENOMEM);
        return -1;
    }
    for (int pass = 0; pass < rules.pass_count; ++pass) {
        if (pass > 0) key.separate();
        if (is_forward(rules, pass))
            rows.walk<false>(maps, pass).write(key, maps.key_digits, character_digits);
        else
            rows.walk<true>(maps, pass).write(key, maps.key_digits, character_digits);
    }
    return key.finish();
}

} // namespace qbgl
