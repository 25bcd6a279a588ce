// What reading a number shares: its ASCII text, the characters that are looked at, what comes of it.
#pragma once

#include "ctype/wide_class.h"
#include "qbgl.h"

namespace qbgl {

// The most characters that are read of a number with groups, and of one that is converted from multibyte text first.
inline constexpr int MOST_GROUPED = 255, MOST_MULTIBYTE = 256;
// The most bytes of an integer's text, its sign included, and of the parts of a real number.
inline constexpr int MOST_INTEGER = 254, MOST_BEFORE_POINT = 256, MOST_BEHIND_POINT = 255;

// ASCII text that grows at both ends: a number without groups is read forward, one with groups from its last digit.
class NumberText {
  public:
    NumberText() = default;
    NumberText(const NumberText &) = delete;
    NumberText &operator=(const NumberText &) = delete;

    void prepend(char c) { *--begin_ = c; }
    void append(char c) { *end_++ = c; }

    const char *begin() const { return begin_; }
    int length() const { return static_cast<int>(end_ - begin_); }
    const char *terminated() {
        *end_ = '\0';
        return begin_;
    }

  private:
    static constexpr int FRONT = 1 + MOST_GROUPED, EXPONENT = 16, BACK = MOST_BEFORE_POINT + MOST_BEHIND_POINT + EXPONENT + 1;
    char room_[FRONT + BACK];
    char *begin_ = room_ + FRONT, *end_ = begin_;
};

template <class Value> struct Reading {
    Value value;
    const gl_wchar *end; // where reading stopped; null for text that was refused
    bool out_of_range = false;
};

template <class Unit> bool is_ascii_digit(Unit unit) { return static_cast<unsigned>(unit) - '0' <= 9; }

// Decimal digits, but no more than `most`.
template <class Value, class Unit> int read_digits(const Unit *s, int most, Value &value) {
    value = 0;
    int count = 0;
    for (; count < most && is_ascii_digit(s[count]); ++count) value = value * 10 + (static_cast<unsigned>(s[count]) - '0');
    return count;
}

inline const gl_wchar *skip_spaces(gl_locale *locale, const gl_wchar *s) {
    while (is_in_class(locale, *s, GL_CLASS_SPACE)) ++s;
    return s;
}

Reading<long> read_long(gl_locale *locale, const gl_wchar *s, int base, bool grouped);
Reading<unsigned long> read_unsigned_long(gl_locale *locale, const gl_wchar *s, int base, bool grouped);
Reading<double> read_real(gl_locale *locale, const gl_wchar *s, bool grouped, bool monetary);

} // namespace qbgl
