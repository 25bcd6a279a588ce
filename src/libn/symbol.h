// The texts of a locale that stand in numbers, as wide characters: separators, decimal points, signs.
#pragma once

#include "qbgl.h"

namespace qbgl {

inline constexpr int LONGEST_SYMBOL = 256;

// What a longer symbol is taken for.
enum class Overlong { CUT, EMPTY };

class Symbol {
  public:
    Symbol(gl_locale *locale, const gl_text &text, Overlong overlong) : chars_(text.wide) {
        if (chars_ == nullptr) chars_ = convert(locale, text.bytes);
        while (length_ <= LONGEST_SYMBOL && chars_[length_] != 0) ++length_;
        if (length_ > LONGEST_SYMBOL) length_ = overlong == Overlong::CUT ? LONGEST_SYMBOL : 0;
    }
    Symbol(const Symbol &) = delete;
    Symbol &operator=(const Symbol &) = delete;

    int length() const { return length_; }
    const gl_wchar *chars() const { return chars_; }

    // The symbol's length when it begins at `pos`, or when it ends there, pos being its last character; otherwise 0. Nothing
    // behind the first difference is read.
    int starting_at(const gl_wchar *pos) const {
        for (int i = 0; i < length_; ++i)
            if (pos[i] != chars_[i]) return 0;
        return length_;
    }
    int ending_at(const gl_wchar *pos) const {
        for (int i = 0; i < length_; ++i)
            if (pos[-i] != chars_[length_ - 1 - i]) return 0;
        return length_;
    }
    // The length when it ends before `end` and begins at `begin` or later.
    int ending_before(const gl_wchar *end, const gl_wchar *begin) const { return end - begin >= length_ ? ending_at(end - 1) : 0; }

  private:
    const gl_wchar *convert(gl_locale *locale, const char *bytes);

    const gl_wchar *chars_;
    int length_ = 0;
    gl_wchar room_[LONGEST_SYMBOL + 2];
};

// The length of a sign, which is empty when the locale has none, at the beginning of a text; otherwise 0.
inline int sign_length(const gl_text &sign, const gl_wchar *text) {
    if (sign.wide == nullptr) return 0;
    int length = 0;
    for (; sign.wide[length] != 0; ++length)
        if (text[length] != sign.wide[length]) return 0;
    return length;
}

} // namespace qbgl
