// Comparison and sort keys of text in any codeset.
#include "coll/code_values.h"
#include "coll/prefix.h"
#include "coll/reader.h"
#include "coll/single_byte.h"
#include "coll/walker.h"
#include "coll/wide_order.h"
#include "coll/wide_text.h"
#include "ext/error.h"
#include "qbnxdl/served.h"

using namespace qbgl;

namespace {

[[gnu::noinline]] int compare_converted(gl_locale *locale, const char *s1, int len1, const char *s2, int len2) {
    WideText text1, text2;
    if (!text1.convert(locale, s1, len1) || !text2.convert(locale, s2, len2)) return 0;
    return compare_wide(locale, text1.span(), text2.span());
}

// A weight of the first pass that nothing can change, and what decides between two special ones; END_OF_TEXT, or 0 for what takes a
// walker to say.
struct FirstWeight {
    uint16_t code;
    gl_wchar character;
};
constexpr uint16_t END_OF_TEXT = 1;

bool is_less(FirstWeight x, FirstWeight y) {
    if (x.code == y.code) return x.character < y.character;
    return y.code != END_OF_TEXT && (x.code == END_OF_TEXT || (x.code & WEIGHT_VALUE) < (y.code & WEIGHT_VALUE));
}

FirstWeight deciding(const gl_collation_maps &maps, uint32_t row, gl_wchar wc) {
    const uint16_t code = maps.code_of(row, 0);
    if (is_special(code)) return {code, maps.told_by(row, wc)};
    return {is_ordinary(code) ? code : uint16_t{0}, wc};
}

FirstWeight deciding(const gl_collation_maps &maps, gl_wchar wc) { return deciding(maps, maps.row_of(wc), wc); }

// The same for a character that may begin elements: its own, when what follows it is in none of them. `in` is behind it.
template <TextShape SHAPE> FirstWeight deciding(const gl_collation_maps &maps, gl_wchar wc, Reader<SHAPE> in) {
    const uint32_t row = maps.row_of(wc);
    if (row <= maps.unknown) return deciding(maps, row, wc);
    const ElementStart &start = maps.starts[row - maps.unknown - 1];
    gl_wchar follower = 0;
    const bool followed = !in.ended() && in.next(follower);
    for (uint32_t i = start.candidates; i < start.candidate_end; ++i) {
        const gl_collating_element &element = maps.elements[maps.candidates[i]];
        if (element.count == 1 || (followed && element.chars[1] == follower)) return {0, wc};
    }
    return deciding(maps, start.row, wc);
}

template <TextShape SHAPE> bool read_first_weight(const gl_collation_maps &maps, Reader<SHAPE> &in, FirstWeight &weight) {
    weight = {END_OF_TEXT, 0};
    if (in.ended()) return true;
    gl_wchar wc;
    if (!in.next(wc)) return false;
    weight = deciding(maps, wc, in);
    return true;
}

enum class FirstPass { LESS, EQUAL, GREATER, UNDECIDED, INVALID };

// Most comparisons are decided by the characters that differ first, in the first pass. What is in common is looked at once, of what
// is behind the difference only that it is text.
template <TextShape SHAPE>
[[gnu::noinline]] FirstPass collate_first(const gl_collation_maps &maps, Reader<SHAPE> a, Reader<SHAPE> b, size_t common) {
    const uint8_t *const begin = a.at(), *const end = begin + common;
    gl_wchar last = 0;
    while (a.at() < end) {
        const uint8_t *const at = a.at();
        gl_wchar wc;
        if (!a.next(wc)) return FirstPass::INVALID;
        if (a.at() > end) {
            a.go_to(at);
            break;
        }
        if (maps.row_of(wc) == maps.unknown) return FirstPass::UNDECIDED;
        last = wc;
    }
    if (maps.start_count > 0 && a.at() != begin && maps.may_continue(last)) return FirstPass::UNDECIDED;
    b.go_to(b.at() + (a.at() - begin));
    FirstWeight x, y;
    do {
        if (!read_first_weight(maps, a, x) || !read_first_weight(maps, b, y)) return FirstPass::INVALID;
        if (x.code != y.code) break;
    } while (x.code > END_OF_TEXT && (is_ordinary(x.code) || x.character == y.character));
    if (x.code == 0 || y.code == 0 || (x.code == END_OF_TEXT && y.code == END_OF_TEXT)) return FirstPass::UNDECIDED;
    if (!a.is_text() || !b.is_text()) return FirstPass::INVALID;
    return is_less(x, y) ? FirstPass::LESS : FirstPass::GREATER;
}

struct Text {
    const uint8_t *bytes;
    size_t length;
};

// The same for texts of characters of two bytes alone.
FirstPass collate_pairs(const gl_collation_maps &maps, Text a, Text b, size_t common) {
    const auto character_at = [](Text text, size_t at) { return gl_wchar{text.bytes[at]} << 8 | text.bytes[at + 1]; };
    const auto weight_at = [&](size_t at, Text text) -> FirstWeight {
        if (at == text.length) return {END_OF_TEXT, 0};
        return deciding(maps, character_at(text, at));
    };
    const size_t different = common - common % 2;
    for (size_t at = 0; at < different; at += 2)
        if (maps.row_of(character_at(a, at)) == maps.unknown) return FirstPass::UNDECIDED;
    if (maps.start_count > 0 && different > 0 && maps.may_continue(character_at(a, different - 2))) return FirstPass::UNDECIDED;
    const FirstWeight x = weight_at(different, a), y = weight_at(different, b);
    if (x.code == 0 || y.code == 0 || (x.code == y.code && !is_special(x.code))) return FirstPass::UNDECIDED;
    return is_less(x, y) ? FirstPass::LESS : FirstPass::GREATER;
}

template <TextShape SHAPE> FirstPass check_text(const gl_locale *locale, Text text) {
    if (SHAPE == TextShape::ONE_OR_TWO && is_pairs(maps_of(locale)->plain, text.bytes, text.length)) return FirstPass::EQUAL;
    return Reader<SHAPE>(locale, text.bytes, text.length).is_text() ? FirstPass::EQUAL : FirstPass::INVALID;
}

// The lengths may be TERMINATED.
template <TextShape SHAPE> FirstPass compare_first(const gl_locale *locale, Text a, Text b, size_t common) {
    const gl_collation_maps &maps = *locale->collate.maps;
    if constexpr (SHAPE == TextShape::ONE_OR_TWO) {
        const uint8_t *const plain = maps_of(locale)->plain;
        Text known_a = a, rest = b;
        const size_t known = common - common % BLOCK; // of b, when a is
        rest.bytes += known;
        if (b.length != TERMINATED) rest.length -= known;
        if (is_pairs(plain, a.bytes, known_a.length) && is_pairs(plain, rest.bytes, rest.length))
            return collate_pairs(maps, known_a, {b.bytes, known + rest.length}, common);
    }
    for (Text *const text : {&a, &b})
        if (text->length == TERMINATED) text->length = common + byte_length(reinterpret_cast<const char *>(text->bytes + common));
    return collate_first<SHAPE>(maps, Reader<SHAPE>(locale, a.bytes, a.length), Reader<SHAPE>(locale, b.bytes, b.length), common);
}

template <TextShape SHAPE> int compare(gl_locale *locale, const char *s1, int len1, const char *s2, int len2) {
    const auto *const a = reinterpret_cast<const uint8_t *>(s1), *const b = reinterpret_cast<const uint8_t *>(s2);
    const bool terminated = len1 < 0;
    const size_t length1 = terminated ? TERMINATED : static_cast<size_t>(len1),
                 length2 = terminated ? TERMINATED : static_cast<size_t>(len2);
    const size_t common = terminated ? first_difference(a, b) : common_prefix(a, b, std::min(length1, length2));
    const bool equal = terminated ? a[common] == b[common] : length1 == length2 && common == length1;
    switch (equal ? check_text<SHAPE>(locale, {a, common}) : compare_first<SHAPE>(locale, {a, length1}, {b, length2}, common)) {
    case FirstPass::LESS: return -1;
    case FirstPass::EQUAL: return 0;
    case FirstPass::GREATER: return 1;
    case FirstPass::INVALID: set_error(locale, GL_EILSEQ); return 0;
    default: return compare_converted(locale, s1, len1, s2, len2);
    }
}

int compare_multibyte(gl_locale *locale, const char *s1, int len1, const char *s2, int len2) {
    const gl_collation_maps *maps = locale->collate.maps;
    const bool can_decide = maps != nullptr && maps->first_decides && !served_by_extension(locale, GL_CAT_COLLATE);
    if (s1 != nullptr && s2 != nullptr && len1 >= -1 && len2 >= -1 && can_decide) {
        switch (readable_shape(locale)) {
        case TextShape::ONE_OR_TWO: return compare<TextShape::ONE_OR_TWO>(locale, s1, len1, s2, len2);
        case TextShape::CONTINUATION: return compare<TextShape::CONTINUATION>(locale, s1, len1, s2, len2);
        default: break;
        }
    }
    return compare_converted(locale, s1, len1, s2, len2);
}

// The extension takes terminated text only. The wide characters are those of the same text.
int key_by_extension(gl_locale *locale, char *out, const char *s, int len, WideSpan span, int capacity) {
    if (std::find(span.text, span.text + span.length, gl_wchar{0}) != span.text + span.length) return fail(locale, GL_EINVAL, -1);
    const Owned<char> text = Owned<char>::allocate(static_cast<uint32_t>(len) + MAX_KEY);
    if (!text) return fail(locale, GL_ENOMEM, -1);
    std::fill_n(std::copy_n(s, len, text.get()), MAX_KEY, '\0');
    return gl_mbsxfrm(locale, out, text.get(), capacity);
}

} // namespace

