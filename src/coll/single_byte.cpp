#include "coll/single_byte.h"

#include "coll/code_values.h"
#include "coll/prefix.h"
#include "coll/walker.h"
#include "coll/wide_order.h"
#include "coll/wide_text.h"
#include "ext/error.h"

using namespace qbgl;

namespace {

constexpr int CHARACTER_DIGITS = character_key_digits(1);

struct Bytes {
    const uint8_t *begin, *end;

    size_t size() const { return static_cast<size_t>(end - begin); }
};

Bytes bytes_of(const char *s, int length) {
    const auto *begin = reinterpret_cast<const uint8_t *>(s);
    return {begin, begin + length};
}

bool continued(const gl_collation_maps &maps, uint8_t byte) { return (maps.byte_parts[byte] & PART_CONTINUED) != 0; }
bool following(const gl_collation_maps &maps, uint8_t byte) { return (maps.byte_parts[byte] & PART_FOLLOWING) != 0; }

// Whether a text can have an element.
bool may_have_elements(const gl_collation_maps &maps, Bytes text) {
    return maps.start_count > 0 && std::any_of(text.begin, text.end, [&maps](uint8_t byte) { return following(maps, byte); });
}

// One pass over two texts that have no other features than these.
template <bool BACKWARD, bool EXPANSIONS, bool ELEMENTS>
Order collate_sb(const gl_collation_maps &maps, int pass, Bytes a, Bytes b) {
    using Walk = Walker<ByteText, BACKWARD, EXPANSIONS, ELEMENTS>;
    const ByteText text(maps, pass, ELEMENTS);
    // As long as both have the same, the characters do not matter.
    for (size_t left = std::min(a.size(), b.size()); left > 0; --left) {
        const uint16_t x = text.codes[BACKWARD ? a.end[-1] : *a.begin], y = text.codes[BACKWARD ? b.end[-1] : *b.begin];
        if (x != y && is_ordinary(x) && is_ordinary(y)) return x < y ? LESS : GREATER;
        if (x != y || x >= WEIGHT_SPECIAL) break;
        BACKWARD ? (--a.end, --b.end) : (++a.begin, ++b.begin);
    }
    return collate_pass(Walk(maps, pass, text, a.begin, a.end), Walk(maps, pass, text, b.begin, b.end));
}
Order collate_sb_for(const gl_collation_maps &maps, int pass, Bytes a, Bytes b) {
    return collate_sb<false, false, false>(maps, pass, a, b);
}
Order collate_sb_back(const gl_collation_maps &maps, int pass, Bytes a, Bytes b) {
    return collate_sb<true, true, false>(maps, pass, a, b);
}
Order collate_sb_exp(const gl_collation_maps &maps, int pass, Bytes a, Bytes b) {
    return collate_sb<false, true, false>(maps, pass, a, b);
}
Order collate_sb_elem(const gl_collation_maps &maps, int pass, Bytes a, Bytes b) {
    return collate_sb<false, false, true>(maps, pass, a, b);
}
Order collate_sb_exp_elem(const gl_collation_maps &maps, int pass, Bytes a, Bytes b) {
    return collate_sb<false, true, true>(maps, pass, a, b);
}

// Those for texts with elements, and for texts without.
using CollateSb = Order (*)(const gl_collation_maps &, int pass, Bytes, Bytes);
struct ForwardWalkers {
    CollateSb with_elements, without_elements;
};
constexpr ForwardWalkers NO_FEATURES = {collate_sb_for, collate_sb_for}, WITH_EXPANSIONS = {collate_sb_exp, collate_sb_exp},
                         WITH_ELEMENTS = {collate_sb_elem, collate_sb_for}, WITH_BOTH = {collate_sb_exp_elem, collate_sb_exp};

// The code values of a single-byte codeset are the bytes.
int compare_values(Bytes a, Bytes b) {
    const int order = memcmp(a.begin, b.begin, std::min(a.size(), b.size()));
    return order != 0 ? (order < 0 ? -1 : 1) : static_cast<int>(a.size()) - static_cast<int>(b.size());
}

bool widen(gl_locale *locale, WideText &text, Bytes bytes) {
    return text.convert(locale, reinterpret_cast<const char *>(bytes.begin), static_cast<int>(bytes.size()));
}

[[gnu::noinline]] int compare_widened(gl_locale *locale, Bytes a, Bytes b) {
    WideText text_a, text_b;
    return widen(locale, text_a, a) && widen(locale, text_b, b) ? compare_wide(locale, text_a.span(), text_b.span()) : 0;
}

[[gnu::noinline]] int key_of_widened(gl_locale *locale, char *out, Bytes bytes, int capacity) {
    WideText text;
    return widen(locale, text, bytes) ? key_of_wide(locale, out, text.span(), capacity) : -1;
}

bool known(const gl_collation_maps &maps, Bytes text) {
    return maps.bytes_known ||
           std::none_of(text.begin, text.end, [&maps](uint8_t byte) { return maps.byte_codes[byte] == CODE_UNKNOWN; });
}

// Whether an element may reach over a place in a text.
bool crossed(const gl_collation_maps &maps, Bytes text, const uint8_t *at) {
    return at != text.begin && at != text.end && continued(maps, at[-1]) && following(maps, *at);
}

// How much of what two texts have in common decides nothing: up to where no element goes on, if no character ends a walk.
Skip skippable(const gl_collation_maps &maps, Bytes a, Bytes b, size_t common, bool elements) {
    if (!known(maps, a) || !known(maps, b)) return {0, 0};
    while (elements && (crossed(maps, a, a.begin + common) || crossed(maps, b, b.begin + common))) --common;
    size_t behind = common_suffix(a.end, b.end, std::min(a.size(), b.size()) - common);
    while (elements && behind > 0 && (crossed(maps, a, a.end - behind) || crossed(maps, b, b.end - behind))) --behind;
    return {common, behind};
}

Bytes without(Bytes text, Skip skip) { return {text.begin + skip.before, text.end - skip.behind}; }

template <const ForwardWalkers &WALKERS>
[[gnu::noinline]] int compare_by_passes(gl_locale *locale, Bytes a, Bytes b, size_t common, int first_pass = 0) {
    const gl_collate_info &rules = locale->collate;
    const gl_collation_maps &maps = *rules.maps;
    const size_t from = maps.backward || !maps.bytes_known ? 0 : common; // what the passes may come to
    const bool elements = may_have_elements(maps, {a.begin + from, a.end}) || may_have_elements(maps, {b.begin + from, b.end});
    if (elements && maps.backward) return compare_widened(locale, a, b); // backward walkers do not know them
    const CollateSb forward = elements ? WALKERS.with_elements : WALKERS.without_elements;
    return collate_passes(rules, first_pass, skippable(maps, a, b, common, elements), [&](int pass, Skip skip) {
        const CollateSb collate = is_forward(rules, pass) ? forward : collate_sb_back;
        return collate(maps, pass, without(a, skip), without(b, skip));
    });
}

// The further passes over as many characters of two texts, none of which begins an element, as long as they stand side by side in
// all passes: that is, the passes find nothing, or ordinary weights first. False where walkers have to tell.
bool collate_aligned(const gl_collate_info &rules, const uint8_t *a, const uint8_t *b, size_t count, int &order) {
    order = 0;
    for (int pass = 1; pass < rules.pass_count; ++pass) {
        const uint16_t *const codes = rules.maps->byte_codes + (pass << 8);
        const bool forward = is_forward(rules, pass);
        for (size_t i = 0; i < count; ++i) {
            const size_t at = forward ? i : count - 1 - i;
            const uint16_t x = codes[a[at]], y = codes[b[at]];
            if (x == y && x < WEIGHT_SPECIAL) continue;
            order = x < y ? -1 : 1;
            return is_ordinary(x) && is_ordinary(y);
        }
    }
    return true;
}

// Whether what follows a common beginning decides in the first pass, if it can: no walk ends before, and no element reaches over.
bool decides_first(const gl_collation_maps &maps, const uint8_t *begin, const uint8_t *a, const uint8_t *b) {
    if (!maps.first_decides || !maps.bytes_known) return false;
    return a == begin || !continued(maps, a[-1]) || !(following(maps, *a) || following(maps, *b));
}

// The code of a character in the first pass as first_codes has it.
uint16_t first_code(const gl_collation_maps &maps, const uint8_t *at) {
    const uint16_t code = maps.first_codes[*at];
    if (code != 0 || following(maps, at[1])) return code;
    const uint16_t own = maps.byte_codes[*at]; // no element begins here
    return is_ordinary(own) ? own : 0;
}

template <const ForwardWalkers &WALKERS> int compare(gl_locale *locale, const char *s1, int len1, const char *s2, int len2) {
    if (!lengths_agree(len1, len2)) return fail(locale, GL_EMIXEDLEN, 0);
    if (s1 == nullptr || s2 == nullptr) return fail(locale, GL_ENULLPTR, 0);
    if (len1 == -1) {
        len1 = static_cast<int>(byte_length(s1));
        len2 = static_cast<int>(byte_length(s2));
    }
    if (len1 < 0 || len2 < 0) return fail(locale, GL_EILSEQ, 0);
    const Bytes a = bytes_of(s1, len1), b = bytes_of(s2, len2);
    if (locale->coll_extras != 0) return compare_values(a, b);
    if (!has_byte_arrays(locale)) return compare_widened(locale, a, b);
    const size_t common = common_prefix(a.begin, b.begin, std::min(a.size(), b.size()));
    if (a.size() == b.size() && common == a.size()) return 0;
    const gl_collation_maps &maps = *locale->collate.maps;
    const uint8_t *const at_a = a.begin + common, *const at_b = b.begin + common;
    if (at_a != a.end && at_b != b.end && decides_first(maps, a.begin, at_a, at_b)) {
        const uint16_t *const codes = maps.byte_codes + maps.bytes_with_elements;
        const uint16_t x = codes[*at_a], y = codes[*at_b];
        if (x != y && is_ordinary(x) && is_ordinary(y)) return x < y ? -1 : 1;
    }
    return compare_by_passes<WALKERS>(locale, a, b, common);
}

// Most comparisons end in the first pass, and on the way there only meet ordinary weights: without knowing the lengths.
template <const ForwardWalkers &WALKERS> int compare(gl_locale *locale, const char *s1, const char *s2) {
    if (s1 == nullptr || s2 == nullptr || !has_byte_arrays(locale)) return compare<WALKERS>(locale, s1, -1, s2, -1);
    const gl_collation_maps &maps = *locale->collate.maps;
    const auto *const begin_a = reinterpret_cast<const uint8_t *>(s1), *const begin_b = reinterpret_cast<const uint8_t *>(s2);
    const size_t common = first_difference(begin_a, begin_b);
    const uint8_t *a = begin_a + common, *b = begin_b + common;
    if (*a == *b) return 0;
    int first_pass = 0;
    if (decides_first(maps, begin_a, a, b)) {
        uint16_t x, y;
        for (;;) {
            x = first_code(maps, a);
            y = first_code(maps, b);
            if (x == y) {
                if (x <= FIRST_END) break;
                ++a;
                ++b;
            } else if (x == FIRST_IGNORED) {
                ++a;
            } else if (y == FIRST_IGNORED) {
                ++b;
            } else {
                break;
            }
        }
        if (x != y && x != 0 && y != 0) return x < y ? -1 : 1;
        first_pass = x == y && x == FIRST_END ? 1 : 0;
        const auto length = static_cast<size_t>(a - begin_a);
        const bool aligned = first_pass == 1 && b - begin_b == a - begin_a;
        if (int order; aligned && collate_aligned(locale->collate, begin_a + common, begin_b + common, length - common, order))
            return order;
    }
    const auto end_of_text = [](const uint8_t *at) { return at + byte_length(reinterpret_cast<const char *>(at)); };
    return compare_by_passes<WALKERS>(locale, {begin_a, end_of_text(a)}, {begin_b, end_of_text(b)}, common, first_pass);
}

} // namespace

