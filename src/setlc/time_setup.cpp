// What is derived from the texts of the time category once they are read.
#include "ext/error.h"
#include "setlc/text.h"
#include "setlc/time.h"
#include "util/owned.h"

#include <algorithm>
#include <span>

namespace qbgl {

namespace {

using Cache = void *gl_time_info::*;

constexpr Cache CACHES[] = {&gl_time_info::era_names,   &gl_time_info::era_formats,    &gl_time_info::mon_names,
                            &gl_time_info::abmon_names, &gl_time_info::day_names,      &gl_time_info::abday_names,
                            &gl_time_info::am_pm_names, &gl_time_info::alt_digit_names};

void free_cache(gl_locale *locale, Cache cache) { _gl_free_wc_cache(locale, std::exchange(locale->time.*cache, nullptr)); }

// A fresh cache of `count` names that name(i) gives.
template <class Name> bool cache_names(gl_locale *locale, Cache cache, int32_t count, Name name) {
    free_cache(locale, cache);
    for (int32_t i = 0; i < count; ++i) {
        if (_gl_cache_wc_string(locale, &(locale->time.*cache), name(i), i) == 0) continue;
        free_cache(locale, cache);
        return false;
    }
    return true;
}

bool widen(gl_locale *locale, std::span<const TimeText> texts) {
    for (const TimeText &text : texts)
        if (!alloc_wc_from_mb(locale, locale->time.*text.bytes, locale->time.*text.wide)) return false;
    return true;
}

bool widen(gl_locale *locale, std::span<char *const> texts, gl_wchar **wide) {
    for (size_t i = 0; i < texts.size(); ++i)
        if (!alloc_wc_from_mb(locale, texts[i], wide[i])) return false;
    return true;
}

bool widen(gl_locale *locale, gl_text_list &list) {
    if (list.count < 1) return true;
    if (list.wide == nullptr) {
        list.wide = Owned<gl_wchar *>::allocate(static_cast<uint32_t>(list.count)).release();
        if (list.wide == nullptr) return false;
        std::fill_n(list.wide, list.count, nullptr);
    }
    return widen(locale, {list.bytes, static_cast<size_t>(list.count)}, list.wide);
}

bool widen_eras(gl_locale *locale) {
    gl_time_info &info = locale->time;
    for (int32_t i = 0; i < info.era_count; ++i)
        if (!alloc_wc_from_mb(locale, info.eras[i].third, info.eras[i].w_third)) return false;
    return true;
}

} // namespace

int cache_strings_for_lookup(gl_locale *locale) {
    const gl_time_info &info = locale->time;
    const auto among = [](const auto &texts) { return [&texts](int32_t i) { return texts[i]; }; };
    const bool done =
        cache_names(locale, &gl_time_info::era_names, info.era_count, [&info](int32_t i) { return info.eras[i].name; }) &&
        cache_names(locale, &gl_time_info::era_formats, info.era_count, [&info](int32_t i) { return info.eras[i].format; }) &&
        cache_names(locale, &gl_time_info::mon_names, info.mon.count, among(info.mon.bytes)) &&
        cache_names(locale, &gl_time_info::abmon_names, info.abmon.count, among(info.abmon.bytes)) &&
        cache_names(locale, &gl_time_info::day_names, 7, among(info.day)) &&
        cache_names(locale, &gl_time_info::abday_names, 7, among(info.abday)) &&
        cache_names(locale, &gl_time_info::am_pm_names, 2, [&info](int32_t i) { return info.*DAY_HALVES[i].bytes; }) &&
        cache_names(locale, &gl_time_info::alt_digit_names, info.alt_digits.count, among(info.alt_digits.bytes));
    return done ? 0 : -1;
}

void free_lookup_caches(gl_locale *locale) {
    for (const Cache cache : CACHES) free_cache(locale, cache);
}

// What one step made before a failure stays in the record, which owns it.
int create_wide_time_strings(gl_locale *locale) {
    gl_time_info &info = locale->time;
    if (widen(locale, TIME_FORMATS) && widen_eras(locale) && widen(locale, info.alt_digits) && widen(locale, info.mon) &&
        widen(locale, info.abmon) && widen(locale, info.day, info.w_day) && widen(locale, info.abday, info.w_abday) &&
        widen(locale, DAY_HALVES) && widen(locale, JOINED_TEXTS))
        return 0;
    set_error(locale, GL_ENOMEM); // whatever the reason
    return -1;
}

} // namespace qbgl
