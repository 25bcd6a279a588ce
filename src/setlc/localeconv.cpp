// The conversion record: the numeric and monetary conventions as hosts know them from localeconv, in copies of its own.
#include "ext/error.h"
#include "setlc/categories.h"
#include "setlc/text.h"
#include "util/owned.h"

#include <span>
#include <string.h>

using namespace qbgl;

namespace {

constexpr int LONGEST_TEXT = 255; // characters
constexpr signed char NOT_AVAILABLE = 127;

// A text of a category and where its copy goes.
template <class Info> struct TextField {
    gl_text Info::*from;
    char *gl_lconv::*to;
    gl_wchar *gl_lconv::*wide;
};

constexpr TextField<gl_numeric_info> NUMERIC_TEXTS[] = {
    {&gl_numeric_info::decimal_point, &gl_lconv::decimal_point, &gl_lconv::w_decimal_point},
    {&gl_numeric_info::thousands_sep, &gl_lconv::thousands_sep, &gl_lconv::w_thousands_sep},
    {&gl_numeric_info::positive_sign, &gl_lconv::num_positive_sign, &gl_lconv::w_num_positive_sign},
    {&gl_numeric_info::negative_sign, &gl_lconv::num_negative_sign, &gl_lconv::w_num_negative_sign}};

constexpr TextField<gl_monetary_info> MONETARY_TEXTS[] = {
    {&gl_monetary_info::int_curr_symbol, &gl_lconv::int_curr_symbol, &gl_lconv::w_int_curr_symbol},
    {&gl_monetary_info::currency_symbol, &gl_lconv::currency_symbol, &gl_lconv::w_currency_symbol},
    {&gl_monetary_info::mon_decimal_point, &gl_lconv::mon_decimal_point, &gl_lconv::w_mon_decimal_point},
    {&gl_monetary_info::mon_thousands_sep, &gl_lconv::mon_thousands_sep, &gl_lconv::w_mon_thousands_sep},
    {&gl_monetary_info::positive_sign, &gl_lconv::positive_sign, &gl_lconv::w_positive_sign},
    {&gl_monetary_info::negative_sign, &gl_lconv::negative_sign, &gl_lconv::w_negative_sign}};

struct LayoutField {
    int32_t gl_monetary_info::*from;
    signed char gl_lconv::*to;
};

constexpr LayoutField LAYOUT[] = {{&gl_monetary_info::int_frac_digits, &gl_lconv::int_frac_digits},
                                  {&gl_monetary_info::frac_digits, &gl_lconv::frac_digits},
                                  {&gl_monetary_info::p_cs_precedes, &gl_lconv::p_cs_precedes},
                                  {&gl_monetary_info::p_sep_by_space, &gl_lconv::p_sep_by_space},
                                  {&gl_monetary_info::n_cs_precedes, &gl_lconv::n_cs_precedes},
                                  {&gl_monetary_info::n_sep_by_space, &gl_lconv::n_sep_by_space},
                                  {&gl_monetary_info::p_sign_posn, &gl_lconv::p_sign_posn},
                                  {&gl_monetary_info::n_sign_posn, &gl_lconv::n_sign_posn}};

// A null or too long text is not copied.
bool copy_text(gl_locale *locale, const char *text, char *&copy) {
    if (text == nullptr) return true;
    const int characters = text_characters(locale, text);
    if (characters > LONGEST_TEXT) return true;
    const int size = text_bytes(locale, text);
    if (characters < 0 || size < 0) return false;
    copy = allocate_text(static_cast<uint32_t>(size));
    if (copy == nullptr) {
        set_error(locale, GL_ENOMEM);
        return false;
    }
    memcpy(copy, text, static_cast<size_t>(size));
    return true;
}

// A byte for each size, ended by 0; nothing for an empty grouping.
bool copy_grouping(gl_locale *locale, const gl_grouping &grouping, char *&copy) {
    if (grouping.count < 1) return true;
    copy = static_cast<char *>(_gl_alloc_ptr(static_cast<uint32_t>(grouping.count) + 1));
    if (copy == nullptr) {
        set_error(locale, GL_ENOMEM);
        return false;
    }
    for (int32_t i = 0; i < grouping.count; ++i) copy[i] = static_cast<char>(grouping.sizes[i]);
    copy[grouping.count] = '\0';
    return true;
}

template <class Info> bool copy_texts(gl_locale *locale, std::span<const TextField<Info>> fields, const Info &info) {
    gl_lconv &conv = locale->conv;
    for (const auto &field : fields)
        if (!copy_text(locale, (info.*field.from).bytes, conv.*field.to)) return false;
    for (const auto &field : fields)
        if (!alloc_wc_from_mb(locale, conv.*field.to, conv.*field.wide)) return false;
    return true;
}

template <class Info> void empty_texts(gl_lconv &conv, std::span<const TextField<Info>> fields) {
    for (const auto &field : fields) {
        conv.*field.to = nullptr;
        conv.*field.wide = nullptr;
    }
}

template <class Info> void free_texts(gl_lconv &conv, std::span<const TextField<Info>> fields) {
    for (const auto &field : fields) {
        _gl_free_ptr(conv.*field.to);
        _gl_free_ptr(conv.*field.wide);
    }
}

} // namespace

void qbgl::init_glconv_numeric(gl_lconv *conv) {
    empty_texts<gl_numeric_info>(*conv, NUMERIC_TEXTS);
    conv->grouping = nullptr;
}

void qbgl::init_glconv_monetary(gl_lconv *conv) {
    empty_texts<gl_monetary_info>(*conv, MONETARY_TEXTS);
    conv->mon_grouping = nullptr;
    for (const LayoutField &field : LAYOUT) conv->*field.to = NOT_AVAILABLE;
}

int qbgl::create_glconv_numeric(gl_locale *locale) {
    free_glconv_numeric(&locale->conv);
    const bool done = copy_texts<gl_numeric_info>(locale, NUMERIC_TEXTS, locale->numeric) &&
                      copy_grouping(locale, locale->numeric.grouping, locale->conv.grouping);
    return done ? 0 : -1;
}

int qbgl::create_glconv_monetary(gl_locale *locale) {
    free_glconv_monetary(&locale->conv);
    const gl_monetary_info &info = locale->monetary;
    for (const LayoutField &field : LAYOUT)
        locale->conv.*field.to = info.*field.from == GL_NOT_AVAILABLE ? NOT_AVAILABLE : static_cast<signed char>(info.*field.from);
    const bool done = copy_texts<gl_monetary_info>(locale, MONETARY_TEXTS, info) &&
                      copy_grouping(locale, info.mon_grouping, locale->conv.mon_grouping);
    return done ? 0 : -1;
}

void qbgl::free_glconv_numeric(gl_lconv *conv) {
    free_texts<gl_numeric_info>(*conv, NUMERIC_TEXTS);
    _gl_free_ptr(conv->grouping);
    init_glconv_numeric(conv);
}

void qbgl::free_glconv_monetary(gl_lconv *conv) {
    free_texts<gl_monetary_info>(*conv, MONETARY_TEXTS);
    _gl_free_ptr(conv->mon_grouping);
    init_glconv_monetary(conv);
}

const gl_lconv *gl_localeconv(gl_locale *locale) { return &locale->conv; }
