// Normal forms.
#include "spec/specification.h"

using namespace qbgl;

namespace {

int normalise_short(const char *text, char *norm_out, const char *registry_path) {
    Specification spec;
    if (const int outcome = parse_specification(text, registry_path, spec)) return outcome;
    if (spec.is_long) return SILENT;
    Writer out(norm_out);
    put_normal_form(out, spec.clauses[0].form);
    out.terminate();
    return DONE;
}

// Six clauses, each with its separator; keywords may repeat, and nothing is read behind the sixth. The codesets must agree.
int normalise_long(const char *text, char *norm_out, const char *registry_path) {
    Cursor at(text);
    Writer out(norm_out);
    uint16_t codeset = 0;
    for (int i = 0; i < CATEGORY_COUNT; ++i) {
        const Category *category = take_category(at);
        ShortForm form;
        if (category == nullptr || !at.skip(EQUALS) || !take_short_form(at, nullptr, registry_path, form)) return GL_EINVAL;
        if (i == 0) codeset = form.codeset;
        if (form.codeset != codeset) return GL_EINVAL;
        if (!at.skip(SEPARATOR)) return SILENT;
        out.put(category->keyword);
        out.put(EQUALS);
        put_normal_form(out, form);
        out.put(SEPARATOR);
    }
    out.terminate();
    return DONE;
}

} // namespace

int _gl_lc_short_spec2lc_short_norm(void *ctx, const char *spec, char *norm_out, const char *registry_path) {
    return over_copy(ctx, spec, norm_out, [=](const char *text) { return normalise_short(text, norm_out, registry_path); });
}

int gl_lc_spec2lc_norm(void *ctx, const char *spec, char *norm_out, const char *registry_path) {
    return over_copy(ctx, spec, norm_out, [=](const char *text) {
        const auto normalise = find_category(Cursor(text)) != nullptr ? normalise_long : normalise_short;
        return normalise(text, norm_out, registry_path);
    });
}
