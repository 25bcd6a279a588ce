// Copies of texts, of whole characters and with a terminator whenever there is room for that.
#include "str/text.h"

#include <algorithm>
#include <limits.h>

using namespace qbgl;

namespace {

template <class Unit> void move_units(Unit *out, const Unit *s, int length) {
    *out = *s;
    for (int i = 1; i < length; ++i) out[i] = s[i];
}

// At most `most` characters to `out + length`, behind what is there already.
template <class Text, class Unit = typename Text::Unit>
int append(const Text &text, Unit *out, int room, int length, const Unit *s, int most) {
    const int last = room - text.terminator_length(); // where the terminator has to stand at the latest
    int error = 0;
    for (; most > 0; --most) {
        const Step step = text.step(s);
        if (step.length == 0) break;
        if (step.length < 0) error = GL_EILSEQ;
        if (step.length > last - length) error = GL_E2BIG;
        if (error != 0) break;
        move_units(out + length, s, step.length);
        s += step.length;
        length += step.length;
    }
    text.put_terminator(out + length);
    return error == 0 ? length : fail(text.locale(), error, -1);
}

// The length of the text in `out`; -1 with the error number.
template <class Text, class Unit = typename Text::Unit> int length_within(const Text &text, const Unit *out, int room) {
    for (int length = 0; room - length >= text.terminator_length();) {
        const Step step = text.step(out + length, room - length);
        if (step.length == 0) return length;
        if (step.length < 0) return fail(text.locale(), GL_EILSEQ, -1);
        length += step.length;
    }
    return fail(text.locale(), GL_EINVAL, -1);
}

template <class Text, class Unit> int copy(gl_locale *locale, Unit *out, int room, const Unit *s, int most, bool behind) {
    if (out == nullptr || s == nullptr) return fail(locale, GL_ENULLPTR, -1);
    if (most < 0) return fail(locale, GL_ENEGCOUNT, -1);
    const Text text(locale);
    if (room < text.terminator_length()) return fail(locale, GL_E2BIG, -1);
    const int length = behind ? length_within(text, out, room) : 0;
    return length >= 0 ? append(text, out, room, length, s, most) : -1;
}

// A result that is cut lacks the first characters of the text.
template <class Text, class Unit> int reverse(gl_locale *locale, Unit *out, int room, const Unit *s) {
    if (out == nullptr || s == nullptr) return fail(locale, GL_ENULLPTR, -1);
    const Text text(locale);
    const ptrdiff_t most = room - text.terminator_length();
    if (most < 0) return fail(locale, GL_E2BIG, -1);
    const Unit *end = s;
    Step step;
    while ((step = text.step(end)).length > 0) end += step.length;
    int error = 0;
    if (step.length < 0) {
        error = GL_EILSEQ;
        s = end;
    }
    for (; end - s > most; s += text.step(s).length) error = GL_E2BIG;
    const auto length = static_cast<int>(end - s);
    Unit *to = out + length;
    text.put_terminator(to);
    for (; s != end; s += step.length) {
        step = text.step(s);
        to -= step.length;
        move_units(to, s, step.length);
    }
    return error == 0 ? length : fail(locale, error, -1);
}

} // namespace

int gl_mbscpy(gl_locale *locale, char *out, int room, const char *s) {
    return copy<MultibyteString>(locale, out, room, s, INT_MAX, false);
}
int gl_mbscat(gl_locale *locale, char *out, int room, const char *s) {
    return copy<MultibyteString>(locale, out, room, s, INT_MAX, true);
}
int gl_mbsncpy(gl_locale *locale, char *out, int room, const char *s, int n) {
    return copy<MultibyteString>(locale, out, room, s, n, false);
}
int gl_mbsncat(gl_locale *locale, char *out, int room, const char *s, int n) {
    return copy<MultibyteString>(locale, out, room, s, n, true);
}
int gl_mbsrev(gl_locale *locale, char *out, int room, const char *s) { return reverse<MultibyteString>(locale, out, room, s); }

int gl_wcscpy(gl_locale *locale, gl_wchar *out, int room, const gl_wchar *s) {
    return copy<WideString>(locale, out, room, s, INT_MAX, false);
}
int gl_wcscat(gl_locale *locale, gl_wchar *out, int room, const gl_wchar *s) {
    return copy<WideString>(locale, out, room, s, INT_MAX, true);
}
int gl_wcsncpy(gl_locale *locale, gl_wchar *out, int room, const gl_wchar *s, int n) {
    return copy<WideString>(locale, out, room, s, n, false);
}
int gl_wcsncat(gl_locale *locale, gl_wchar *out, int room, const gl_wchar *s, int n) {
    return copy<WideString>(locale, out, room, s, n, true);
}
int gl_wcsrev(gl_locale *locale, gl_wchar *out, int room, const gl_wchar *s) { return reverse<WideString>(locale, out, room, s); }
