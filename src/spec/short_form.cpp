#include "spec/short_form.h"
#include "spec/registry.h"

namespace qbgl {

bool take_short_form(Cursor &at, void *ctx, const char *registry_path, ShortForm &form) {
    if (take_place(at, form.place) != DONE || !at.skip('.')) return false;
    if (!ascii::is_graph(at.peek()) || at.peek() == '#') return false;
    const std::string_view name = at.take_while(is_codeset_char);
    if (name.size() > CODESET_NAME_MAX) return false;
    form.codeset = codeset_number(ctx, name, registry_path);
    if (form.codeset == GL_NO_CODESET) return false;
    form.modifier = {};
    if (at.skip('@')) form.modifier = at.take_while(ascii::is_alnum);
    return form.modifier.size() <= MODIFIER_MAX;
}

void put_file_name(Writer &out, const ShortForm &form) {
    out.put_lower(form.place);
    out.put('/');
    out.put_hex4(form.codeset);
    out.put(form.modifier);
    out.put(".lco");
}

void put_normal_form(Writer &out, const ShortForm &form) {
    out.put_lower(head_of(form.place, 3));
    out.put_upper(tail_of(form.place, 3));
    out.put('.');
    out.put_decimal(form.codeset);
    if (form.modifier.empty()) return;
    out.put('@');
    out.put(form.modifier);
}

} // namespace qbgl

using namespace qbgl;

int _gl_is_xopen_spec(void *ctx, const char **input, char **output, uint16_t *cs_num, const char *registry_path) {
    Cursor at(*input);
    ShortForm form;
    if (!take_short_form(at, ctx, registry_path, form)) return 0;
    Writer out(*output);
    put_file_name(out, form);
    out.terminate();
    *input = at.position();
    *output = out.position();
    *cs_num = form.codeset;
    return 1;
}
