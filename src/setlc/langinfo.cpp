// The texts and some numbers of a locale by item.
#include "ext/error.h"
#include "setlc/more.h"

#include <climits>
#include <iterator>

using namespace qbgl;

namespace {

using Text = char *gl_time_info::*;
constexpr Text TIME_TEXTS[] = {&gl_time_info::d_t_fmt,    &gl_time_info::d_fmt, &gl_time_info::t_fmt,
                               &gl_time_info::t_fmt_ampm, &gl_time_info::am,    &gl_time_info::pm};

struct Layout {
    int32_t gl_monetary_info::*own, gl_money_layout::*international;
};
constexpr Layout LAYOUT[] = {{&gl_monetary_info::p_cs_precedes, &gl_money_layout::p_cs_precedes},
                             {&gl_monetary_info::p_sep_by_space, &gl_money_layout::p_sep_by_space},
                             {&gl_monetary_info::n_cs_precedes, &gl_money_layout::n_cs_precedes},
                             {&gl_monetary_info::n_sep_by_space, &gl_money_layout::n_sep_by_space},
                             {&gl_monetary_info::p_sign_posn, &gl_money_layout::p_sign_posn},
                             {&gl_monetary_info::n_sign_posn, &gl_money_layout::n_sign_posn}};

const char *month(const gl_text_list &list, int at) { return at < list.count ? list.bytes[at] : nullptr; }
const char *alternative_month(gl_text_list gl_time_more::*own, const gl_time_more *more, const gl_text_list &otherwise, int at) {
    return month(more != nullptr && (more->*own).count != 0 ? more->*own : otherwise, at);
}

constexpr char NUMBERS[][2] = {{0}, {1}, {2}, {3}, {4}, {5}, {6}, {7}}, UNKNOWN[] = {CHAR_MAX, 0};

const char *number(int32_t value) {
    return 0 <= value && value < static_cast<int32_t>(std::size(NUMBERS)) ? NUMBERS[value] : UNKNOWN;
}

const char *number_of(const gl_time_more &more, int item) {
    constexpr int32_t SUNDAY = 0, DAYS = 7;
    if (item == GL_WEEK_1STWEEK) return number(more.week[2] != 0 ? more.week[2] : DAYS);
    const int32_t counted = item == GL_FIRST_WEEKDAY ? more.first_weekday : more.first_workday;
    if (counted == 0) return number(item == GL_FIRST_WEEKDAY ? 1 : 2); // Sunday and Monday, as everywhere where nothing is said
    const int32_t date = more.week[1];
    const int32_t first = date == 0 ? SUNDAY : _gl_gregorian_weekday(date % 100, date / 100 % 100 - 1, date / 10000);
    return number((first + counted - 1) % DAYS + 1);
}

// Null for what is not there, and for what is no item, which is told.
const char *text_of(gl_locale *locale, int item) {
    const gl_time_info &time = locale->time;
    const gl_time_more *const more = locale->time_more;
    const gl_monetary_info &money = locale->monetary;
    const auto among = [item](int first, int count) { return first <= item && item < first + count; };
    if (among(GL_D_T_FMT, GL_ERA - GL_D_T_FMT)) return time.*TIME_TEXTS[item - GL_D_T_FMT];
    if (among(GL_DAY_1, 7)) return time.day[item - GL_DAY_1];
    if (among(GL_ABDAY_1, 7)) return time.abday[item - GL_ABDAY_1];
    constexpr int MOST_MONTHS = GL_ABMON_1 - GL_MON_1;
    if (among(GL_MON_1, MOST_MONTHS)) return month(time.mon, item - GL_MON_1);
    if (among(GL_ABMON_1, MOST_MONTHS)) return month(time.abmon, item - GL_ABMON_1);
    if (among(GL_ALTMON_1, MOST_MONTHS)) return alternative_month(&gl_time_more::alt_mon, more, time.mon, item - GL_ALTMON_1);
    if (among(GL_ABALTMON_1, MOST_MONTHS))
        return alternative_month(&gl_time_more::ab_alt_mon, more, time.abmon, item - GL_ABALTMON_1);
    if (among(GL_FIRST_WEEKDAY, 3)) return more != nullptr ? number_of(*more, item) : UNKNOWN;
    switch (item) {
    case GL_CODESET: return locale->codeset_name[GL_CAT_CTYPE];
    case GL_RADIXCHAR: return locale->numeric.decimal_point.bytes;
    case GL_THOUSEP: return locale->numeric.thousands_sep.bytes;
    case GL_CRNCYSTR: return locale->info.crncystr;
    case GL_YESEXPR: return locale->messages.yesexpr.bytes;
    case GL_NOEXPR: return locale->messages.noexpr.bytes;
    case GL_YESSTR: return locale->messages.yesstr.bytes;
    case GL_NOSTR: return locale->messages.nostr.bytes;
    case GL_INT_CURR_SYMBOL: return money.int_curr_symbol.bytes;
    case GL_CURRENCY_SYMBOL: return money.currency_symbol.bytes;
    case GL_MON_DECIMAL_POINT: return money.mon_decimal_point.bytes;
    case GL_MON_THOUSANDS_SEP: return money.mon_thousands_sep.bytes;
    case GL_POSITIVE_SIGN: return money.positive_sign.bytes;
    case GL_NEGATIVE_SIGN: return money.negative_sign.bytes;
    case GL_ERA: return locale->info.era;
    case GL_ERA_D_T_FMT: return time.era_d_t_fmt;
    case GL_ERA_D_FMT: return time.era_d_fmt;
    case GL_ERA_T_FMT: return time.era_t_fmt;
    case GL_ALT_DIGITS: return locale->info.alt_digits;
    case GL_DATE_FMT: return more != nullptr && more->date_fmt != nullptr ? more->date_fmt : time.d_t_fmt;
    default: break;
    }
    if (!among(GL_INT_P_CS_PRECEDES, static_cast<int>(std::size(LAYOUT)))) return fail(locale, GL_EBADARG, nullptr);
    // What the locale says of its own symbol goes for the international one, unless it says something else of that.
    const auto [own, international] = LAYOUT[item - GL_INT_P_CS_PRECEDES];
    const int32_t value = locale->int_money.*international;
    return number(value != GL_NOT_AVAILABLE ? value : money.*own);
}

constexpr char EMPTY[8] = {}; // in any codeset

} // namespace

const char *gl_langinfo(gl_locale *locale, int item) {
    const char *text = text_of(locale, item);
    return text != nullptr ? text : EMPTY;
}
