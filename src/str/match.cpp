// SQL's LIKE.
#include "str/text.h"

using namespace qbgl;

namespace {

enum class Kind { END, CHARACTER, ANY_CHARACTER, ANY_TEXT };

struct Item {
    Kind kind;
    gl_wchar value;
    int length; // units of the pattern, or BAD
    int error;
};

template <class Text> class Pattern {
  public:
    using Unit = typename Text::Unit;

    Pattern(const Text &text, Step escape) : text_(text), escape_(escape) {}

    Item at(const Unit *place) const {
        const Step step = text_.step(place);
        if (step.length <= 0) return {Kind::END, 0, step.length, GL_EILSEQ};
        if (escape_.length > 0 && step.value == escape_.value) {
            const Step escaped = text_.step(place + step.length);
            if (escaped.length <= 0) return {Kind::END, 0, BAD, escaped.length == 0 ? GL_EINVAL : GL_EILSEQ};
            return {Kind::CHARACTER, escaped.value, step.length + escaped.length, 0};
        }
        const Kind kind = step.value == '%' ? Kind::ANY_TEXT : step.value == '_' ? Kind::ANY_CHARACTER : Kind::CHARACTER;
        return {kind, step.value, step.length, 0};
    }

    // 0, or the number of what is wrong anywhere in it.
    int check(const Unit *place) const {
        for (;;) {
            const Item item = at(place);
            if (item.length < 0) return item.error;
            if (item.kind == Kind::END) return 0;
            place += item.length;
        }
    }

  private:
    const Text &text_;
    const Step escape_;
};

// Behind a "%" the shortest text that lets the rest go on is the right one: the "%" before it need not be tried again.
template <class Text, class Unit> int match(gl_locale *locale, const Unit *s, const Unit *pattern, const Unit *escape) {
    if (s == nullptr || pattern == nullptr) return fail(locale, GL_ENULLPTR, -1);
    const Text text(locale);
    Step escaping = {0, 0};
    if (escape != nullptr) {
        escaping = text.step(escape);
        if (escaping.length < 0) return fail(locale, GL_EILSEQ, -1);
        if (escaping.length > 0 && text.step(escape + escaping.length).length != 0) return fail(locale, GL_EINVAL, -1);
    }
    const Pattern<Text> items(text, escaping);
    if (const int error = items.check(pattern); error != 0) return fail(locale, error, -1);
    const Unit *behind_any = nullptr, *from = nullptr; // of the last "%": the pattern, and where its text ends so far
    for (;;) {
        const Item item = items.at(pattern);
        if (item.kind == Kind::ANY_TEXT) {
            behind_any = pattern += item.length;
            from = s;
            continue;
        }
        const Step step = text.step(s);
        if (step.length < 0) return fail(locale, GL_EILSEQ, -1);
        if (item.kind == Kind::END && (step.length == 0 || behind_any == pattern)) return 1;
        if (step.length > 0 && (item.kind == Kind::ANY_CHARACTER || (item.kind == Kind::CHARACTER && item.value == step.value))) {
            pattern += item.length;
            s += step.length;
            continue;
        }
        if (step.length == 0 || behind_any == nullptr) return 0;
        from += text.step(from).length;
        s = from;
        pattern = behind_any;
    }
}

} // namespace

int gl_mbsmatch(gl_locale *locale, const char *text, const char *pattern, const char *escape) {
    return match<MultibyteString>(locale, text, pattern, escape);
}

int gl_wcsmatch(gl_locale *locale, const gl_wchar *text, const gl_wchar *pattern, const gl_wchar *escape) {
    return match<WideString>(locale, text, pattern, escape);
}
