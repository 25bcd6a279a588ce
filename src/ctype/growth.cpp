// The room that text in the other case needs.
#include "qbgl.h"
#include "qbnxdl/entry_points.h"
#include "qbnxdl/served.h"

#include <algorithm>

using namespace qbgl;

int gl_case_conv_outbuflen(gl_locale *locale, int n) {
    if (served_by_extension(locale, GL_CAT_CTYPE)) {
        const auto ask = fn_glu_case_conv_outbuflen;
        return can_ask(locale, GL_CAT_CTYPE, ask) ? ask(locale->glu_handle[GL_CAT_CTYPE], n) : -1;
    }
    const double growth = std::clamp(locale->case_growth, double(INT32_MIN), double(INT32_MAX));
    const auto whole = static_cast<int64_t>(growth);
    const int64_t factor = growth == static_cast<double>(whole) ? whole : whole + 1;
    return static_cast<int>(std::clamp<int64_t>(n * factor, INT32_MIN, INT32_MAX));
}
