#include "coll/wide_text.h"

#include "coll/reader.h"
#include "ext/error.h"

namespace qbgl {

namespace {

int count_characters(gl_locale *locale, const char *s, int bytes) {
    return locale->single_byte != 0 || bytes < 0 ? bytes : _qbx_gl_im_mbfslen(locale, s, bytes);
}

// take(value) for each character of a text, which a NUL ends when `len` is -1. False for bytes that are no character.
template <class Take> bool for_each_character(const MultiNode *root, const char *s, int len, Take take) {
    const auto *at = reinterpret_cast<const uint8_t *>(s), *const end = len < 0 ? nullptr : at + len;
    while (at != end) {
        const Decoded character = decode(root, at, end != nullptr ? end - at : MAX_KEY);
        if (character.length <= 0) return false;
        if (end == nullptr && character.value == 0) break;
        take(character.value);
        at += character.length;
    }
    return true;
}

constexpr int TOO_LONG = -1, NO_TEXT = -2;

// Converts a text of at most `room` characters and returns how many they are.
template <TextShape SHAPE> int convert_short(const gl_locale *locale, gl_wchar *out, int room, const char *s, int len) {
    Reader<SHAPE> in(locale, reinterpret_cast<const uint8_t *>(s), len < 0 ? byte_length(s) : static_cast<size_t>(len));
    int count = 0;
    for (; !in.ended(); ++count) {
        if (count == room) return TOO_LONG;
        if (!in.next(out[count])) return NO_TEXT;
    }
    return count;
}

} // namespace

bool WideText::convert(gl_locale *locale, const char *s, int len) {
    if (s == nullptr) return fail(locale, GL_ENULLPTR, false);
    if (len < -1) return fail(locale, GL_EILSEQ, false);
    const TextShape shape = readable_shape(locale);
    length_ = shape == TextShape::ONE_OR_TWO     ? convert_short<TextShape::ONE_OR_TWO>(locale, stack_, ON_STACK, s, len)
              : shape == TextShape::CONTINUATION ? convert_short<TextShape::CONTINUATION>(locale, stack_, ON_STACK, s, len)
                                                 : TOO_LONG;
    if (length_ == NO_TEXT) return fail(locale, GL_EILSEQ, false);
    if (length_ == TOO_LONG) return is_half_served(locale) ? convert_by_table(locale, s, len) : convert_any(locale, s, len);
    stack_[length_] = 0;
    return true;
}

bool WideText::convert_by_table(gl_locale *locale, const char *s, int len) {
    const MultiNode *root = locale->ctype.codeset_table->root;
    uint32_t count = 0;
    if (!for_each_character(root, s, len, [&count](gl_wchar) { ++count; })) return fail(locale, GL_EILSEQ, false);
    if (count > ON_STACK && !(heap_ = Owned<gl_wchar>::allocate(count + 1))) return fail(locale, GL_ENOMEM, false);
    gl_wchar *out = heap_ ? heap_.get() : stack_;
    for_each_character(root, s, len, [&out](gl_wchar wc) { *out++ = wc; });
    *out = 0;
    length_ = static_cast<int>(count);
    return true;
}

bool WideText::convert_any(gl_locale *locale, const char *s, int len) {
    const int bytes = len == -1 ? gl_mbsbytes(locale, s) - _gl_multi_min_length(locale->ctype.codeset_table) : len;
    length_ = count_characters(locale, s, bytes);
    if (length_ < 0) return fail(locale, GL_EILSEQ, false);
    if (length_ > ON_STACK) {
        heap_ = Owned<gl_wchar>::allocate(static_cast<uint32_t>(length_) + 1);
        if (!heap_) return fail(locale, GL_ENOMEM, false);
    }
    gl_wchar *const text = heap_ ? heap_.get() : stack_;
    if (length_ > 0 && locale->mbfstowcfs(locale, text, s, bytes, length_) < 0) return fail(locale, GL_EILSEQ, false);
    text[length_] = 0;
    return true;
}

} // namespace qbgl
