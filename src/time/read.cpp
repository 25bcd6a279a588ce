// Dates and times from text.
#include "ctype/wide_class.h"
#include "form/text.h"
#include "setlc/handle.h"
#include "setlc/more.h"
#include "time/conversion.h"
#include "time/days.h"
#include "time/zones.h"
#include "tree/fold.h"
#include "tree/node.h"

#include <algorithm>
#include <string.h>

using namespace qbgl;

namespace {

constexpr int GREGORIAN = 1;
constexpr int32_t NONE = INT32_MIN;
constexpr int32_t LEAST_YEAR = INT32_MIN + 1900; // that a gl_tm has
constexpr int YEAR_DIGITS = 4, MOST_DIGITS = 18;

// What the text tells of a date in one of the calendars; NONE for what it does not. Months are from 0.
struct DateParts {
    int32_t year = NONE, century = NONE, year_of_century = NONE;
    int32_t mon = NONE, monname = NONE, mday = NONE, yday = NONE;

    bool any() const { return std::max({year, century, year_of_century, mon, monname, mday, yday}) != NONE; }
};

// All of a text.
struct Parts : DateParts {
    int32_t hour = NONE, hour_of_half = NONE, half = NONE, min = NONE, sec = NONE;
    int32_t wday = NONE, sunday_week = NONE, monday_week = NONE, iso_year = NONE, iso_year_of_century = NONE, iso_week = NONE;
    int32_t era = NONE, era_number = NONE;
    int32_t gmtoff = NONE, zone = NONE;
    bool has_seconds = false;
    int64_t seconds = 0;
};

// What the letter of a number means where the calendar is the Gregorian one.
struct NumberField {
    int32_t Parts::*part = nullptr;
    int16_t least = 0, most = 0;
    int8_t digits = 0, add = 0; // no digits: this is no letter of a number
    bool of_date = false;       // and so of the locale's calendar, if it has its own
};
struct NumberFields {
    NumberField of[NO_ASCII];

    constexpr NumberFields() : of() {
        at('C') = {&Parts::century, 0, 99, 2, 0, true};
        at('y') = {&Parts::year_of_century, 0, 99, 2, 0, true};
        at('Y') = {&Parts::year, 0, 9999, YEAR_DIGITS, 0, true};
        at('d') = at('e') = {&Parts::mday, 1, 31, 2, 0, true};
        at('m') = {&Parts::mon, 1, 12, 2, -1, true};
        at('j') = {&Parts::yday, 1, 366, 3, -1, true};
        at('H') = at('k') = {&Parts::hour, 0, 23, 2};
        at('I') = at('l') = {&Parts::hour_of_half, 1, 12, 2};
        at('M') = {&Parts::min, 0, 59, 2};
        at('S') = {&Parts::sec, 0, 60, 2};
        at('w') = {&Parts::wday, 0, 6, 1};
        at('U') = {&Parts::sunday_week, 0, 53, 2};
        at('W') = {&Parts::monday_week, 0, 53, 2};
        at('V') = {&Parts::iso_week, 1, 53, 2};
        at('g') = {&Parts::iso_year_of_century, 0, 99, 2};
    }

