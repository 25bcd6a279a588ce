// The texts of a locale by item.
#include "ext/error.h"

using namespace qbgl;

namespace {

using Text = char *gl_time_info::*;
constexpr Text TIME_TEXTS[] = {&gl_time_info::d_t_fmt,    &gl_time_info::d_fmt, &gl_time_info::t_fmt,
                               &gl_time_info::t_fmt_ampm, &gl_time_info::am,    &gl_time_info::pm};

// Null for what is not there, and for what is no item, which is told.
const char *text_of(gl_locale *locale, int item) {
    const gl_time_info &time = locale->time;
    const auto among = [item](int first, int count) { return first <= item && item < first + count; };
    if (among(GL_D_T_FMT, GL_ERA - GL_D_T_FMT)) return time.*TIME_TEXTS[item - GL_D_T_FMT];
    if (among(GL_DAY_1, 7)) return time.day[item - GL_DAY_1];
    if (among(GL_ABDAY_1, 7)) return time.abday[item - GL_ABDAY_1];
    constexpr int MOST_MONTHS = GL_ABMON_1 - GL_MON_1;
    if (among(GL_MON_1, MOST_MONTHS)) return item - GL_MON_1 < time.mon.count ? time.mon.bytes[item - GL_MON_1] : nullptr;
    if (among(GL_ABMON_1, MOST_MONTHS)) return item - GL_ABMON_1 < time.abmon.count ? time.abmon.bytes[item - GL_ABMON_1] : nullptr;
    switch (item) {
    case GL_CODESET: return locale->codeset_name[GL_CAT_CTYPE];
    case GL_RADIXCHAR: return locale->numeric.decimal_point.bytes;
    case GL_THOUSEP: return locale->numeric.thousands_sep.bytes;
    case GL_CRNCYSTR: return locale->info.crncystr;
    case GL_YESEXPR: return locale->messages.yesexpr.bytes;
    case GL_NOEXPR: return locale->messages.noexpr.bytes;
    case GL_YESSTR: return locale->messages.yesstr.bytes;
    case GL_NOSTR: return locale->messages.nostr.bytes;
    case GL_ERA: return locale->info.era;
    case GL_ERA_D_T_FMT: return time.era_d_t_fmt;
    case GL_ERA_D_FMT: return time.era_d_fmt;
    case GL_ERA_T_FMT: return time.era_t_fmt;
    case GL_ALT_DIGITS: return locale->info.alt_digits;
    default: return fail(locale, GL_EBADARG, nullptr);
    }
}

constexpr char EMPTY[8] = {}; // in any codeset

} // namespace

const char *gl_langinfo(gl_locale *locale, int item) {
    const char *text = text_of(locale, item);
    return text != nullptr ? text : EMPTY;
}
