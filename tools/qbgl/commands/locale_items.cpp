#include "commands/locale_items.h"

#include "frame/json.h"
#include "text/shown_text.h"
#include "tree/locale_handle.h"

#include <algorithm>
#include <climits>
#include <fmt/format.h>

namespace qbgl {

namespace {

struct Keyword {
    const char *name;
    int category, first, count;
    bool is_number = false;
};

constexpr Keyword KEYWORDS[] = {{"charmap", GL_CAT_CTYPE, GL_CODESET, 1},
                                {"decimal_point", GL_CAT_NUMERIC, GL_RADIXCHAR, 1},
                                {"thousands_sep", GL_CAT_NUMERIC, GL_THOUSEP, 1},
                                {"crncystr", GL_CAT_MONETARY, GL_CRNCYSTR, 1},
                                {"int_curr_symbol", GL_CAT_MONETARY, GL_INT_CURR_SYMBOL, 1},
                                {"currency_symbol", GL_CAT_MONETARY, GL_CURRENCY_SYMBOL, 1},
                                {"mon_decimal_point", GL_CAT_MONETARY, GL_MON_DECIMAL_POINT, 1},
                                {"mon_thousands_sep", GL_CAT_MONETARY, GL_MON_THOUSANDS_SEP, 1},
                                {"positive_sign", GL_CAT_MONETARY, GL_POSITIVE_SIGN, 1},
                                {"negative_sign", GL_CAT_MONETARY, GL_NEGATIVE_SIGN, 1},
                                {"int_p_cs_precedes", GL_CAT_MONETARY, GL_INT_P_CS_PRECEDES, 1, true},
                                {"int_p_sep_by_space", GL_CAT_MONETARY, GL_INT_P_SEP_BY_SPACE, 1, true},
                                {"int_n_cs_precedes", GL_CAT_MONETARY, GL_INT_N_CS_PRECEDES, 1, true},
                                {"int_n_sep_by_space", GL_CAT_MONETARY, GL_INT_N_SEP_BY_SPACE, 1, true},
                                {"int_p_sign_posn", GL_CAT_MONETARY, GL_INT_P_SIGN_POSN, 1, true},
                                {"int_n_sign_posn", GL_CAT_MONETARY, GL_INT_N_SIGN_POSN, 1, true},
                                {"abday", GL_CAT_TIME, GL_ABDAY_1, 7},
                                {"day", GL_CAT_TIME, GL_DAY_1, 7},
                                {"abmon", GL_CAT_TIME, GL_ABMON_1, GL_ABMON_1 - GL_MON_1},
                                {"mon", GL_CAT_TIME, GL_MON_1, GL_ABMON_1 - GL_MON_1},
                                {"ab_alt_mon", GL_CAT_TIME, GL_ABALTMON_1, GL_ABMON_1 - GL_MON_1},
                                {"alt_mon", GL_CAT_TIME, GL_ALTMON_1, GL_ABMON_1 - GL_MON_1},
                                {"am_pm", GL_CAT_TIME, GL_AM_STR, 2},
                                {"d_t_fmt", GL_CAT_TIME, GL_D_T_FMT, 1},
                                {"d_fmt", GL_CAT_TIME, GL_D_FMT, 1},
                                {"t_fmt", GL_CAT_TIME, GL_T_FMT, 1},
                                {"t_fmt_ampm", GL_CAT_TIME, GL_T_FMT_AMPM, 1},
                                {"date_fmt", GL_CAT_TIME, GL_DATE_FMT, 1},
                                {"first_weekday", GL_CAT_TIME, GL_FIRST_WEEKDAY, 1, true},
                                {"first_workday", GL_CAT_TIME, GL_FIRST_WORKDAY, 1, true},
                                {"week-1stweek", GL_CAT_TIME, GL_WEEK_1STWEEK, 1, true},
                                {"era", GL_CAT_TIME, GL_ERA, 1},
                                {"era_d_fmt", GL_CAT_TIME, GL_ERA_D_FMT, 1},
                                {"era_t_fmt", GL_CAT_TIME, GL_ERA_T_FMT, 1},
                                {"era_d_t_fmt", GL_CAT_TIME, GL_ERA_D_T_FMT, 1},
                                {"alt_digits", GL_CAT_TIME, GL_ALT_DIGITS, 1},
                                {"yesexpr", GL_CAT_MESSAGES, GL_YESEXPR, 1},
                                {"noexpr", GL_CAT_MESSAGES, GL_NOEXPR, 1},
                                {"yesstr", GL_CAT_MESSAGES, GL_YESSTR, 1},
                                {"nostr", GL_CAT_MESSAGES, GL_NOSTR, 1}};

} // namespace

std::vector<std::string> item_keywords() {
    std::vector<std::string> names;
    for (const Keyword &keyword : KEYWORDS) names.emplace_back(keyword.name);
    return names;
}

std::string item_line(gl_locale &locale, const std::string &keyword, bool as_json) {
    const auto *const item =
        std::find_if(std::begin(KEYWORDS), std::end(KEYWORDS), [&](const Keyword &one) { return one.name == keyword; });
    const TextView view(category_codeset(locale, item->category));
    std::vector<std::string> values;
    int count = item->count;
    if (item->first == GL_MON_1 || item->first == GL_ALTMON_1) count = locale.time.mon.count;
    if (item->first == GL_ABMON_1 || item->first == GL_ABALTMON_1) count = locale.time.abmon.count;
    if (item->is_number) {
        const char value = *gl_langinfo(&locale, item->first);
        const std::string shown = value != CHAR_MAX ? std::to_string(value) : as_json ? "null" : "-1";
        return as_json ? JsonObject().raw(keyword, shown).str() + "\n" : fmt::format("{}={}\n", keyword, shown);
    }
    for (int i = 0; i < count; ++i) {
        const char *text = gl_langinfo(&locale, item->first + i);
        values.push_back(item->first == GL_CODESET ? text : as_json ? view.plain(text) : view.visible(text));
    }
    if (as_json) {
        const std::string value = item->count == 1 ? json_string(values.front()) : json_strings(values);
        return JsonObject().raw(keyword, value).str() + "\n";
    }
    return fmt::format("{}=\"{}\"\n", keyword, fmt::join(values, ";"));
}

} // namespace qbgl
