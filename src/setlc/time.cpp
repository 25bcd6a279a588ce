// The section of LC_TIME: the calendar's name, string lines of 7 abbreviated and 7 full names of days, abbreviated and full names
// of months, 6 formats and halves of the day, eras, 3 era formats, alternative digits. Where the number varies, a line with it
// stands before the lists.
#include "setlc/time.h"

#include "ext/error.h"
#include "setlc/calendars.h"
#include "setlc/categories.h"
#include "setlc/era.h"
#include "setlc/text.h"
#include "util/lines.h"
#include "util/owned.h"

#include <algorithm>
#include <span>
#include <string.h>

using namespace qbgl;

const CannedCalendar qbgl::vrn_canned_calendars[4] = {{"gregorian\n", 1}, {"hebrew\n", 2}, {"islamic\n", 3}, {"arabic\n", 4}};

namespace {

constexpr int CALENDAR_LINE_SIZE = 32;
constexpr long LONGEST_LIST = 4096; // names are looked up one after the other

bool read_calendar(FILE *stream, int32_t &calendar, int32_t &error) {
    char line[CALENDAR_LINE_SIZE];
    if (_gl_ext_fgets(line, sizeof line, stream) == nullptr || check_nl(line) != 0) {
        error = GL_EBADFILE;
        return false;
    }
    for (const CannedCalendar &known : vrn_canned_calendars) {
        if (strcmp(line, known.name) != 0) continue;
        calendar = known.number;
        return true;
    }
    error = GL_EBADCAL;
    return false;
}

// A string that cannot be read is a missing one, whatever its line lacks.
bool read_string(ByteReader &in, char *&text, int32_t &error) {
    if (str_readallc(in, text, error)) return true;
    if (error == GL_ENOFILE) error = GL_ENOMEM;
    return false;
}

bool read_names(ByteReader &in, std::span<char *> names, int32_t &error) {
    for (char *&name : names)
        if (!read_string(in, name, error)) return false;
    return true;
}

bool read_texts(ByteReader &in, gl_time_info &info, std::initializer_list<char * gl_time_info::*> texts, int32_t &error) {
    for (const auto text : texts)
        if (!read_string(in, info.*text, error)) return false;
    return true;
}

void free_list(char **&list, int32_t count) {
    for (int32_t i = 0; list != nullptr && i < count; ++i) _gl_free_ptr(list[i]);
    _gl_free_ptr(std::exchange(list, nullptr));
}

bool read_list(ByteReader &in, char **&list, int32_t &count, int32_t &error) {
    const long declared = in.integer();
    if (!in.skip_newline() || declared > LONGEST_LIST) {
        error = GL_EBADFILE;
        return false;
    }
    if (declared < 1) return true;
    list = Owned<char *>::allocate(static_cast<uint32_t>(declared)).release();
    if (list == nullptr) {
        error = GL_ENOMEM;
        return false;
    }
    count = static_cast<int32_t>(declared);
    std::fill_n(list, count, nullptr);
    return read_names(in, {list, static_cast<size_t>(count)}, error);
}

// The wide list of the abbreviated names has as many entries as there are full names.
bool read_months(ByteReader &in, gl_time_info &info, int32_t &error) {
    if (!read_list(in, info.abmon.bytes, info.abmon.count, error) || !read_list(in, info.mon.bytes, info.mon.count, error))
        return false;
    if (info.abmon.count == info.mon.count) return true;
    error = GL_EBADFILE;
    return false;
}

bool read_alt_digits(ByteReader &in, gl_text_list &digits, int32_t &error) {
    if (read_list(in, digits.bytes, digits.count, error)) return true;
    free_list(digits.bytes, digits.count);
    digits.count = 0;
    return false;
}

template <class T, size_t N> void free_all(T *(&pointers)[N]) {
    for (T *&pointer : pointers) _gl_free_ptr(std::exchange(pointer, nullptr));
}

void free_text_list(gl_text_list &list) {
    free_list(list.bytes, list.count);
    for (int32_t i = 0; list.wide != nullptr && i < list.count; ++i) _gl_free_ptr(list.wide[i]);
    _gl_free_ptr(list.wide);
    list = {};
}

void free_texts(gl_time_info &info, std::span<const TimeText> texts) {
    for (const TimeText &text : texts) {
        _gl_free_ptr(std::exchange(info.*text.bytes, nullptr));
        _gl_free_ptr(std::exchange(info.*text.wide, nullptr));
    }
}

} // namespace

void _gl_init_ltime(gl_time_info *info) { *info = {}; }

int _gl_read_time(FILE *stream, gl_time_info *info, int32_t *error) {
    using Time = gl_time_info;
    _gl_init_ltime(info);
    ByteReader in(stream);
    int32_t number = 0;
    const bool read =
        read_calendar(stream, info->calendar, number) && read_names(in, info->abday, number) && read_names(in, info->day, number) &&
        read_months(in, *info, number) &&
        read_texts(in, *info, {&Time::d_t_fmt, &Time::d_fmt, &Time::t_fmt, &Time::am, &Time::pm, &Time::t_fmt_ampm}, number) &&
        read_list(in, info->era_strings, info->era_count, number) &&
        read_texts(in, *info, {&Time::era_d_fmt, &Time::era_t_fmt, &Time::era_d_t_fmt}, number) &&
        read_alt_digits(in, info->alt_digits, number);
    return read ? 0 : section_result(number, error);
}

int qbgl::init_time_info(gl_locale *locale) {
    if (const int ready = ready_for_texts(locale); ready != 1) return ready;
    if (locale->time.era_count > 0 && init_era_info(locale) != 0) return -1;
    if (init_time_info_texts(locale) != 0) return -1;
    return cache_strings_for_lookup(locale) == 0 && create_wide_time_strings(locale) == 0 ? 1 : -1;
}

void qbgl::free_ltime(gl_locale *locale) {
    gl_time_info &info = locale->time;
    era_cleanup(locale);
    free_time_info_texts(locale);
    free_lookup_caches(locale);
    free_all(info.abday);
    free_all(info.w_abday);
    free_all(info.day);
    free_all(info.w_day);
    for (gl_text_list *list : {&info.abmon, &info.mon, &info.alt_digits}) free_text_list(*list);
    for (const std::span<const TimeText> texts : {std::span<const TimeText>(TIME_FORMATS), {DAY_HALVES}, {JOINED_TEXTS}})
        free_texts(info, texts);
    free_list(info.era_strings, info.era_count);
    info = {};
}
