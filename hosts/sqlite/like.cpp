#include "like.h"

#include "text.h"

namespace qbgl_sqlite {

namespace {

struct PatternLetter {
    enum { ANY_TEXT, ANY_LETTER, ITSELF } kind;
    std::string_view text;
    size_t length; // in the pattern
};

// Reads a pattern letter by letter.
class Pattern {
  public:
    Pattern(const Locale &locale, std::string_view pattern, std::string_view escape)
        : locale_(&locale), rest_(pattern), escape_(escape) {}

    bool empty() const { return rest_.empty(); }
    void pass(const PatternLetter &letter) { rest_.remove_prefix(letter.length); }

    PatternLetter next() {
        const std::string_view first = rest_.substr(0, character_length(rest_));
        if (!escape_.empty() && first == escape_) {
            const std::string_view rest = rest_.substr(first.size());
            if (rest.empty()) throw Error("a LIKE pattern must not end with the escape character");
            const size_t length = letter_length(rest);
            return {PatternLetter::ITSELF, rest.substr(0, length), first.size() + length};
        }
        if (first == "%") return {PatternLetter::ANY_TEXT, first, first.size()};
        if (first == "_") return {PatternLetter::ANY_LETTER, first, first.size()};
        const size_t length = letter_length(rest_);
        return {PatternLetter::ITSELF, rest_.substr(0, length), length};
    }

  private:
    // A letter ends where the next wildcard or escape begins.
    size_t letter_length(std::string_view text) const {
        size_t end = character_length(text);
        while (end < text.size()) {
            const size_t length = character_length(text.substr(end));
            const std::string_view next = text.substr(end, length);
            if (next == "%" || next == "_" || (!escape_.empty() && next == escape_)) break;
            end += length;
            if (end > LONGEST_LETTER) break;
        }
        return locale_->letter_length(text.substr(0, end));
    }

    static constexpr size_t LONGEST_LETTER = 256;

    const Locale *locale_;
    std::string_view rest_, escape_;
};

} // namespace

bool like(const Locale &locale, std::string_view pattern, std::string_view text, int passes, std::string_view escape) {
    // Behind the last % a mismatch goes back to, one letter further on each time: what an earlier one matched need not be tried
    // again.
    Pattern rest(locale, pattern, escape), behind_any = rest;
    std::string_view from_there;
    bool any = false;
    for (;;) {
        if (!rest.empty()) {
            const PatternLetter next = rest.next();
            if (next.kind == PatternLetter::ANY_TEXT) {
                rest.pass(next);
                behind_any = rest;
                from_there = text;
                any = true;
                continue;
            }
            if (!text.empty()) {
                const std::string_view letter = text.substr(0, locale.letter_length(text));
                if (next.kind == PatternLetter::ANY_LETTER || letter == next.text ||
                    (passes != 0 && locale.compare(letter, next.text, passes) == 0)) {
                    rest.pass(next);
                    text.remove_prefix(letter.size());
                    continue;
                }
            }
        } else if (text.empty() || (any && behind_any.empty())) { // the latter for a % at the end
            return true;
        }
        if (!any || from_there.empty()) return false;
        from_there.remove_prefix(locale.letter_length(from_there));
        text = from_there;
        rest = behind_any;
    }
}

} // namespace qbgl_sqlite