int _qbx_gl_im_mbfscoll(gl_locale *locale, const char *s1, int len1, const char *s2, int len2) {
    if (walks_bytes(locale)) return compare_single_byte(locale, s1, len1, s2, len2);
    if (lengths_agree(len1, len2)) return compare_multibyte(locale, s1, len1, s2, len2);
    set_error(locale, GL_EMIXEDLEN);
    return 0;
}

int _gl_im_mbscoll(gl_locale *locale, const char *s1, const char *s2) {
    return walks_bytes(locale) ? compare_single_byte(locale, s1, s2) : compare_multibyte(locale, s1, -1, s2, -1);
}

int gl_mbfsxfrm(gl_locale *locale, char *out, const char *s, int len, int capacity) {
    if (len == -1) return gl_mbsxfrm(locale, out, s, capacity);
    if (len < 0) {
        set_error(locale, GL_EBADARG);
        return -1;
    }
    if (s != nullptr && walks_bytes(locale)) return key_of_single_byte(locale, out, s, len, capacity);
    WideText text;
    if (!text.convert(locale, s, len)) return -1;
    const WideSpan span = text.span();
    if (served_by_extension(locale, GL_CAT_COLLATE) && is_half_served(locale))
        return key_by_extension(locale, out, s, len, span, capacity);
    return key_of_wide(locale, out, span, capacity);
}

int gl_full_mbsxfrm(gl_locale *locale, char *out, const char *s, int capacity) {
    if (s != nullptr && walks_bytes(locale)) return key_of_single_byte(locale, out, s, capacity);
    WideText text;
    return text.convert(locale, s, -1) ? key_of_wide(locale, out, text.span(), capacity) : -1;
}
