// A conversion of a format of dates:
//
//   % FLAGS WIDTH [Q] [E or O] LETTER
#pragma once

#include "ext/error.h"
#include "form/text.h"

#include <stddef.h>

namespace qbgl {

struct DateConversion {
    char letter = 0;
    char pad = 0; // _ - 0 + or none
    bool upper = false, swap = false;
    bool gregorian = false; // whatever calendar the locale has
    char modifier = 0;      // E O or none
    int32_t width = 0;
};

// Whether a modifier stands before the letter, as POSIX has it, and O before all numbers but those of %Y, %s and %z.
constexpr bool takes_modifier(char letter, char modifier) {
    constexpr auto SET_OF = [](const char *letters) {
        uint64_t set = 0;
        for (; *letters != '\0'; ++letters) set |= uint64_t{1} << (*letters - 'A');
        return set;
    };
    constexpr uint64_t WITH_E = SET_OF("cCxXyY"), WITH_O = SET_OF("bBhCdegGHIjklmMSuUVwWy");
    return letter >= 'A' && letter <= 'z' && ((modifier == 'E' ? WITH_E : WITH_O) >> (letter - 'A') & 1) != 0;
}

// Formats of formats: %c of a locale may hold %r, and that %T. A locale that goes deeper goes in circles, and one that opens many
// for a conversion of the caller's, or long ones, would take its time.
class Nesting {
  public:
    bool enter() {
        if (depth_ == 0) passed_ = 0;
        if (depth_ == DEEPEST || !pass()) return false;
        ++depth_;
        return true;
    }
    void leave() { --depth_; }
    // Counts characters of a format.
    bool pass(ptrdiff_t count = 1) { return depth_ == 0 || (passed_ += count) <= MOST_PASSED; }

  private:
    static constexpr int DEEPEST = 4, MOST_PASSED = 1 << 16;
    int depth_ = 0;
    int64_t passed_ = 0;
};

template <class Unit> [[gnu::noinline]] bool read_whole_conversion(gl_locale *locale, Text<Unit> &format, DateConversion &found) {
    gl_wchar wc;
    bool any_flag = false;
    for (;; format.advance(), any_flag = true) {
        if (!format.peek(wc)) return fail(locale, GL_EILSEQ, false);
        if (wc == '^')
            found.upper = true;
        else if (wc == '#')
            found.swap = true;
        else if (wc == '_' || wc == '-' || wc == '0' || wc == '+')
            found.pad = static_cast<char>(wc);
        else
            break;
    }
    // A + that nothing follows which could be its conversion is one itself.
    const bool is_name = (wc | 0x20) - 'a' < 26 || wc == '%' || is_digit(wc);
    if (any_flag && found.pad == '+' && !is_name) {
        found.letter = '+';
        found.pad = 0;
        return true;
    }
    if (!take_width(format, found.width) || !format.peek(wc)) return fail(locale, GL_EILSEQ, false);
    const auto take = [&](char modifier) {
        if (wc != static_cast<uint8_t>(modifier)) return false;
        format.advance();
        return true;
    };
    if (take('Q')) {
        found.gregorian = true;
        if (!format.peek(wc)) return fail(locale, GL_EILSEQ, false);
    }
    if (wc == 'E' || wc == 'O') {
        found.modifier = static_cast<char>(wc);
        format.advance();
        if (!format.peek(wc)) return fail(locale, GL_EILSEQ, false);
    }
    if (wc == 0 || wc >= 0x80) return fail(locale, GL_EINVAL, false);
    found.letter = static_cast<char>(wc);
    if (found.modifier != 0 && !takes_modifier(found.letter, found.modifier)) return fail(locale, GL_EINVAL, false);
    format.advance();
    return true;
}

// The conversion behind a "%". False with the error: GL_EINVAL for none.
template <class Unit> inline bool read_conversion(gl_locale *locale, Text<Unit> &format, DateConversion &found) {
    // Most have nothing but their letter.
    if (const gl_wchar wc = format.ascii(); (wc | 0x20) - 'a' < 26 && wc != 'E' && wc != 'O' && wc != 'Q') {
        found.letter = static_cast<char>(wc);
        format.skip_unit();
        return true;
    }
    if (const gl_wchar wc = format.ascii(); wc == 'E' || wc == 'O')
        if (const gl_wchar letter = format.value_of(format.at()[1]);
            letter < NO_ASCII && takes_modifier(static_cast<char>(letter), static_cast<char>(wc))) {
            found.modifier = static_cast<char>(wc);
            found.letter = static_cast<char>(letter);
            format.skip_unit();
            format.skip_unit();
            return true;
        }
    return read_whole_conversion(locale, format, found);
}

} // namespace qbgl
