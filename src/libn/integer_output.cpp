// Integers as text.
#include "ext/error.h"
#include "libn/grouping.h"
#include "libn/symbol.h"

#include <limits.h>
#include <string_view>

using namespace qbgl;

namespace {

constexpr int MOST_WRITTEN = 256; // characters of a number with groups, and of one on its way to multibyte text
constexpr int MOST_DIGITS = sizeof(long) * CHAR_BIT;

// Writes the digits before `end`, and returns where they begin.
char *long_base_str(char *end, unsigned long value, unsigned base) {
    if (base == 10) {
        do *--end = static_cast<char>('0' + value % 10);
        while ((value /= 10) != 0);
        return end;
    }
    do *--end = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ"[value % base];
    while ((value /= base) != 0);
    return end;
}

// As much of a text as there is room for before the terminator.
void str_to_wcs(gl_wchar *out, int size, std::string_view text) {
    gl_wchar *const end = out + size - 1;
    for (const char c : text) {
        if (out == end) break;
        *out++ = static_cast<unsigned char>(c);
    }
    *out = 0;
}

// Puts the separators between the digits of a number that stand at `out`, with room for them.
void add_grp_sep(gl_wchar *out, std::string_view digits, const gl_grouping &grouping, int separators, const Symbol &separator) {
    gl_wchar *to = out + digits.size() + separators * separator.length();
    *to = 0;
    GroupSizes sizes(grouping);
    int in_group = 0;
    for (const char *digit = digits.end(); digit != digits.begin();) {
        if (in_group == sizes.current()) {
            for (int i = separator.length(); i > 0;) *--to = separator.chars()[--i];
            sizes.advance();
            in_group = 0;
        }
        *--to = static_cast<unsigned char>(*--digit);
        ++in_group;
    }
}

// `sign` is the length of the sign in front of the digits.
void write(gl_locale *locale, gl_wchar *out, int size, std::string_view text, int sign, bool grouped) {
    if (!grouped) return str_to_wcs(out, size, text);
    const gl_grouping &grouping = locale->numeric.grouping;
    const Symbol separator(locale, locale->numeric.thousands_sep, Overlong::CUT);
    const auto length = static_cast<int>(text.size());
    // Hosts know that the sign counts as a digit here: a number may be refused that would just fit.
    if (length + 1 + count_separators(grouping, length) * separator.length() > size) {
        *out = 0;
        return;
    }
    str_to_wcs(out, size, text);
    const int separators = count_separators(grouping, length - sign);
    if (length - sign + separators * separator.length() > MOST_WRITTEN)
        set_error(locale, GL_E2BIG);
    else
        add_grp_sep(out + sign, {text.data() + sign, text.size() - static_cast<size_t>(sign)}, grouping, separators, separator);
}

void write(gl_locale *locale, gl_wchar *out, int size, unsigned long magnitude, bool negative, int base, bool grouped) {
    if (size < 1) return;
    if (base < 2 || base > 36) {
        *out = 0;
        return;
    }
    char room[1 + MOST_DIGITS];
    char *const end = room + sizeof room;
    char *begin = long_base_str(end, magnitude, static_cast<unsigned>(base));
    if (negative) *--begin = '-';
    write(locale, out, size, {begin, static_cast<size_t>(end - begin)}, negative, grouped);
}

int to_multibyte(gl_locale *locale, char *out, const gl_wchar *text, int size) {
    return locale->single_byte != 0 ? _gl_is_wcstombs(locale, out, text, size) : gl_full_wcstombs(locale, out, text, size);
}

} // namespace

void gl_ltowcs(gl_locale *locale, gl_wchar *out, int size, long value, int base, int grouping) {
    const auto bits = static_cast<unsigned long>(value);
    write(locale, out, size, value < 0 ? 0 - bits : bits, value < 0, base, grouping != 0);
}

void gl_ultowcs(gl_locale *locale, gl_wchar *out, int size, unsigned long value, int base, int grouping) {
    write(locale, out, size, value, false, base, grouping != 0);
}

int gl_ltombs(gl_locale *locale, char *out, int size, long value, int base, int grouping) {
    gl_wchar text[MOST_WRITTEN];
    gl_ltowcs(locale, text, MOST_WRITTEN, value, base, grouping);
    return to_multibyte(locale, out, text, size);
}

int gl_ultombs(gl_locale *locale, char *out, int size, unsigned long value, int base, int grouping) {
    gl_wchar text[MOST_WRITTEN];
    gl_ultowcs(locale, text, MOST_WRITTEN, value, base, grouping);
    return to_multibyte(locale, out, text, size);
}