int qbgl::compare_single_byte(gl_locale *locale, const char *s1, int len1, const char *s2, int len2) {
    return compare<WITH_BOTH>(locale, s1, len1, s2, len2);
}

int qbgl::compare_single_byte(gl_locale *locale, const char *s1, const char *s2) { return compare<WITH_BOTH>(locale, s1, s2); }

int qbgl::key_of_single_byte(gl_locale *locale, char *out, const char *s, int capacity) {
    return key_of_single_byte(locale, out, s, static_cast<int>(byte_length(s)), capacity);
}

int qbgl::key_of_single_byte(gl_locale *locale, char *out, const char *s, int len, int capacity) {
    const gl_collate_info &rules = locale->collate;
    const gl_collation_maps &maps = *rules.maps;
    const Bytes text = bytes_of(s, len);
    const bool elements = maps.start_count > 0 && may_have_elements(maps, text);
    if (elements && maps.backward) return key_of_widened(locale, out, text, capacity);
    KeyWriter key(out, capacity);
    const auto write = [&]<bool BACKWARD, bool ELEMENTS>(std::bool_constant<BACKWARD>, std::bool_constant<ELEMENTS>, int pass) {
        using Walk = Walker<ByteText, BACKWARD, true, ELEMENTS>;
        Walk(maps, pass, ByteText(maps, pass, ELEMENTS), text.begin, text.end).write(key, maps.key_digits, CHARACTER_DIGITS);
    };
    for (int pass = 0; pass < rules.pass_count; ++pass) {
        if (pass > 0) key.separate();
        if (!is_forward(rules, pass))
            write(std::true_type(), std::false_type(), pass);
        else if (elements)
            write(std::false_type(), std::true_type(), pass);
        else
            write(std::false_type(), std::false_type(), pass);
    }
    return key.finish();
}

