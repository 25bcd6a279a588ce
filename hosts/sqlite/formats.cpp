#include "formats.h"

#include "text.h"

#include <charconv>
#include <cstdio>

namespace qbgl_sqlite {

namespace {

constexpr size_t FIRST_ROOM = 256, MOST_ROOM = 1 << 20; // a width may be any number

// What `write` makes in a room that is large enough. `refuse` throws for any other number than that of too small a one.
template <class Write, class Refuse> std::string grown(const Locale &locale, Write write, Refuse refuse) {
    std::string text(FIRST_ROOM, '\0');
    for (;;) {
        gl_clear_errno(locale.handle());
        const int length = write(text.data(), static_cast<int>(text.size()));
        if (length >= 0) {
            text.resize(static_cast<size_t>(length));
            return text;
        }
        const int number = gl_errno(locale.handle());
        if (number != GL_E2BIG) refuse(number);
        if (text.size() == MOST_ROOM) throw std::length_error("a width");
        text.resize(text.size() * 16);
    }
}

void check_format(const std::string &format) {
    if (const size_t bad = first_bad(format); bad < format.size()) throw Error("no character of utf8" + place(format, bad));
    if (format.find('\0') != std::string::npos) throw Error("a format has no NUL");
}

// The time in UTC of so many seconds since the beginning of 1970. False for one that a record has no room for.
bool set_seconds(const Locale &locale, const char *seconds, gl_tm &tm) {
    tm.gmtoff = 0;
    return gl_mbsptime(locale.handle(), seconds, "%s", &tm) != nullptr;
}

std::string iso_text(const Locale &locale, gl_tm tm) {
    char text[64];
    bool fits = true;
    if (tm.gmtoff != 0 || tm.sec == 60) { // a leap second counts on
        gl_mbsftime(locale.handle(), text, sizeof text, "%s", &tm);
        fits = set_seconds(locale, text, tm);
    }
    const int64_t year = int64_t{tm.year} + 1900;
    if (!fits || year < 0 || year > 9999) throw Error("SQLite has the years 0 to 9999");
    return {text, static_cast<size_t>(std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", static_cast<int>(year),
                                                    tm.mon + 1, tm.mday, tm.hour, tm.min, tm.sec))};
}

// What of a text could not be read; `end` is where the reading ended, or null.
[[noreturn]] void refuse_time(const Locale &locale, const std::string &text, const std::string &format, const char *end) {
    const int number = end != nullptr ? GL_EILSEQ : gl_errno(locale.handle());
    if (number == GL_EINVAL) throw Error(quoted(format) + " has a conversion that there is not");
    if (number == GL_ERANGE)
        throw Error(quoted(text) + " is no day, or part of one in the calendar of " + locale.name() +
                    ", which takes year, month and day");
    if (number != GL_EILSEQ) throw Error(locale.name() + ": " + gl_strerror(number));
    const std::string of_format = " as " + quoted(format) + " has it in " + locale.name();
    if (end == nullptr) throw Error(quoted(text) + " is no time" + of_format);
    throw Error("a time" + of_format + " ends" + place(text, static_cast<size_t>(end - text.data())) + " of " + quoted(text));
}

} // namespace

void Clock::open() {
    sqlite3 *db = nullptr;
    const int result = sqlite3_open_v2(":memory:", &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_MEMORY, nullptr);
    db_.reset(db);
    if (result == SQLITE_NOMEM || db == nullptr) throw std::bad_alloc();
    if (result != SQLITE_OK) throw Error(sqlite3_errmsg(db), result);
    seconds_.emplace(db, "SELECT strftime('%%s', ?1)");
}

std::string Clock::seconds(const sqlite3_value *time) {
    if (!seconds_) open();
    seconds_->begin(time);
    seconds_->step();
    return seconds_->text(0);
}

std::string write_time(const Locale &locale, const std::string &format, const std::string &seconds) {
    check_format(format);
    gl_tm tm{};
    if (!set_seconds(locale, seconds.c_str(), tm)) throw Error(locale.name() + ": " + gl_strerror(gl_errno(locale.handle())));
    return grown(
        locale, [&](char *out, int room) { return gl_mbsftime(locale.handle(), out, room, format.c_str(), &tm); },
        [&](int number) {
            if (number != GL_EINVAL) throw Error(locale.name() + ": " + gl_strerror(number));
            throw Error(quoted(format) + " has a conversion that there is not, or the calendar of " + locale.name() +
                        " has no such date");
        });
}

std::string read_time(const Locale &locale, const std::string &text, const std::string &format) {
    check_format(format);
    gl_tm tm{};
    tm.year = 2000 - 1900;
    tm.mday = 1;
    gl_clear_errno(locale.handle());
    const char *const end = gl_mbsptime(locale.handle(), text.c_str(), format.c_str(), &tm);
    if (end != text.data() + text.size()) refuse_time(locale, text, format, end);
    return iso_text(locale, tm);
}

std::string write_money(const Locale &locale, const std::string &decimal, const std::string &format) {
    check_format(format);
    const auto refuse = [&](int number) {
        if (number == GL_ERANGE) throw Error(quoted(decimal) + " is no amount: a sign, digits, a point, digits");
        if (number == GL_EINVAL) throw Error(quoted(format) + " is no format of amounts: such as %n, or %i");
        throw Error(locale.name() + ": " + gl_strerror(number));
    };
    if (decimal.find('\0') != std::string::npos) refuse(GL_ERANGE);
    return grown(
        locale, [&](char *out, int room) { return gl_mbsfmon_text(locale.handle(), out, room, format.c_str(), decimal.c_str()); },
        refuse);
}

std::string read_money(const Locale &locale, const std::string &text) {
    std::string decimal(text.size() + 8, '\0');
    const char *end = nullptr;
    const int length = gl_mbspmon(locale.handle(), text.c_str(), &end, decimal.data(), static_cast<int>(decimal.size()));
    if (length < 0) throw Error(quoted(text) + " is no amount in " + locale.name());
    while (*end == ' ') ++end; // which fill a width
    const auto read = static_cast<size_t>(end - text.data());
    if (read < text.size()) throw Error("an amount in " + locale.name() + " ends" + place(text, read) + " of " + quoted(text));
    decimal.resize(static_cast<size_t>(length));
    return decimal;
}

std::string without_exponent(std::string_view number) {
    const size_t e = number.find('e');
    if (e == std::string_view::npos) return std::string(number);
    const std::string_view sign = number.substr(0, number[0] == '-'), mantissa = number.substr(sign.size(), e - sign.size());
    const size_t begin = e + (number[e + 1] == '+' ? 2 : 1);
    int before = 0; // digits before the point
    std::from_chars(number.data() + begin, number.data() + number.size(), before);
    before += static_cast<int>(std::min(mantissa.find('.'), mantissa.size()));
    std::string digits(mantissa);
    digits.erase(std::min(digits.find('.'), digits.size()), 1);
    if (before < 0) digits.insert(0, static_cast<size_t>(-before), '0');
    const auto point = static_cast<size_t>(std::max(before, 0));
    if (point > digits.size()) digits.append(point - digits.size(), '0');
    return std::string(sign) + digits.insert(point, 1, '.');
}

} // namespace qbgl_sqlite
