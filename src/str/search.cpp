// Where a character or a text stands in another.
#include "str/find.h"

using namespace qbgl;

namespace {

// One character with a terminator behind it.
template <class Text> struct Character {
    typename Text::Unit units[2 * MAX_KEY] = {};
    int length; // 0 for the terminator, BAD
};

Character<MultibyteString> character_at(const MultibyteString &text, const char *c) {
    Character<MultibyteString> character;
    character.length = text.step(c).length;
    if (character.length > 0) memcpy(character.units, c, static_cast<size_t>(character.length));
    return character;
}
Character<WideString> character_at(const WideString &, gl_wchar c) { return {{c}, c != 0 ? 1 : 0}; }

bool is_null(const char *c) { return c == nullptr; }
bool is_null(gl_wchar) { return false; }

template <class Text, class Unit = typename Text::Unit> const Unit *terminator_of(const Text &text, const Unit *s) {
    for (;;) {
        const int length = text.step(s).length;
        if (length == 0) return s;
        if (length < 0) return fail(text.locale(), GL_EILSEQ, nullptr);
        s += length;
    }
}

template <class Unit> Unit *result(const Unit *found) { return const_cast<Unit *>(found); }

template <class Text, class Unit, class C> Unit *first(gl_locale *locale, const Unit *s, C c) {
    if (s == nullptr || is_null(c)) return fail(locale, GL_ENULLPTR, nullptr);
    const Text text(locale);
    const Character<Text> character = character_at(text, c);
    if (character.length < 0) return fail(locale, GL_EILSEQ, nullptr);
    if (character.length == 0) return result(terminator_of(text, s));
    return result(find(text, s, character.units, static_cast<size_t>(character.length)));
}

// Character by character: where one begins is known from the start only.
template <class Text, class Unit, class C> Unit *last(gl_locale *locale, const Unit *s, C c) {
    if (s == nullptr || is_null(c)) return fail(locale, GL_ENULLPTR, nullptr);
    const Text text(locale);
    const Step wanted = text.step(character_at(text, c).units);
    if (character_at(text, c).length < 0) return fail(locale, GL_EILSEQ, nullptr);
    const Unit *found = nullptr;
    for (;;) {
        const Step step = text.step(s);
        if (step.length < 0) return fail(locale, GL_EILSEQ, nullptr);
        if (step.length == wanted.length && step.value == wanted.value) found = s;
        if (step.length == 0) return result(found);
        s += step.length;
    }
}

template <class Text, class Unit> Unit *text_in(gl_locale *locale, const Unit *s, const Unit *needle) {
    if (s == nullptr || needle == nullptr) return fail(locale, GL_ENULLPTR, nullptr);
    const Text text(locale);
    const Unit *const end = terminator_of(text, needle);
    return end != nullptr ? result(find(text, s, needle, static_cast<size_t>(end - needle))) : nullptr;
}

} // namespace

char *gl_mbschr(gl_locale *locale, const char *s, const char *c) { return first<MultibyteString>(locale, s, c); }
char *gl_mbsrchr(gl_locale *locale, const char *s, const char *c) { return last<MultibyteString>(locale, s, c); }
char *gl_mbsstr(gl_locale *locale, const char *s, const char *needle) { return text_in<MultibyteString>(locale, s, needle); }

gl_wchar *gl_wcschr(gl_locale *locale, const gl_wchar *s, gl_wchar c) { return first<WideString>(locale, s, c); }
gl_wchar *gl_wcsrchr(gl_locale *locale, const gl_wchar *s, gl_wchar c) { return last<WideString>(locale, s, c); }
gl_wchar *gl_wcsstr(gl_locale *locale, const gl_wchar *s, const gl_wchar *needle) { return text_in<WideString>(locale, s, needle); }
