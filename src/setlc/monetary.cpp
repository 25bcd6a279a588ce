// The section of LC_MONETARY: string lines of the international and the local currency symbol, the decimal point and the thousands
// separator, the grouping line, string lines of the positive and the negative sign, and the eight layout numbers on lines of their
// own.
#include "ext/error.h"
#include "multi/walk.h"
#include "setlc/categories.h"
#include "setlc/text.h"
#include "tree/bytewise.h"

#include <string.h>
#include <utility>

using namespace qbgl;

namespace {

constexpr gl_text gl_monetary_info::*TEXTS[] = {&gl_monetary_info::int_curr_symbol,   &gl_monetary_info::currency_symbol,
                                                &gl_monetary_info::mon_decimal_point, &gl_monetary_info::mon_thousands_sep,
                                                &gl_monetary_info::positive_sign,     &gl_monetary_info::negative_sign};
constexpr int TEXTS_BEFORE_GROUPING = 4;

constexpr int32_t gl_monetary_info::*LAYOUT[] = {&gl_monetary_info::int_frac_digits, &gl_monetary_info::frac_digits,
                                                 &gl_monetary_info::p_cs_precedes,   &gl_monetary_info::p_sep_by_space,
                                                 &gl_monetary_info::n_cs_precedes,   &gl_monetary_info::n_sep_by_space,
                                                 &gl_monetary_info::p_sign_posn,     &gl_monetary_info::n_sign_posn};

// A string line that fails does not end the reading: the number tells of it once the first layout number is read.
void read_lines(ByteReader &in, gl_monetary_info &info, int32_t &number) {
    for (int i = 0; i < TEXTS_BEFORE_GROUPING; ++i) str_readallc(in, (info.*TEXTS[i]).bytes, number);
    if (!read_group(in, info.mon_grouping, number)) return;
    str_readallc(in, info.positive_sign.bytes, number);
    str_readallc(in, info.negative_sign.bytes, number);
    for (const auto field : LAYOUT) {
        info.*field = static_cast<int32_t>(in.integer());
        const bool ended = in.skip_newline();
        if (number == 0 && !ended) number = GL_EBADFILE;
        if (number != 0) return;
    }
}

// What gl_langinfo tells of the currency.
bool make_crncystr(gl_locale *locale) {
    const gl_monetary_info &info = locale->monetary;
    const int symbol = info.currency_symbol.bytes != nullptr ? text_bytes(locale, info.currency_symbol.bytes) : 0;
    if (symbol < 0) return false;
    const gl_wchar place = static_cast<uint8_t>(info.p_cs_precedes != 0 ? '-' : '+');
    uint8_t bytes[MAX_KEY] = {static_cast<uint8_t>(place)};
    const int length = bytes_are_characters(locale) ? 1 : encode(*locale->ctype.codeset_table, bytes, place); // 0 where it has none
    _gl_free_ptr(locale->info.crncystr);
    locale->info.crncystr = allocate_text(static_cast<uint32_t>(length + symbol));
    if (locale->info.crncystr == nullptr) return fail(locale, GL_ENOMEM, false);
    memcpy(locale->info.crncystr, bytes, static_cast<size_t>(length));
    if (symbol > 0) memcpy(locale->info.crncystr + length, info.currency_symbol.bytes, static_cast<size_t>(symbol));
    return true;
}

} // namespace

void _gl_init_monetary(gl_monetary_info *info) {
    *info = {};
    for (const auto field : LAYOUT) info->*field = GL_NOT_AVAILABLE;
}

int _gl_read_monetary(FILE *stream, gl_monetary_info *info, int32_t *error) {
    if (error == nullptr) return -1;
    for (const auto text : TEXTS) (info->*text).bytes = nullptr;
    ByteReader in(stream);
    int32_t number = 0;
    read_lines(in, *info, number);
    return section_result(number, error);
}

void _gl_copy_monetary(gl_locale *target, gl_locale *source) { target->monetary = source->monetary; }

int qbgl::init_monetary_info(gl_locale *locale) {
    if (const int ready = ready_for_texts(locale); ready != 1) return ready;
    for (const auto text : TEXTS)
        if (!make_wide(locale, locale->monetary.*text)) return -1;
    return create_glconv_monetary(locale) == 0 && make_crncystr(locale) ? 1 : -1;
}

void qbgl::free_monetary(gl_locale *locale) {
    for (const auto text : TEXTS) free_text(locale->monetary.*text);
    _gl_free_ptr(std::exchange(locale->info.crncystr, nullptr));
}