int _qbx_gl_is_mbfscoll_exp(gl_locale *locale, const char *s1, int len1, const char *s2, int len2) {
    return compare<WITH_EXPANSIONS>(locale, s1, len1, s2, len2);
}
int _qbx_gl_is_mbfscoll_elem(gl_locale *locale, const char *s1, int len1, const char *s2, int len2) {
    return compare<WITH_ELEMENTS>(locale, s1, len1, s2, len2);
}
int _qbx_gl_is_mbfscoll_back(gl_locale *locale, const char *s1, int len1, const char *s2, int len2) {
    return compare<NO_FEATURES>(locale, s1, len1, s2, len2);
}
int _qbx_gl_is_mbfscoll_exp_elem(gl_locale *locale, const char *s1, int len1, const char *s2, int len2) {
    return compare<WITH_BOTH>(locale, s1, len1, s2, len2);
}

int _gl_is_mbscoll_exp(gl_locale *locale, const char *s1, const char *s2) { return compare<WITH_EXPANSIONS>(locale, s1, s2); }
int _gl_is_mbscoll_elem(gl_locale *locale, const char *s1, const char *s2) { return compare<WITH_ELEMENTS>(locale, s1, s2); }
int _gl_is_mbscoll_back(gl_locale *locale, const char *s1, const char *s2) { return compare<NO_FEATURES>(locale, s1, s2); }
int _gl_is_mbscoll_exp_elem(gl_locale *locale, const char *s1, const char *s2) { return compare<WITH_BOTH>(locale, s1, s2); }
