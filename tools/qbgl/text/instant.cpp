#include "text/instant.h"

#include "frame/messages.h"

#include <charconv>
#include <ctime>
#include <fmt/format.h>

namespace qbgl {

namespace {

constexpr int64_t SECONDS_OF_DAY = 86400;
constexpr int64_t FIRST_YEAR = -999999999, LAST_YEAR = 999999999; // so that every date fits into a record
constexpr const char *FORM = "a date is YEAR-MONTH-DAY, which THH:MM:SS and Z or +HH:MM may follow, or @SECONDS since 1970";

int64_t floor_div(int64_t a, int64_t b) { return a / b - (a % b < 0 ? 1 : 0); }

bool is_leap(int64_t year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

int days_of_month(int64_t year, int mon) {
    static constexpr int DAYS[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return DAYS[mon] + (mon == 1 && is_leap(year) ? 1 : 0);
}

// Days from 1 January 1970.
int64_t day_of(int64_t year, int mon, int mday) {
    constexpr int64_t DAYS_BEFORE_1970 = 719162; // from 1 January of the year 1
    const int64_t before = year - 1;
    int64_t day = before * 365 + floor_div(before, 4) - floor_div(before, 100) + floor_div(before, 400) - DAYS_BEFORE_1970;
    for (int i = 0; i < mon; ++i) day += days_of_month(year, i);
    return day + mday - 1;
}

gl_tm record_of_seconds(int64_t shown) {
    constexpr int64_t DAYS_OF_400_YEARS = 146097, THURSDAY = 4;
    const int64_t day = floor_div(shown, SECONDS_OF_DAY), in_day = shown - day * SECONDS_OF_DAY;
    int64_t year = 1970 + floor_div(day * 400, DAYS_OF_400_YEARS);
    while (day_of(year, 0, 1) > day) --year;
    while (day_of(year + 1, 0, 1) <= day) ++year;
    gl_tm result{};
    result.yday = static_cast<int32_t>(day - day_of(year, 0, 1));
    result.mday = result.yday + 1;
    while (result.mday > days_of_month(year, result.mon)) result.mday -= days_of_month(year, result.mon++);
    result.monname = result.mon;
    result.year = static_cast<int32_t>(year - 1900);
    result.wday = static_cast<int32_t>((day + THURSDAY) % 7 + 7) % 7;
    result.hour = static_cast<int32_t>(in_day / 3600);
    result.min = static_cast<int32_t>(in_day / 60 % 60);
    result.sec = static_cast<int32_t>(in_day % 60);
    return result;
}

int64_t shown_seconds(const gl_tm &shown) {
    const int64_t day = day_of(int64_t{shown.year} + 1900, shown.mon, shown.mday);
    return day * SECONDS_OF_DAY + shown.hour * 3600 + shown.min * 60 + shown.sec;
}

// What the system's zone makes of a time; nothing beyond its reach.
std::optional<std::tm> native_record(int64_t seconds) {
    const std::time_t time = seconds;
    std::tm result{};
    if (localtime_r(&time, &result) == nullptr) return std::nullopt;
    return result;
}

class Scanner {
  public:
    explicit Scanner(std::string_view text) : text_(text) {}

    bool take(char c) {
        if (text_.empty() || text_.front() != c) return false;
        text_.remove_prefix(1);
        return true;
    }
    // A number of so many digits, at least and at most.
    std::optional<int64_t> digits(size_t least, size_t most) {
        const size_t count = std::min(text_.find_first_not_of("0123456789"), text_.size());
        if (count < least || count > most) return std::nullopt;
        int64_t value = 0;
        std::from_chars(text_.data(), text_.data() + count, value);
        text_.remove_prefix(count);
        return value;
    }
    void skip_blanks() { text_.remove_prefix(std::min(text_.find_first_not_of(" \t\r"), text_.size())); }
    bool at_end() const { return text_.empty(); }

  private:
    std::string_view text_;
};

// Seconds east of UTC: Z, +HH, +HHMM or +HH:MM. Nothing for anything else.
std::optional<int32_t> read_distance(Scanner &scanner) {
    if (scanner.take('Z') || scanner.take('z')) return 0;
    const bool west = scanner.take('-');
    if (!west && !scanner.take('+')) return std::nullopt;
    Scanner before = scanner;
    std::optional<int64_t> hours = scanner.digits(2, 2), minutes = 0;
    if (hours && scanner.take(':')) minutes = scanner.digits(2, 2);
    if (!hours) {
        hours = before.digits(4, 4);
        if (!hours) return std::nullopt;
        minutes = *hours % 100;
        *hours /= 100;
        scanner = before;
    }
    if (!minutes || *minutes > 59 || *hours > 24) return std::nullopt;
    const auto east = static_cast<int32_t>((*hours * 60 + *minutes) * 60);
    return west ? -east : east;
}

[[noreturn]] void fail_form() { throw DateFault{"form", FORM}; }
[[noreturn]] void fail_range(std::string sentence) { throw DateFault{"range", std::move(sentence)}; }

int64_t read_seconds(Scanner scanner) {
    constexpr size_t MOST_DIGITS = 17;
    const bool negative = scanner.take('-');
    const std::optional<int64_t> value = scanner.digits(1, MOST_DIGITS);
    scanner.skip_blanks();
    if (!value || !scanner.at_end()) fail_form();
    const int64_t first = day_of(FIRST_YEAR, 0, 1) * SECONDS_OF_DAY, last = (day_of(LAST_YEAR, 11, 31) + 1) * SECONDS_OF_DAY - 1;
    const int64_t seconds = negative ? -*value : *value;
    if (seconds < first || seconds > last) fail_range(fmt::format("seconds go from {} to {}", first, last));
    return seconds;
}

} // namespace

Zone::Zone(const std::string &name) {
    if (name == "utc" || name == "UTC") return;
    native_ = name == "native";
    if (native_) return;
    Scanner scanner(name);
    const std::optional<int32_t> east = read_distance(scanner);
    if (!east || !scanner.at_end()) {
        throw Failure{ExitStatus::CALL,
                      fmt::format("unknown zone {}: it is utc, native, or a distance such as +02:00", printable(name)),
                      JsonObject().text("zone", name)};
    }
    east_ = *east;
    name_ = distance_text(east_);
}

gl_tm Zone::record_at(int64_t seconds) const {
    const std::optional<std::tm> native = native_ ? native_record(seconds) : std::nullopt;
    const auto east = native ? static_cast<int32_t>(native->tm_gmtoff) : east_;
    gl_tm result = record_of_seconds(seconds + east);
    result.isdst = native && native->tm_isdst > 0 ? 1 : 0;
    result.gmtoff = east;
    return result;
}

int64_t Zone::seconds_of(const gl_tm &shown) const {
    const int64_t seconds = shown_seconds(shown);
    if (!native_) return seconds - east_;
    // Around a change of clocks the first guess may have the wrong side of it.
    const int64_t guess = seconds - record_at(seconds).gmtoff;
    return seconds - record_at(guess).gmtoff;
}

std::string Zone::name_at(int64_t seconds) const {
    const std::optional<std::tm> native = native_ ? native_record(seconds) : std::nullopt;
    return native ? native->tm_zone : name_;
}

std::vector<std::string> Zone::names() const {
    if (!native_) return {name_};
    tzset();
    return {tzname[0], tzname[1]};
}

int64_t read_instant(std::string_view text, const Zone &zone) {
    Scanner scanner(text);
    scanner.skip_blanks();
    if (scanner.take('@')) return read_seconds(scanner);
    const bool negative = scanner.take('-');
    const std::optional<int64_t> year = scanner.digits(4, 10);
    const std::optional<int64_t> month = year && scanner.take('-') ? scanner.digits(2, 2) : std::nullopt;
    const std::optional<int64_t> day = month && scanner.take('-') ? scanner.digits(2, 2) : std::nullopt;
    if (!day) fail_form();
    if (*year > LAST_YEAR) fail_range(fmt::format("years go from {} to {}", FIRST_YEAR, LAST_YEAR));
    const int64_t signed_year = negative ? -*year : *year;
    if (*month < 1 || *month > 12) fail_range("there are 12 months");
    const auto mon = static_cast<int>(*month - 1);
    if (*day < 1 || *day > days_of_month(signed_year, mon))
        fail_range(fmt::format("the month has {} days", days_of_month(signed_year, mon)));
    gl_tm shown{};
    shown.year = static_cast<int32_t>(signed_year - 1900);
    shown.mon = mon;
    shown.mday = static_cast<int32_t>(*day);
    std::optional<int32_t> east;
    const bool has_time = scanner.take('T') || scanner.take('t');
    if (has_time || scanner.take(' ')) {
        scanner.skip_blanks();
        if (const std::optional<int64_t> hour = scanner.digits(2, 2)) {
            const std::optional<int64_t> minute = scanner.take(':') ? scanner.digits(2, 2) : std::nullopt;
            const std::optional<int64_t> second = minute && scanner.take(':') ? scanner.digits(2, 2) : 0;
            if (!minute || !second) fail_form();
            if (*hour > 23 || *minute > 59 || *second > 60) fail_range("a day's last time is 23:59:60");
            shown.hour = static_cast<int32_t>(*hour);
            shown.min = static_cast<int32_t>(*minute);
            shown.sec = static_cast<int32_t>(*second);
            scanner.skip_blanks();
            east = read_distance(scanner);
            scanner.skip_blanks();
        } else if (has_time) {
            fail_form();
        }
    }
    if (!scanner.at_end()) fail_form();
    return east ? shown_seconds(shown) - *east : zone.seconds_of(shown);
}

int64_t now() { return std::time(nullptr); }

std::string distance_text(int32_t east) {
    const int minutes = std::abs(east) / 60;
    return fmt::format("{}{:02}:{:02}", east < 0 ? '-' : '+', minutes / 60, minutes % 60);
}

std::string iso_date(const gl_tm &date) {
    const int64_t year = int64_t{date.year} + 1900;
    return fmt::format("{}{:04}-{:02}-{:02}", year < 0 ? "-" : "", std::abs(year), date.mon + 1, date.mday);
}

std::string iso_time(const gl_tm &date) { return fmt::format("{:02}:{:02}:{:02}", date.hour, date.min, date.sec); }

} // namespace qbgl
