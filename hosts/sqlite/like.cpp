#include "like.h"

#include "text.h"

namespace qbgl_sqlite {

namespace {

struct PatternCharacter {
    enum { ANY_TEXT, ANY_CHARACTER, ITSELF } kind;
    std::string_view text;
    size_t length; // in the pattern
};

PatternCharacter character_at(std::string_view pattern, std::string_view escape) {
    const size_t length = character_length(pattern);
    const std::string_view character = pattern.substr(0, length);
    if (!escape.empty() && character == escape) {
        const std::string_view rest = pattern.substr(length);
        if (rest.empty()) throw Error("a LIKE pattern must not end with the escape character");
        const size_t next = character_length(rest);
        return {PatternCharacter::ITSELF, rest.substr(0, next), length + next};
    }
    if (character == "%") return {PatternCharacter::ANY_TEXT, character, length};
    return {character == "_" ? PatternCharacter::ANY_CHARACTER : PatternCharacter::ITSELF, character, length};
}

} // namespace

bool like(const Locale &locale, std::string_view pattern, std::string_view text, int passes, std::string_view escape) {
    // Behind the last % a mismatch goes back to, one character further on each time: what an earlier one matched need not be tried
    // again.
    std::string_view behind_any, from_there;
    bool any = false;
    for (;;) {
        if (!pattern.empty()) {
            const PatternCharacter next = character_at(pattern, escape);
            if (next.kind == PatternCharacter::ANY_TEXT) {
                pattern.remove_prefix(next.length);
                behind_any = pattern;
                from_there = text;
                any = true;
                continue;
            }
            if (!text.empty()) {
                const std::string_view character = text.substr(0, character_length(text));
                const bool alike = next.kind == PatternCharacter::ANY_CHARACTER || character == next.text ||
                                   (passes != 0 && locale.compare(character, next.text, passes) == 0);
                if (alike) {
                    pattern.remove_prefix(next.length);
                    text.remove_prefix(character.size());
                    continue;
                }
            }
        } else if (text.empty() || (any && behind_any.empty())) { // the latter for a % at the end
            return true;
        }
        if (!any || from_there.empty()) return false;
        from_there.remove_prefix(character_length(from_there));
        text = from_there;
        pattern = behind_any;
    }
}

} // namespace qbgl_sqlite