  private:
    constexpr NumberField &at(char letter) { return of[static_cast<unsigned char>(letter)]; }
};
constexpr NumberFields FIELDS;

template <class Unit> class DateReader {
  public:
    DateReader(gl_locale *locale, const Unit *text)
        : locale_(locale), info_(locale->time), more_(*locale->time_more), text_(locale, text),
          own_calendar_(info_.calendar != GREGORIAN) {}

    const Unit *at() const { return text_.at(); }

    template <class FormatUnit> bool read(Text<FormatUnit> &format) {
        for (gl_wchar wc;;) {
            const FormatUnit *const begin = format.at();
            take_plain(format);
            if (!nesting_.pass(format.at() - begin + 1)) return refuse();
            if (!format.peek(wc)) return fail(locale_, GL_EILSEQ, false);
            if (wc == 0) return true;
            if (wc == '%') {
                format.advance();
                DateConversion conversion;
                if (!read_conversion(locale_, format, conversion) || !convert(conversion)) return false;
                continue;
            }
            if (is_blank(wc))
                skip_blanks();
            else if (!take_same(format) && !take(wc))
                return mismatch();
            format.advance();
        }
    }

    // What has been read, into the record.
    bool finish(gl_tm &tm) {
        const gl_tm before = tm;
        if (put_parts(tm)) return true;
        tm = before;
        return out_of_range();
    }

  private:
    bool put_parts(gl_tm &result) {
        if (parts_.gmtoff != NONE) result.gmtoff = parts_.gmtoff;
        if (parts_.zone != NONE) result.zone = parts_.zone;
        if (parts_.has_seconds && !from_seconds(result)) return false;
        if (parts_.sec != NONE) result.sec = parts_.sec;
        if (parts_.min != NONE) result.min = parts_.min;
        if (parts_.hour != NONE) result.hour = parts_.hour;
        if (parts_.hour_of_half != NONE && parts_.hour == NONE) {
            result.hour = parts_.hour_of_half % 12 + (parts_.half == 1 ? 12 : 0);
        }
        if (parts_.era != NONE || parts_.era_number != NONE) year_of_era();
        return own_.any() ? own_date(result) : date(result);
    }

    bool mismatch() { return fail(locale_, GL_EILSEQ, false); }
    bool refuse() { return fail(locale_, GL_EINVAL, false); }
    bool out_of_range() { return fail(locale_, GL_ERANGE, false); }

    static bool is_plain_blank(gl_wchar wc) { return wc == ' ' || (wc >= '\t' && wc <= '\r'); }
    bool is_blank(gl_wchar wc) {
        if (wc < NO_ASCII) return is_plain_blank(wc);
        return (locale_->classes == nullptr || wc <= UINT8_MAX) && is_in_class(locale_, wc, GL_CLASS_SPACE);
    }
    void skip_blanks() {
        if (is_graph(text_.ascii())) return;
        for (gl_wchar wc; text_.peek(wc) && wc != 0 && is_blank(wc);) text_.advance();
    }
    // Goes over what is plain in a format, as far as the text has it: ASCII characters and numbers without widths. What it
    // stops at is read the general way.
    template <class FormatUnit> void take_plain(Text<FormatUnit> &format) {
        if (!format.is_plain() || !text_.is_plain()) return;
        const FormatUnit *from = format.at();
        const Unit *at = text_.at();
        for (;;) {
            const gl_wchar wc = format.value_of(*from);
            if (is_plain_blank(wc)) {
                while (is_plain_blank(text_.value_of(*at))) ++at;
                if (text_.value_of(*at) >= NO_ASCII) break; // which may be a blank, too
                ++from;
                continue;
            }
            if (wc != '%') {
                if (!is_graph(wc) || text_.value_of(*at) != wc) break;
                ++from;
                ++at;
                continue;
            }
            gl_wchar letter = format.value_of(from[1]);
            const bool has_flag = letter == '-' || letter == '_' || letter == '0'; // which a reader has no use for
            if (has_flag) letter = format.value_of(from[2]);
            const NumberField &field = FIELDS.of[letter < NO_ASCII ? letter : 0];
            if (field.digits == 0 || (field.of_date && own_calendar_)) break;
            int32_t value = 0;
            int count = 0;
            for (; count < field.digits && is_digit(text_.value_of(at[count])); ++count)
                value = value * 10 + static_cast<int32_t>(text_.value_of(at[count]) - '0');
            if (count == 0 || value < field.least || value > field.most) break;
            parts_.*field.part = value + field.add;
            from += has_flag ? 3 : 2;
            at += count;
        }
        format.go_to(from);
        text_.go_to(at);
    }
    // The units of the character that the format has.
    template <class FormatUnit> bool take_same(const Text<FormatUnit> &format) {
        if constexpr (sizeof(FormatUnit) == sizeof(Unit)) {
            const Unit *const at = text_.at();
            for (int i = 0; i < format.length(); ++i)
                if (at[i] != format.at()[i]) return false;
            text_.go_to(at + format.length());
            return true;
        }
        return false;
    }
    bool take(gl_wchar expected) {
        gl_wchar wc = text_.ascii();
        if (wc != NO_ASCII) {
            const bool same = wc == expected && wc != 0;
            if (same) text_.skip_unit();
            return same;
        }
        if (!text_.peek(wc) || wc != expected) return false;
        text_.advance();
        return true;
    }

    bool convert(const DateConversion &one) {
        const bool era = one.modifier == 'E' && info_.era_count > 0;
        DateParts &date = own_calendar_ && !one.gregorian && !gregorian_ ? own_ : parts_;
        const bool own = &date == &own_;
        switch (one.letter) {
        case 'a':
        case 'A': return name(more_.days, parts_.wday);
        case 'b':
        case 'B':
        case 'h': return name(own || !own_calendar_ ? more_.months : more_.gregorian_months, own ? date.monname : date.mon);
        case 'c': return nested(one.modifier == 'E' ? first_of(info_.era_d_t_fmt, info_.d_t_fmt) : info_.d_t_fmt, one);
        case 'x': return nested(one.modifier == 'E' ? first_of(info_.era_d_fmt, info_.d_fmt) : info_.d_fmt, one);
        case 'X': return nested(one.modifier == 'E' ? first_of(info_.era_t_fmt, info_.t_fmt) : info_.t_fmt, one);
        case 'r': return is_empty(locale_, info_.t_fmt_ampm) ? fixed("%I:%M:%S %p") : nested(info_.t_fmt_ampm, one);
        case '+': return nested(first_of(more_.date_fmt, info_.d_t_fmt), one);
        case 'D': return fixed("%m/%d/%y");
        case 'F': return fixed("%Y-%m-%d");
        case 'R': return fixed("%H:%M");
        case 'T': return fixed("%H:%M:%S");
        case 'C': return era ? era_name() : number(one, 0, 99, 2, date.century);
        case 'y': return era ? era_number() : number(one, 0, 99, 2, date.year_of_century);
        case 'Y': return era ? era_year(one) : year(one, date.year);
        case 'd':
        case 'e': return number(one, 1, 31, 2, date.mday);
        case 'm': return number(one, 1, own ? 13 : 12, 2, date.mon, -1);
        case 'j': return number(one, 1, own ? 385 : 366, 3, date.yday, -1);
        case 'H':
        case 'k': return number(one, 0, 23, 2, parts_.hour);
        case 'I':
        case 'l': return number(one, 1, 12, 2, parts_.hour_of_half);
        case 'M': return number(one, 0, 59, 2, parts_.min);
        case 'S': return number(one, 0, 60, 2, parts_.sec);
        case 'p':
        case 'P': return half_of_day();
        case 's': return seconds();
        case 'u':
            if (!number(one, 1, 7, 1, parts_.wday)) return false;
            parts_.wday %= 7;
            return true;
        case 'w': return number(one, 0, 6, 1, parts_.wday);
        case 'U': return number(one, 0, 53, 2, parts_.sunday_week);
        case 'W': return number(one, 0, 53, 2, parts_.monday_week);
        case 'V': return number(one, 1, 53, 2, parts_.iso_week);
        case 'g': return number(one, 0, 99, 2, parts_.iso_year_of_century);
        case 'G': return year(one, parts_.iso_year);
        case 'z': return zone_offset();
        case 'Z': return zone_name();
        case 'n':
        case 't': skip_blanks(); return true;
        case '%': return take('%') || mismatch();
        default: return refuse();
        }
    }

    const char *first_of(const char *text, const char *otherwise) { return is_empty(locale_, text) ? otherwise : text; }
    bool nested(const char *format, const DateConversion &one) {
        if (format == nullptr) return true;
        Text<char> text(locale_, format);
        return nested_as(text, gregorian_ || one.gregorian);
    }
    bool fixed(const char *format) {
        if (has_plain_ascii(locale_)) {
            Text<char> text(locale_, format);
            return nested_as(text, true);
        }
        gl_wchar wide[16];
        const size_t length = strlen(format);
        std::transform(format, format + length + 1, wide, [](char c) { return static_cast<uint8_t>(c); });
        Text<gl_wchar> text(locale_, wide);
        return nested_as(text, true);
    }
    template <class FormatUnit> bool nested_as(Text<FormatUnit> &format, bool gregorian) {
        if (!nesting_.enter()) return refuse();
        const bool before = gregorian_;
        gregorian_ = gregorian;
        const bool done = read(format);
        gregorian_ = before;
        nesting_.leave();
        return done;
    }

    // The longest word of a cache that the text begins with. False without one, at the same place.
    bool longest_word(const void *cache, int32_t &value) {
        const Unit *const begin = text_.at(), *end = nullptr;
        const auto *node = static_cast<const CacheNode *>(cache);
        for (gl_wchar wc; node != nullptr && text_.peek(wc) && wc != 0; node = node->across) {
            node = find_down(const_cast<CacheNode *>(node), folded(wc));
            if (node == nullptr) break;
            text_.advance();
            if (node->terminal == 0) continue;
            end = text_.at();
            value = node->value;
        }
        text_.go_to(end != nullptr ? end : begin);
        return end != nullptr;
    }
    gl_wchar folded(gl_wchar wc) { return locale_->lower != nullptr && wc > UINT8_MAX ? wc : fold_wide(locale_, wc, 1).keys[0]; }

    // A name may begin with a space itself.
    bool name(const void *cache, int32_t &value) {
        if (longest_word(cache, value)) return true;
        skip_blanks();
        return longest_word(cache, value) || mismatch();
    }

    // Whether the text goes on with another one, but for the case.
    bool take_text(const char *other) {
        const Unit *const begin = text_.at();
        Text<char> expected(locale_, other);
        for (gl_wchar a, b; expected.peek(b); expected.advance(), text_.advance()) {
            if (b == 0) return true;
            if (!text_.peek(a) || a == 0 || folded(a) != folded(b)) break;
        }
        text_.go_to(begin);
        return false;
    }

    // Digits, at most so many. False without one.
    template <class Value> bool digits(int most, Value &value) { return take_digits(text_, most, value) > 0; }

    bool number(const DateConversion &one, int32_t least, int32_t most, int digits_of_most, int32_t &value, int32_t add = 0) {
        skip_blanks();
        int32_t found;
        if (one.modifier != 'O' || !longest_word(info_.alt_digit_names, found)) {
            if (one.width > digits_of_most) {
                int64_t any;
                if (!digits(std::min(one.width, MOST_DIGITS), any)) return mismatch();
                found = any > INT32_MAX ? INT32_MAX : static_cast<int32_t>(any);
            } else if (!digits(digits_of_most, found)) {
                return mismatch();
            }
        }
        if (found < least || found > most) return mismatch();
        value = found + add;
        return true;
    }

    // Behind a sign there may be any year.
    bool year(const DateConversion &one, int32_t &value) {
        skip_blanks();
        const bool negative = take('-'), positive = !negative && take('+');
        if (!negative && !positive && one.width <= YEAR_DIGITS) return digits(YEAR_DIGITS, value) || mismatch();
        const int most = negative || positive ? 10 : std::min(one.width, MOST_DIGITS);
        int64_t found;
        if (!digits(most, found)) return mismatch();
        if (negative) found = -found;
        if (found < LEAST_YEAR || found > INT32_MAX) return out_of_range();
        value = static_cast<int32_t>(found);
        return true;
    }

    bool half_of_day() {
        if (longest_word(info_.am_pm_names, parts_.half)) return true;
        const bool no_am = is_empty(locale_, info_.am), no_pm = is_empty(locale_, info_.pm);
        if (no_am != no_pm) parts_.half = no_pm;
        return no_am || no_pm || (skip_blanks(), longest_word(info_.am_pm_names, parts_.half)) || mismatch();
    }

    bool seconds() {
        skip_blanks();
        const bool negative = take('-');
        if (!digits(MOST_DIGITS, parts_.seconds)) return mismatch();
        if (negative) parts_.seconds = -parts_.seconds;
        parts_.has_seconds = true;
        return true;
    }

    // +hhmm, +hh:mm, +hh, without leading zeros too, or Z. What was written for an unknown offset is nothing.
    bool zone_offset() {
        const Unit *const begin = text_.at();
        skip_blanks();
        if (take('Z') || take('z')) {
            parts_.gmtoff = 0;
            return true;
        }
        const bool negative = take('-');
        if (!negative && !take('+')) {
            text_.go_to(begin);
            return mismatch();
        }
        int64_t digit = 0, value = 0;
        int count = 0;
        while (count < 4 && digits(1, digit)) {
            value = value * 10 + digit;
            ++count;
            if (count == 2 && take(':')) {
                int64_t minutes;
                if (!digits(2, minutes)) return mismatch();
                value = value * 100 + minutes;
                count = 4;
            }
        }
        if (count == 0) return mismatch();
        if (count == 2) value *= 100; // one digit alone is minutes, as "%-z" writes them
        if (value % 100 > 59) return mismatch();
        const auto east = static_cast<int32_t>((value / 100 * 60 + value % 100) * 60);
        parts_.gmtoff = negative ? -east : east;
        return true;
    }

    bool zone_name() {
        const Unit *const begin = text_.at(), *best = begin;
        for (int32_t i = 0; i < locale_->zone_count; ++i) {
            const char *zone = zone_name_of(locale_, i);
            text_.go_to(begin);
            if (zone == nullptr || !take_text(zone) || text_.at() <= best) continue;
            best = text_.at();
            parts_.zone = i;
        }
        text_.go_to(best);
        return true;
    }

    // A date in no era has the century in its place.
    bool era_name() {
        const Unit *const begin = text_.at(), *best = begin;
        for (int32_t i = 0; i < info_.era_count; ++i) {
            if (only_era_ != NONE && i != only_era_) continue;
            text_.go_to(begin);
            if (!take_text(more_.eras[i].name) || text_.at() <= best) continue;
            best = text_.at();
            parts_.era = i;
        }
        text_.go_to(best);
        if (best != begin) return true;
        return only_era_ == NONE ? number(DateConversion{}, 0, 99, 2, parts_.century) : mismatch();
    }
    bool era_number() {
        const bool in_era = parts_.era != NONE || parts_.century == NONE;
        if (!in_era) return number(DateConversion{}, 0, 99, 2, parts_.year_of_century);
        skip_blanks();
        int64_t found;
        if (!digits(9, found)) return mismatch();
        parts_.era_number = static_cast<int32_t>(found);
        return true;
    }
    // By the first era whose format the text has.
    bool era_year(const DateConversion &one) {
        if (only_era_ != NONE) return refuse(); // a year that holds itself
        const Unit *const begin = text_.at();
        const Parts parts = parts_;
        for (int32_t i = 0; i < info_.era_count; ++i) {
            only_era_ = i;
            const bool done = nested(more_.eras[i].format, one);
            only_era_ = NONE;
            if (done) {
                parts_.era = i;
                return true;
            }
            text_.go_to(begin);
            parts_ = parts;
        }
        return year(one, parts_.year);
    }

    // The era of that name which has the date; without a name, the one that lasts. A format without a number is that of a first
    // year.
    void year_of_era() {
        if (parts_.era_number == NONE) {
            parts_.year = std::max(more_.eras[parts_.era].first_year, LEAST_YEAR);
            return;
        }
        int32_t found = NONE;
        int64_t year = 0;
        for (int32_t i = 0; i < info_.era_count; ++i) {
            const Era &era = more_.eras[i];
            if (parts_.era != NONE ? strcmp(era.name, more_.eras[parts_.era].name) != 0 : era.end != INT64_MAX) continue;
            const int64_t this_year = era.year(parts_.era_number);
            const bool whole = parts_.mon != NONE && parts_.mday != NONE;
            const bool has = whole ? era.has(era_day(this_year, parts_.mon + 1, parts_.mday))
                                   : era.has(era_day(this_year, 1, 1)) || era.has(era_day(this_year, 12, 31));
            if (found == NONE || has) {
                found = i;
                year = this_year;
            }
            if (has) break;
        }
        if (found != NONE) parts_.year = static_cast<int32_t>(std::clamp<int64_t>(year, LEAST_YEAR, INT32_MAX));
    }

    static void complete_year(DateParts &date, int century_of_calendar) {
        if (date.year != NONE || std::max(date.century, date.year_of_century) == NONE) return;
        int32_t century = date.century;
        const int32_t rest = date.year_of_century == NONE ? 0 : date.year_of_century;
        if (century == NONE) century = century_of_calendar != 0 ? century_of_calendar : rest < 69 ? 20 : 19;
        date.year = century * 100 + rest;
    }

    bool from_seconds(gl_tm &tm) {
        const int64_t local = parts_.seconds + tm.gmtoff, day = floor_div(local, 86400);
        if (day > int64_t{INT32_MAX} * 365 || day < -int64_t{INT32_MAX} * 365) return false;
        const auto in_day = static_cast<int32_t>(floor_mod(local, 86400));
        const YearAndDay found = year_of_day(day);
        tm.hour = in_day / 3600;
        tm.min = in_day / 60 % 60;
        tm.sec = in_day % 60;
        int32_t yday = found.yday;
        const int32_t mon = month_of_yday(found.year, yday);
        return set_date(tm, found.year, mon, yday + 1);
    }

    // A day of the Gregorian calendar, if there is one.
    static bool set_date(gl_tm &tm, int64_t year, int32_t mon, int32_t mday) {
        if (mday > days_of_month(year, mon) || year - 1900 < INT32_MIN || year - 1900 > INT32_MAX) return false;
        tm.year = static_cast<int32_t>(year - 1900);
        tm.mon = tm.monname = mon;
        tm.mday = mday;
        tm.yday = day_of_year(year, mon, mday);
        tm.wday = weekday_of(year, mon, mday);
        return true;
    }
    static bool set_day(gl_tm &tm, int64_t day) {
        const YearAndDay found = year_of_day(day);
        int32_t yday = found.yday;
        const int32_t mon = month_of_yday(found.year, yday);
        return set_date(tm, found.year, mon, yday + 1);
    }

    // Some years have no week 53.
    bool iso_day(gl_tm &tm) const {
        const int64_t day = iso_year_start(parts_.iso_year) + (parts_.iso_week - 1) * 7 + (parts_.wday + 6) % 7;
        return day < iso_year_start(int64_t{parts_.iso_year} + 1) && set_day(tm, day);
    }

    bool own_date(gl_tm &tm) {
        complete_year(own_, gl_alt_getcentury(locale_));
        if (own_.year == NONE) return false;
        gl_tm local = tm;
        local.year = own_.year - 1900;
        local.mon = own_.mon != NONE ? own_.mon : -1;
        local.monname = own_.monname != NONE ? own_.monname : -1;
        local.mday = own_.mday;
        if (own_.mday == NONE || (own_.mon == NONE && own_.monname == NONE)) {
            if (own_.yday == NONE) return false;
            local.mon = 0; // days beyond the month count on
            local.mday = own_.yday + 1;
        }
        gl_tm gregorian, back;
        if (gl_cal_local_to_gregorian(locale_, &local, &gregorian) != 0) return false;
        if (gl_cal_gregorian_to_local(locale_, &gregorian, &back) != 0) return false;
        if (back.year != local.year) return false;
        if (own_.mday != NONE && back.mday != own_.mday && own_.yday == NONE) return false;
        return set_date(tm, int64_t{gregorian.year} + 1900, gregorian.mon, gregorian.mday);
    }

    bool date(gl_tm &tm) {
        complete_year(parts_, 0);
        if (parts_.iso_year == NONE && parts_.iso_year_of_century != NONE)
            parts_.iso_year = parts_.iso_year_of_century + (parts_.iso_year_of_century < 69 ? 2000 : 1900);
        if (parts_.year != NONE) tm.year = parts_.year - 1900;
        if (parts_.mon != NONE) tm.mon = tm.monname = parts_.mon;
        if (parts_.mday != NONE) tm.mday = parts_.mday;
        if (parts_.yday != NONE) tm.yday = parts_.yday;
        if (parts_.wday != NONE) tm.wday = parts_.wday;
        const int64_t year = parts_.year;
        if (parts_.year != NONE && parts_.mon != NONE && parts_.mday != NONE) return set_date(tm, year, parts_.mon, parts_.mday);
        if (parts_.year != NONE && parts_.yday != NONE)
            return parts_.yday < 365 + is_leap(year) && set_day(tm, days_before_year(year) + parts_.yday);
        if (parts_.iso_year != NONE && parts_.iso_week != NONE && parts_.wday != NONE) return iso_day(tm);
        const bool sundays = parts_.sunday_week != NONE;
        if (parts_.year != NONE && parts_.wday != NONE && (sundays || parts_.monday_week != NONE)) {
            const int64_t first = days_before_year(year);
            const int32_t start = sundays ? weekday_of(first) : (weekday_of(first) + 6) % 7; // days of its week before the year
            const int32_t week = sundays ? parts_.sunday_week : parts_.monday_week;
            const int32_t in_week = sundays ? parts_.wday : (parts_.wday + 6) % 7;
            const int32_t yday = (start == 0 ? week - 1 : week) * 7 - start + in_week;
            return yday >= 0 && yday < 365 + is_leap(year) && set_day(tm, first + yday);
        }
        return parts_.mday == NONE || parts_.mon == NONE || parts_.mday <= days_of_month(2000, parts_.mon);
    }

    gl_locale *locale_;
    const gl_time_info &info_;
    const gl_time_more &more_;
    Text<Unit> text_;
    Parts parts_;
    DateParts own_;
    int32_t only_era_ = NONE;
    const bool own_calendar_;
    bool gregorian_ = false;
    Nesting nesting_;
};

template <class Unit> const Unit *read_date(gl_locale *locale, const Unit *text, const Unit *format, gl_tm *tm) {
    if (is_canned(locale)) return nullptr;
    if (text == nullptr || format == nullptr || tm == nullptr) return fail<const Unit *>(locale, GL_ENULLPTR, nullptr);
    if (locale->time_more == nullptr) return fail<const Unit *>(locale, GL_ENODATA, nullptr);
    DateReader<Unit> reader(locale, text);
    Text<Unit> formatting(locale, format);
    return reader.read(formatting) && reader.finish(*tm) ? reader.at() : nullptr;
}

} // namespace

const char *gl_mbsptime(gl_locale *locale, const char *text, const char *format, gl_tm *tm) {
    return read_date(locale, text, format, tm);
}

const gl_wchar *gl_wcsptime(gl_locale *locale, const gl_wchar *text, const gl_wchar *format, gl_tm *tm) {
    return read_date(locale, text, format, tm);
}
