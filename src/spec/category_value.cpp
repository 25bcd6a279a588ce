// One category's value out of a long form.
#include "spec/long_form.h"

#include <algorithm>

using namespace qbgl;

namespace {

struct Value {
    std::string_view text;
    bool has_codeset;
    std::string_view codeset;
};

bool parse_value(Cursor at, Value &value) {
    const char *start = at.position();
    std::string_view place;
    if (take_place(at, place) != DONE) return false;
    value.has_codeset = at.skip('.');
    value.codeset = {};
    if (value.has_codeset) value.codeset = at.take_while(is_codeset_char);
    if (at.skip('@')) at.take_while(ascii::is_alnum);
    value.text = {start, static_cast<size_t>(at.position() - start)};
    return at.at_value_end() && value.codeset.size() <= CODESET_NAME_MAX && value.text.size() <= VALUE_MAX;
}

// By number: the names may be aliases of one codeset.
int check_codesets(const std::array<Value, CATEGORY_COUNT> &values, void *ctx, const char *registry_path) {
    std::array<uint16_t, CATEGORY_COUNT> numbers;
    for (int i = 0; i < CATEGORY_COUNT; ++i) {
        numbers[i] = codeset_number(ctx, values[i].codeset, registry_path);
        if (numbers[i] == GL_NO_CODESET) return SILENT;
        if (numbers[i] != numbers[0]) return GL_EINVAL;
    }
    return DONE;
}

int extract(void *ctx, const char *text, int selector, char *out, const char *registry_path) {
    Values found;
    if (find_category(Cursor(text)) == nullptr || !find_values(text, found)) return GL_EINVAL;
    std::array<Value, CATEGORY_COUNT> values;
    for (int i = 0; i < CATEGORY_COUNT; ++i)
        if (!parse_value(found[i], values[i])) return GL_EINVAL;
    if (selector < GL_CAT_CTYPE || selector > GL_CAT_MESSAGES) return DONE;

    const Value &chosen = values[selector - GL_CAT_CTYPE];
    if (chosen.has_codeset)
        if (const int outcome = check_codesets(values, ctx, registry_path)) return outcome;
    Writer writer(out);
    writer.put(chosen.text);
    writer.terminate();
    return DONE;
}

} // namespace

int gl_lc_spec2category(void *ctx, const char *long_spec, int selector, char *out, const char *registry_path) {
    return over_copy(ctx, long_spec, out, [=](const char *text) { return extract(ctx, text, selector, out, registry_path); });
}
