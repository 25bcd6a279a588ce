// One conversion of a format of printing or scanning, in any text.
#pragma once

#include "str/text.h"

#include <limits.h>
#include <utility>

namespace qbgl {

// What stands between the "%" and the conversion's letter.
enum : unsigned {
    LEFT = 1,
    SIGN = 2,
    SPACE = 4,
    ALTERNATE = 8,
    ZEROS = 16,
    GROUPED = 32,
    COLUMNS = 64,
    SUPPRESSED = 128,
};
enum class Length { NONE, CHAR, SHORT, LONG, LONG_LONG, LONG_DOUBLE };

// A width or a precision: a number, an argument, or none.
struct FieldSize {
    int value = -1;
    bool is_argument = false;
    int position = 0; // of the argument, from 1; 0 for the next one
};

struct FormatConversion {
    int position = 0;
    unsigned flags = 0;
    FieldSize width, precision;
    Length length = Length::NONE;
    gl_wchar letter = 0;
};

// Reads the characters of a format one after the other; what is no character has the value NONE.
template <class Text> class FormatReader {
  public:
    using Unit = typename Text::Unit;
    static constexpr gl_wchar NONE = UINT32_MAX;

    FormatReader(const Text &text, const Unit *at) : text_(&text), at_(at) { look(); }

    gl_wchar value() const { return step_.length >= 0 ? step_.value : NONE; }
    bool ends() const { return step_.length == 0; }
    bool is_bad() const { return step_.length < 0; }
    const Unit *place() const { return at_; }
    int length() const { return step_.length; }
    void advance() {
        at_ += step_.length;
        look();
    }
    bool skip(gl_wchar wc) {
        if (step_.length <= 0 || step_.value != wc) return false;
        advance();
        return true;
    }
    bool is_digit() const { return step_.length > 0 && step_.value - '0' <= 9; }

    // False for a number that is too large.
    bool number(int &result) {
        int64_t number = 0;
        for (; is_digit(); advance())
            if (number <= INT_MAX) number = number * 10 + (step_.value - '0');
        result = static_cast<int>(number <= INT_MAX ? number : INT_MAX);
        return number <= INT_MAX;
    }

    // What a letter may have before it: "hh", "l", "L" and so on.
    Length modifier() {
        switch (value()) {
        case 'h': advance(); return skip('h') ? Length::CHAR : Length::SHORT;
        case 'l': advance(); return skip('l') ? Length::LONG_LONG : Length::LONG;
        case 'q':
        case 'j': advance(); return Length::LONG_LONG;
        case 'z':
        case 'Z':
        case 't': advance(); return sizeof(size_t) == sizeof(long) ? Length::LONG : Length::NONE;
        case 'L': advance(); return Length::LONG_DOUBLE;
        default: return Length::NONE;
        }
    }

    // "*" or "*N$", behind the star. False for what is neither.
    bool argument(FieldSize &amount) {
        amount.is_argument = true;
        if (!is_digit()) return true;
        return number(amount.position) && amount.position > 0 && skip('$');
    }

  private:
    void look() { step_ = text_->step(at_); }

    const Text *text_;
    const Unit *at_;
    Step step_;
};

inline unsigned printing_flag(gl_wchar wc) {
    switch (wc) {
    case '-': return LEFT;
    case '+': return SIGN;
    case ' ': return SPACE;
    case '#': return ALTERNATE;
    case '0': return ZEROS;
    case '\'': return GROUPED;
    case 'w': return COLUMNS;
    default: return 0;
    }
}

// Whether a letter behind a "%" is the whole conversion.
inline bool is_conversion(gl_wchar wc) {
    constexpr auto BIT = [](char letter) { return 1U << (letter - 'a'); };
    constexpr unsigned LETTERS = BIT('d') | BIT('i') | BIT('u') | BIT('x') | BIT('o') | BIT('s') | BIT('c') | BIT('p') | BIT('f') |
                                 BIT('e') | BIT('g') | BIT('a');
    return wc - 'a' < 26 && (LETTERS >> (wc - 'a') & 1) != 0;
}

// Reads a conversion of printing behind its "%". 0, or the number of what is wrong.
template <class Text> int read_conversion(FormatReader<Text> &in, FormatConversion &conversion) {
    if (is_conversion(in.value())) {
        conversion.letter = in.value();
        in.advance();
        return 0;
    }
    FieldSize &width = conversion.width, &precision = conversion.precision;
    bool has_width = false;
    if (in.is_digit() && in.value() != '0') {
        if (!in.number(width.value)) return GL_EINVAL;
        has_width = !in.skip('$');
        if (!has_width) conversion.position = std::exchange(width.value, -1);
    }
    if (!has_width) {
        while (const unsigned flag = printing_flag(in.value())) {
            conversion.flags |= flag;
            in.advance();
        }
        if (in.skip('*') ? !in.argument(width) : in.is_digit() && !in.number(width.value)) return GL_EINVAL;
    }
    if (in.skip('.')) {
        precision.value = 0;
        if (in.skip('*') ? !in.argument(precision) : !in.number(precision.value)) return GL_EINVAL;
    }
    conversion.length = in.modifier();
    if (in.is_bad()) return GL_EILSEQ;
    if (in.ends()) return GL_EINVAL;
    conversion.letter = in.value();
    in.advance();
    return 0;
}

} // namespace qbgl
