// Dates and times as text.
#include "form/sink.h"
#include "setlc/handle.h"
#include "setlc/more.h"
#include "time/conversion.h"
#include "time/days.h"
#include "time/zones.h"

#include <stdlib.h>

using namespace qbgl;

namespace {

constexpr int GREGORIAN = 1;
constexpr int MONTHS = 12;
constexpr int32_t MOST_SECONDS_EAST = 100 * 3600 - 1; // "+9959"

// What the letter of a number writes where the calendar is the Gregorian one.
struct NumberField {
    int32_t gl_tm::*part = nullptr;
    int16_t least = 0, most = 0, add = 0;
    int8_t digits = 0; // none: this is no letter of a number
    char pad = '0';
    bool of_date = false; // and so of the locale's calendar, if it has its own
};
struct NumberFields {
    NumberField of[NO_ASCII];

    constexpr NumberFields() : of() {
        constexpr int16_t YEAR_1000 = 1000 - 1900, YEAR_9999 = 9999 - 1900;
        of[gl_wchar{'Y'}] = {&gl_tm::year, YEAR_1000, YEAR_9999, 1900, 4, '0', true};
        of[gl_wchar{'y'}] = {&gl_tm::year, YEAR_1000, YEAR_9999, 1900, 2, '0', true};
        of[gl_wchar{'m'}] = {&gl_tm::mon, 0, MONTHS - 1, 1, 2, '0', true};
        of[gl_wchar{'d'}] = {&gl_tm::mday, 1, 31, 0, 2, '0', true};
        of[gl_wchar{'e'}] = {&gl_tm::mday, 1, 31, 0, 2, ' ', true};
        of[gl_wchar{'H'}] = {&gl_tm::hour, 0, 23, 0, 2};
        of[gl_wchar{'k'}] = {&gl_tm::hour, 0, 23, 0, 2, ' '};
        of[gl_wchar{'M'}] = {&gl_tm::min, 0, 59, 0, 2};
        of[gl_wchar{'S'}] = {&gl_tm::sec, 0, 60, 0, 2};
    }
};
constexpr NumberFields FIELDS;

template <class Unit> class DateWriter {
  public:
    DateWriter(gl_locale *locale, Unit *out, int room, const gl_tm &tm)
        : locale_(locale), info_(locale->time), more_(*locale->time_more), tm_(tm), sink_(locale, out, room),
          own_calendar_(info_.calendar != GREGORIAN) {}

    template <class FormatUnit> bool write(Text<FormatUnit> &format) {
        for (gl_wchar wc;;) {
            const FormatUnit *const begin = format.at();
            if constexpr (IS_SAME<FormatUnit>)
                if (!upper_) put_plain(format);
            if (!nesting_.pass(format.at() - begin + 1)) return refuse();
            if (format.ascii() == '%') {
                format.skip_unit();
            } else {
                if (!format.peek(wc)) return fail(locale_, GL_EILSEQ, false);
                if (wc == 0) return true;
                if (wc != '%' && !literal(format, wc)) return false;
                format.advance();
                if (wc != '%') continue;
            }
            DateConversion conversion;
            if (!read_conversion(locale_, format, conversion) || !convert(conversion)) return false;
        }
    }

    int finish(int room, bool written) {
        const int length = sink_.finish(room);
        return written || sink_.full() ? length : -1;
    }

  private:
    template <class FormatUnit> static constexpr bool IS_SAME = sizeof(FormatUnit) == sizeof(Unit);

    // The name that the letter writes where the calendar is the Gregorian one; null for another letter, and for a bad date.
    const char *plain_name(gl_wchar letter) const {
        const bool is_weekday = tm_.wday >= 0 && tm_.wday <= 6;
        switch (letter) {
        case 'a': return is_weekday ? info_.abday[tm_.wday] : nullptr;
        case 'A': return is_weekday ? info_.day[tm_.wday] : nullptr;
        case 'b':
        case 'B': {
            const gl_text_list &names = letter == 'b' ? info_.abmon : info_.mon;
            return tm_.mon >= 0 && tm_.mon < names.count && !own_calendar_ ? names.bytes[tm_.mon] : nullptr;
        }
        default: return nullptr;
        }
    }
    bool put_plain_name(gl_wchar letter, Unit *&to, const Unit *end) const {
        if constexpr (sizeof(Unit) == 1)
            if (const char *const name = plain_name(letter); name != nullptr) {
                const auto room = static_cast<size_t>(end - to);
                const size_t length = strnlen(name, room + 1);
                if (length > room) return false;
                memcpy(to, name, length);
                to += length;
                return true;
            }
        return false;
    }

    // Writes what is plain in a format, as long as it fits: ASCII characters, and numbers and names without flags. What it stops at
    // is written the general way.
    void put_plain(Text<Unit> &format) {
        constexpr ptrdiff_t MOST_DIGITS = 4;
        const Unit *from = format.at();
        Unit *to = sink_.at(), *const end = sink_.end();
        const auto put_pair = [&to](unsigned value) {
            *to++ = static_cast<Unit>(DIGIT_PAIRS.of[value][0]);
            *to++ = static_cast<Unit>(DIGIT_PAIRS.of[value][1]);
        };
        while (to != end) {
            const gl_wchar wc = format.value_of(*from);
            if (wc != '%') {
                if (wc == 0 || wc >= NO_ASCII) break;
                *to++ = *from++;
                continue;
            }
            const gl_wchar letter = format.value_of(from[1]);
            const NumberField &field = FIELDS.of[letter < NO_ASCII ? letter : 0];
            if (field.digits == 0) {
                if (!put_plain_name(letter, to, end)) break;
                from += 2;
                continue;
            }
            if (field.of_date && own_calendar_) break;
            const int32_t value = tm_.*field.part;
            if (value < field.least || value > field.most || end - to < MOST_DIGITS) break;
            const auto number = static_cast<unsigned>(value + field.add);
            if (field.digits > 2) put_pair(number / 100);
            put_pair(number % 100);
            if (field.pad == ' ' && number < 10) to[-2] = ' ';
            from += 2;
        }
        format.go_to(from);
        sink_.go_to(to);
    }
    template <class FormatUnit> bool literal(const Text<FormatUnit> &format, gl_wchar wc) {
        if constexpr (IS_SAME<FormatUnit>)
            if (!upper_) return sink_.units(format.at(), format.length());
        return sink_.character(upper_ ? sink_.upper(wc) : wc);
    }

    bool refuse() { return fail(locale_, GL_EINVAL, false); }

    bool convert(const DateConversion &one) {
        const bool era = one.modifier == 'E', own = own_calendar_ && !one.gregorian && !gregorian_;
        const int64_t year = int64_t{tm_.year} + 1900;
        switch (one.letter) {
        case 'a': return in_week() && text(one, info_.abday[tm_.wday]);
        case 'A': return in_week() && text(one, info_.day[tm_.wday]);
        case 'b':
        case 'h': return month_name(one, own, info_.abmon, more_.ab_alt_mon, more_.gregorian_abmon);
        case 'B': return month_name(one, own, info_.mon, more_.alt_mon, more_.gregorian_mon);
        case 'c': return nested(one, era ? first_of(info_.era_d_t_fmt, info_.d_t_fmt) : info_.d_t_fmt);
        case 'x': return nested(one, era ? first_of(info_.era_d_fmt, info_.d_fmt) : info_.d_fmt);
        case 'X': return nested(one, era ? first_of(info_.era_t_fmt, info_.t_fmt) : info_.t_fmt);
        case 'r': return is_empty(locale_, info_.t_fmt_ampm) ? fixed(one, "%I:%M:%S %p") : nested(one, info_.t_fmt_ampm);
        case '+': return nested(one, first_of(more_.date_fmt, info_.d_t_fmt));
        case 'D': return fixed(one, "%m/%d/%y");
        case 'F': return iso_date(one);
        case 'R': return fixed(one, "%H:%M");
        case 'T': return fixed(one, "%H:%M:%S");
        case 'C':
        case 'y':
        case 'Y': return year_part(one, own, year);
        case 'd': return date_number(one, own, &gl_tm::mday, 1, 31, 0, 2, '0');
        case 'e': return date_number(one, own, &gl_tm::mday, 1, 31, 0, 2, '_');
        case 'm': return date_number(one, own, &gl_tm::mon, 0, own ? MONTHS : MONTHS - 1, 1, 2, '0');
        case 'j': return date_number(one, own, &gl_tm::yday, 0, own ? 384 : 365, 1, 3, '0');
        case 'H': return in_range(tm_.hour, 0, 23) && number(one, tm_.hour, 2);
        case 'k': return in_range(tm_.hour, 0, 23) && number(one, tm_.hour, 2, '_');
        case 'I': return in_range(tm_.hour, 0, 23) && number(one, (tm_.hour + 11) % 12 + 1, 2);
        case 'l': return in_range(tm_.hour, 0, 23) && number(one, (tm_.hour + 11) % 12 + 1, 2, '_');
        case 'M': return in_range(tm_.min, 0, 59) && number(one, tm_.min, 2);
        case 'S': return in_range(tm_.sec, 0, 60) && number(one, tm_.sec, 2);
        case 'p':
        case 'P': return half_of_day(one);
        case 's': return seconds(one, year);
        case 'u': return in_week() && number(one, (tm_.wday + 6) % 7 + 1, 1);
        case 'w': return in_week() && number(one, tm_.wday, 1);
        case 'U': return in_week() && in_year() && number(one, (tm_.yday - tm_.wday + 7) / 7, 2);
        case 'W': return in_week() && in_year() && number(one, (tm_.yday - (tm_.wday + 6) % 7 + 7) / 7, 2);
        case 'V':
        case 'g':
        case 'G': return iso_part(one, year);
        case 'z': return zone_offset(one);
        case 'Z': return zone_name(one);
        case 'n': return character(one, '\n');
        case 't': return character(one, '\t');
        case '%': return character(one, '%');
        default: return refuse();
        }
    }

    bool in_range(int32_t value, int32_t least, int32_t most) { return (value >= least && value <= most) || refuse(); }
    bool in_week() { return in_range(tm_.wday, 0, 6); }
    bool in_year() { return in_range(tm_.yday, 0, 365); }

    const char *first_of(const char *text, const char *otherwise) { return is_empty(locale_, text) ? otherwise : text; }

    // The date in the locale's calendar; null with GL_EINVAL where it has none.
    const gl_tm *own_date() {
        if (!have_local_) {
            const bool valid = in_range(tm_.mon, 0, MONTHS - 1) && in_range(tm_.mday, 1, 31);
            if (!valid) return nullptr;
            if (gl_cal_gregorian_to_local(locale_, &tm_, &local_) != 0) return fail(locale_, GL_EINVAL, nullptr);
            have_local_ = true;
        }
        return &local_;
    }

    bool date_number(const DateConversion &one, bool own, int32_t gl_tm::*field, int32_t least, int32_t most, int32_t add,
                     int digits, char pad) {
        const gl_tm *date = own ? own_date() : &tm_;
        return date != nullptr && in_range(date->*field, least, most) && number(one, date->*field + add, digits, pad);
    }

    bool month_name(const DateConversion &one, bool own, const gl_text_list &names, const gl_text_list &alone,
                    const gl_text_list &gregorian) {
        if (own) {
            const gl_tm *date = own_date();
            return date != nullptr && in_range(date->monname, 0, names.count - 1) && text(one, names.bytes[date->monname]);
        }
        if (!in_range(tm_.mon, 0, MONTHS - 1)) return false;
        const gl_text_list *list = own_calendar_ ? &gregorian : &names;
        if (one.modifier == 'O' && alone.count == MONTHS) list = &alone;
        return in_range(tm_.mon, 0, list->count - 1) && text(one, list->bytes[tm_.mon]);
    }

    const Era *era_of(int64_t year) {
        if (info_.era_count < 1 || !in_range(tm_.mon, 0, MONTHS - 1) || !in_range(tm_.mday, 1, 31)) return nullptr;
        const int64_t day = era_day(year, tm_.mon + 1, tm_.mday);
        for (int32_t i = 0; i < info_.era_count; ++i)
            if (more_.eras[i].has(day)) return &more_.eras[i];
        return nullptr;
    }

    bool year_part(const DateConversion &one, bool own, int64_t year) {
        if (one.modifier == 'E' && info_.era_count > 0) {
            const Era *era = era_of(year);
            if (era != nullptr) {
                if (one.letter == 'C') return text(one, era->name);
                DateConversion plain = one;
                if (one.letter == 'y') {
                    if (plain.pad == 0) plain.pad = era_pad_;
                    return number(plain, era->number(year), 2);
                }
                const char before = era_pad_;
                if (one.pad != 0) era_pad_ = one.pad;
                const bool written = nested(one, era->format);
                era_pad_ = before;
                return written;
            }
            own = false;
        }
        if (own) {
            const gl_tm *date = own_date();
            if (date == nullptr) return false;
            year = int64_t{date->year} + 1900;
        }
        if (one.letter == 'Y') return signed_year(one, year, 4, 1);
        if (one.letter == 'C') return signed_year(one, floor_div(year, 100), 2, 2);
        return number(one, floor_mod(year, 100), 2);
    }

    // A "+" of the flags stands before what has more digits than usual.
    bool signed_year(const DateConversion &one, int64_t year, int usual, int digits) {
        if (one.pad != '+' || year < 0) return number(one, year, digits);
        int64_t limit = 1;
        for (int i = 0; i < usual; ++i) limit *= 10;
        DateConversion rest = one;
        rest.pad = '0';
        const bool has_sign = year >= limit || one.width / sink_.unit() > usual;
        if (has_sign) rest.width = std::max(one.width - sink_.unit(), 0);
        return (!has_sign || sink_.ascii('+')) && number(rest, year, usual);
    }

    bool iso_date(const DateConversion &one) {
        constexpr int MONTH_AND_DAY = 6;
        if (one.pad != '+') return fixed(one, "%Y-%m-%d");
        DateConversion year;
        year.pad = '+';
        year.width = std::max(one.width - MONTH_AND_DAY * sink_.unit(), 0);
        return signed_year(year, int64_t{tm_.year} + 1900, 4, 1) && fixed(DateConversion{}, "-%m-%d");
    }

    bool iso_part(const DateConversion &one, int64_t year) {
        if (!in_week() || !in_year()) return false;
        const IsoWeek week = iso_week(year, tm_.yday, tm_.wday);
        if (one.letter == 'V') return number(one, week.week, 2);
        return one.letter == 'G' ? signed_year(one, week.year, 4, 1) : number(one, floor_mod(week.year, 100), 2);
    }

    bool half_of_day(const DateConversion &one) {
        if (!in_range(tm_.hour, 0, 23)) return false;
        DateConversion plain = one;
        plain.swap = false;
        Letters letters = one.upper && one.letter == 'p' ? Letters::UPPER : Letters::AS_THEY_ARE;
        if (one.swap || one.letter == 'P') letters = Letters::LOWER;
        return text(plain, tm_.hour < 12 ? info_.am : info_.pm, letters);
    }

    bool seconds(const DateConversion &one, int64_t year) {
        const bool valid = in_range(tm_.mon, 0, MONTHS - 1) && in_range(tm_.mday, 1, 31) && in_range(tm_.hour, 0, 23) &&
                           in_range(tm_.min, 0, 59) && in_range(tm_.sec, 0, 60) &&
                           in_range(tm_.gmtoff, -MOST_SECONDS_EAST, MOST_SECONDS_EAST);
        if (!valid) return false;
        const int64_t day = epoch_day(year, tm_.mon, tm_.mday);
        DateConversion plain = one;
        if (plain.pad == 0) plain.pad = '-';
        return number(plain, ((day * 24 + tm_.hour) * 60 + tm_.min) * 60 + tm_.sec - tm_.gmtoff, 1);
    }

    bool zone_offset(const DateConversion &one) {
        if (tm_.isdst < 0) return true;
        if (!in_range(tm_.gmtoff, -MOST_SECONDS_EAST, MOST_SECONDS_EAST)) return false;
        const int32_t minutes = std::abs(tm_.gmtoff) / 60;
        const int start = sink_.length();
        DateConversion digits;
        const bool zeros = one.pad != '-' && one.pad != '_';
        digits.pad = zeros ? '0' : '-';
        if (zeros) digits.width = std::max(one.width - sink_.unit(), 0);
        const bool written = sink_.ascii(tm_.gmtoff < 0 ? '-' : '+') && number(digits, minutes / 60 * 100 + minutes % 60, 4);
        return written && (zeros || sink_.pad(start, std::max(one.width, one.pad == '_' ? 5 * sink_.unit() : 0),
                                              ' ')); // the sign is beside the digits
    }

    bool zone_name(const DateConversion &one) {
        DateConversion plain = one;
        plain.swap = false;
        Letters letters = one.upper ? Letters::UPPER : Letters::AS_THEY_ARE;
        if (one.swap) letters = Letters::LOWER;
        return text(plain, zone_name_of(locale_, tm_.zone), letters);
    }

    bool character(const DateConversion &one, char c) {
        const int start = sink_.length();
        return sink_.ascii(c) && finish_field(one, start);
    }

    // What no digits of its own fill.
    bool finish_field(const DateConversion &one, int start) {
        return one.width == 0 || sink_.pad(start, one.width, one.pad == '0' || one.pad == '+' ? '0' : ' ');
    }

    bool text(const DateConversion &one, const char *text) {
        return this->text(one, text, one.upper || one.swap ? Letters::UPPER : Letters::AS_THEY_ARE);
    }
    bool text(const DateConversion &one, const char *text, Letters letters) {
        const int start = sink_.length();
        if (upper_) letters = Letters::UPPER;
        return sink_.text(text, letters) && finish_field(one, start);
    }

    bool fixed(const DateConversion &one, const char *format) {
        if (has_plain_ascii(locale_)) {
            Text<char> text(locale_, format);
            return nested_as(one, text, true);
        }
        gl_wchar wide[16];
        const size_t length = strlen(format);
        std::transform(format, format + length + 1, wide, [](char c) { return static_cast<uint8_t>(c); });
        Text<gl_wchar> text(locale_, wide);
        return nested_as(one, text, true);
    }
    bool nested(const DateConversion &one, const char *format) {
        if (format == nullptr) return true;
        Text<char> text(locale_, format);
        return nested_as(one, text, one.gregorian || gregorian_);
    }
    template <class FormatUnit> bool nested_as(const DateConversion &one, Text<FormatUnit> &format, bool gregorian) {
        if (!nesting_.enter()) return refuse();
        const bool upper = upper_, was_gregorian = gregorian_;
        const int start = sink_.length();
        upper_ = upper_ || one.upper;
        gregorian_ = gregorian;
        const bool written = write(format);
        nesting_.leave();
        upper_ = upper;
        gregorian_ = was_gregorian;
        return written && finish_field(one, start);
    }

    // `digits` is what the number has at least, filled up with `pad` unless a flag says otherwise.
    bool number(const DateConversion &one, int64_t value, int digits, char pad = '0') {
        if (one.pad == 0 && one.width == 0 && one.modifier == 0 && value >= 0 && value < 10'000) {
            const auto low = static_cast<unsigned>(value);
            if (low >= 1000) return sink_.two_digits(low / 100) && sink_.two_digits(low % 100);
            if (digits == 2 && low < 10 && pad == '_') return sink_.ascii(' ') && sink_.ascii(static_cast<char>('0' + low));
            if (digits == 2 && low < 100) return sink_.two_digits(low);
        }
        if (one.modifier == 'O' && value >= 0 && value < info_.alt_digits.count)
            if (const char *digit = info_.alt_digits.bytes[value]; digit != nullptr && *digit != '\0')
                return text(one, digit, Letters::AS_THEY_ARE);
        if (one.pad == '-' || (one.pad != 0 && pad == '0') || one.pad == '0') pad = one.pad;
        char room[24];
        char *const end = room + sizeof room;
        char *begin = end;
        uint64_t rest = value < 0 ? uint64_t{0} - static_cast<uint64_t>(value) : static_cast<uint64_t>(value);
        for (; rest > UINT32_MAX; rest /= 10) *--begin = static_cast<char>('0' + rest % 10);
        auto low = static_cast<uint32_t>(rest);
        do *--begin = static_cast<char>('0' + low % 10);
        while ((low /= 10) != 0);
        const int sign = value < 0, length = static_cast<int>(end - begin) + sign;
        const int32_t width = one.width / sink_.unit();
        const int64_t fill = int64_t{pad == '-' ? width : std::max<int32_t>(width, digits)} - length;
        const bool zeros = pad == '0' || pad == '+';
        if (!zeros && !sink_.repeat(' ', fill)) return false;
        if (sign != 0 && !sink_.ascii('-')) return false;
        return (!zeros || sink_.repeat('0', fill)) && sink_.ascii(begin, static_cast<int>(end - begin));
    }

    gl_locale *locale_;
    const gl_time_info &info_;
    const gl_time_more &more_;
    const gl_tm &tm_;
    Sink<Unit> sink_;
    gl_tm local_ = {};
    const bool own_calendar_;
    bool have_local_ = false, upper_ = false, gregorian_ = false;
    char era_pad_ = 0;
    Nesting nesting_;
};

template <class Unit> int write_date(gl_locale *locale, Unit *out, int room, const Unit *format, const gl_tm *tm) {
    if (is_canned(locale)) return -1;
    if (out == nullptr || format == nullptr || tm == nullptr) return fail(locale, GL_ENULLPTR, -1);
    if (locale->time_more == nullptr) return fail(locale, GL_ENODATA, -1);
    DateWriter<Unit> writer(locale, out, room, *tm);
    Text<Unit> text(locale, format);
    const bool written = writer.write(text);
    return writer.finish(room, written);
}

} // namespace

int gl_mbsftime(gl_locale *locale, char *out, int room, const char *format, const gl_tm *tm) {
    return write_date(locale, out, room, format, tm);
}

int gl_wcsftime(gl_locale *locale, gl_wchar *out, int room, const gl_wchar *format, const gl_tm *tm) {
    return write_date(locale, out, room, format, tm);
}
