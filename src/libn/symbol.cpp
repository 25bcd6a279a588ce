#include "libn/symbol.h"

#include <string.h>

using namespace qbgl;

// Of a record that was read and not set up, the bytes alone are there. What is no text of the codeset is no symbol.
[[gnu::cold]] const gl_wchar *Symbol::convert(gl_locale *locale, const char *bytes) {
    const int length = bytes != nullptr ? locale->mbstowcs(locale, room_, bytes, LONGEST_SYMBOL + 1) : 0;
    room_[length > 0 ? length : 0] = 0;
    return room_;
}

namespace {

int length_at(const Symbol &symbol, const gl_wchar *pos, int direction) {
    return direction == 0 ? symbol.starting_at(pos) : symbol.ending_at(pos);
}

bool is_flag(int value) { return value == 0 || value == 1; }

} // namespace

int gl_iswgrpsymb(gl_locale *locale, const gl_wchar *pos, int direction, int monetary) {
    if (!is_flag(direction) || !is_flag(monetary)) return 0;
    const gl_text &text = monetary == 0 ? locale->numeric.thousands_sep : locale->monetary.mon_thousands_sep;
    return length_at(Symbol(locale, text, Overlong::EMPTY), pos, direction);
}

int gl_iswcdecml(gl_locale *locale, const gl_wchar *pos, int direction, int monetary) {
    if (!is_flag(direction) || !is_flag(monetary)) return 0;
    const gl_text &text = monetary == 0 ? locale->numeric.decimal_point : locale->monetary.mon_decimal_point;
    return length_at(Symbol(locale, text, Overlong::CUT), pos, direction);
}

int gl_iswcexponent(const gl_wchar *pos) {
    if (pos[0] != 'E' && pos[0] != 'e') return 0;
    return pos[1] == '+' || pos[1] == '-' ? 2 : 1;
}
