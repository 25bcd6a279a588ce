// Splitting a locale's file name and joining a normal short form.
#include "spec/short_form.h"

#include <algorithm>

using namespace qbgl;

namespace {

constexpr size_t CODESET_DIGITS_MAX = 5;

int split(const char *fname, char *lang_terr_out, char *cs_out, char *modifier_out) {
    Cursor at(fname);
    std::string_view place;
    if (take_place(at, place) != DONE) return GL_EINVAL;
    if (!at.skip('/') && !at.skip('\\')) return SILENT;
    uint16_t codeset;
    if (!take_hex4(at, codeset)) return GL_EINVAL;
    std::string_view modifier = at.take(MODIFIER_MAX);
    modifier = head_of(modifier, modifier.find('.'));

    Writer lang_terr(lang_terr_out), cs(cs_out), mod(modifier_out);
    lang_terr.put_lower(head_of(place, 3));
    lang_terr.put_upper(tail_of(place, 3));
    lang_terr.terminate();
    cs.put_decimal(codeset);
    cs.terminate();
    mod.put(modifier);
    mod.terminate();
    return DONE;
}

int join(std::string_view lang_terr, std::string_view cs, std::string_view modifier, char *spec_out) {
    Cursor at(lang_terr.data());
    std::string_view place;
    if (take_place(at, place) != DONE || !at.at_end()) return GL_EINVAL;
    if (cs.empty() || !std::all_of(cs.begin(), cs.end(), ascii::is_xdigit)) return GL_EINVAL;
    Writer out(spec_out);
    out.put(place);
    out.put('.');
    out.put(head_of(cs, CODESET_DIGITS_MAX));
    if (!modifier.empty()) {
        out.put('@');
        out.put(head_of(modifier, MODIFIER_MAX));
    }
    out.terminate();
    return DONE;
}

} // namespace

int gl_lc_fname2lc_pieces(void *ctx, const char *fname, char *lang_terr_out, char *cs_out, char *modifier_out) {
    if (lang_terr_out == nullptr || cs_out == nullptr) return report(ctx, GL_EINVAL);
    return over_copy(ctx, fname, modifier_out, [=](const char *text) { return split(text, lang_terr_out, cs_out, modifier_out); });
}

int gl_lc_pieces2lc_spec(void *ctx, const char *lang_terr, const char *cs, const char *modifier, char *spec_out) {
    if (lang_terr == nullptr || cs == nullptr || spec_out == nullptr) return report(ctx, GL_EINVAL);
    return report(ctx, join(lang_terr, cs, modifier != nullptr ? modifier : "", spec_out));
}
