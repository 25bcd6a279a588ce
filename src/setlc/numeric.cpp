// The section of LC_NUMERIC: string lines of the decimal point and the thousands separator, the grouping line, string lines of the
// positive and the negative sign.
#include "setlc/categories.h"
#include "setlc/text.h"

using namespace qbgl;

namespace {

constexpr gl_text gl_numeric_info::*TEXTS[] = {&gl_numeric_info::decimal_point, &gl_numeric_info::thousands_sep,
                                               &gl_numeric_info::positive_sign, &gl_numeric_info::negative_sign};

} // namespace

void _gl_init_numeric(gl_numeric_info *info) { *info = {}; }

int _gl_read_numeric(FILE *stream, gl_numeric_info *info, int32_t *error) {
    for (const auto text : TEXTS) (info->*text).bytes = nullptr;
    ByteReader in(stream);
    int32_t number = 0;
    if (str_readallc(in, info->decimal_point.bytes, number) && str_readallc(in, info->thousands_sep.bytes, number) &&
        read_group(in, info->grouping, number) && str_readallc(in, info->positive_sign.bytes, number))
        str_readallc(in, info->negative_sign.bytes, number);
    return section_result(number, error);
}

void _gl_copy_numeric(gl_locale *target, gl_locale *source) { target->numeric = source->numeric; }

int qbgl::init_numeric_info(gl_locale *locale) {
    if (const int ready = ready_for_texts(locale); ready != 1) return ready;
    for (const auto text : TEXTS)
        if (!make_wide(locale, locale->numeric.*text)) return -1;
    return create_glconv_numeric(locale) == 0 ? 1 : -1;
}

void qbgl::free_numeric(gl_numeric_info *info) {
    for (const auto text : TEXTS) free_text(info->*text);
}
