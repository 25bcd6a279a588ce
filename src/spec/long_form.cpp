// The long form of a short one, and the check of a long form.
#include "spec/long_form.h"

using namespace qbgl;

namespace {

// Takes the codeset and the modifier behind the dot. White space may follow the modifier only, and there must be a separator.
bool take_codeset_and_modifier(Cursor &at, std::string_view &codeset) {
    if (at.peek() == '#') return false;
    codeset = at.take_while([](char c) { return is_codeset_char(c) && c != ';'; });
    if (codeset.size() > EXPANDED_CODESET_MAX) return false;
    if (at.at_end()) return true;
    if (!at.skip('@')) return false;
    at.take_while(ascii::is_alnum);
    return at.at_value_end();
}

int expand(void *ctx, const char *text, char *long_out, const char *registry_path) {
    Cursor at(text);
    std::string_view place;
    if (take_place(at, place) != DONE) return GL_EINVAL;
    if (!at.at_end() && !ascii::is_space(at.peek())) {
        std::string_view codeset;
        if (!at.skip('.') || !take_codeset_and_modifier(at, codeset)) return GL_EINVAL;
        if (at.position() - text > VALUE_MAX) return GL_EINVAL;
        if (codeset_number(ctx, codeset, registry_path) == GL_NO_CODESET) return SILENT;
    }
    const std::string_view value(text, at.position() - text);
    Writer out(long_out);
    for (const std::string_view keyword : LONG_FORM) {
        if (keyword != LONG_FORM.front()) out.put(SEPARATOR);
        out.put(keyword);
        out.put(EQUALS);
        out.put_lower(value);
    }
    out.terminate();
    return DONE;
}

// A clause's value with an optional codeset, which may be of any length, and a modifier only behind a codeset.
int check_value(Cursor &at) {
    std::string_view place;
    if (const int outcome = take_place(at, place)) return outcome;
    if (!at.skip('.')) return DONE;
    const std::string_view codeset = at.take_while(is_codeset_char);
    if (codeset.find(';') != codeset.npos) return GL_EINVAL;
    if (at.skip('@')) at.take_while(ascii::is_alnum);
    return DONE;
}

int check_long_form(const char *text) {
    Cursor at(text);
    CategorySet seen;
    do {
        const Category *category = take_category(at);
        if (category == nullptr || !seen.add(*category) || !at.skip(EQUALS)) return GL_EINVAL;
        if (const int outcome = check_value(at)) return outcome;
        if (at.at_end()) return DONE;
        if (!at.skip(SEPARATOR)) return GL_EINVAL;
    } while (!at.at_end());
    return DONE;
}

} // namespace

int gl_lc_short2lc_long(void *ctx, const char *short_spec, char *long_out, const char *registry_path) {
    return over_copy(ctx, short_spec, long_out, [=](const char *text) { return expand(ctx, text, long_out, registry_path); });
}

int gl_is_lc_spec(void *ctx, const char *spec) { return over_copy(ctx, spec, spec, check_long_form); }
