#include "text/date_text.h"

#include "frame/files.h"

#include <algorithm>
#include <charconv>
#include <fmt/format.h>

namespace qbgl {

namespace {

constexpr int LARGEST_NUMBER = 99999;

std::optional<int> number(std::string_view text) {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || text[0] == '-' || error != std::errc() || end != text.data() + text.size() || value > LARGEST_NUMBER)
        return std::nullopt;
    return value;
}

std::string trimmed(const std::string &text) {
    constexpr const char *BLANKS = " \t";
    const size_t first = text.find_first_not_of(BLANKS);
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(BLANKS) + 1 - first);
}

class Reader {
  public:
    Reader(const std::string &text, Calendar calendar, const DateNames &names) : text_(text), calendar_(calendar), names_(names) {}

    DateSpan read() {
        const size_t dots = text_.find("..");
        if (dots != std::string::npos) {
            const DateSpan from = read_one(trimmed(text_.substr(0, dots))), to = read_one(trimmed(text_.substr(dots + 2)));
            const DateSpan result = {from.first, to.last, DateSpan::Sort::RANGE};
            if (numbers_of(result.last) < numbers_of(result.first)) fail(ExitStatus::DATA, "the last day is before the first one");
            return result;
        }
        return read_one(trimmed(text_));
    }

  private:
    struct Parts {
        std::optional<int> year, mday;
        std::string month;
        bool has_day;
    };

    [[noreturn]] void fail(ExitStatus status, const std::string &reason, JsonObject details = {}) const {
        throw Failure{status, printable(text_) + ": " + reason, details.text("date", text_)};
    }

    [[noreturn]] void fail_form() const {
        fail(ExitStatus::CALL,
             "a date is YEAR-MONTH-DAY, YEAR-MONTH or YEAR, as in 2024-10-03, or DAY MONTH YEAR, as in \"3 October "
             "2024\"");
    }

    // The number at each end, and a month in between or beside the year. Names may hold hyphens and blanks, too.
    Parts parts_of(const std::string &text) const {
        const bool by_hyphens = !text.empty() && text.find_first_not_of("0123456789") == text.find('-');
        const char separator = by_hyphens ? '-' : ' ';
        const size_t first = text.find(separator), last = text.rfind(separator);
        if (first == std::string::npos) return {};
        const std::string head = text.substr(0, first), tail = text.substr(last + 1);
        const std::string middle = first < last ? text.substr(first + 1, last - first - 1) : "";
        if (by_hyphens) {
            if (first < last && number(tail)) return {number(head), number(tail), middle, true};
            return {number(head), {}, text.substr(first + 1), false};
        }
        if (number(head)) return {number(tail), number(head), middle, true};
        return {number(tail), {}, text.substr(0, last), false};
    }

    DateSpan read_year(int year) const {
        const int months = months_in(calendar_, year);
        if (months == 0) fail_range();
        const DateSpan last = read_month(year, months - 1);
        int mon = 0;
        while (days_in(calendar_, year, mon) == 0) ++mon; // of the first year of all
        return {read_month(year, mon).first, last.last, DateSpan::Sort::YEAR};
    }

    DateSpan read_one(const std::string &text) const {
        if (const std::optional<int> year = number(text)) return read_year(*year);
        const Parts parts = parts_of(text);
        if (!parts.year || parts.month.empty() || (parts.has_day && !parts.mday)) fail_form();
        const int year = *parts.year, mon = month_of(year, parts.month);
        if (parts.has_day) {
            const std::optional<gl_tm> day = gregorian_of(calendar_, record_of(year, mon, *parts.mday));
            if (!day) refuse(year, mon);
            return {*day, *day, DateSpan::Sort::DAY};
        }
        return read_month(year, mon);
    }

    DateSpan read_month(int year, int mon) const {
        const int days = days_in(calendar_, year, mon);
        if (days == 0) refuse(year, mon);
        int first = 1;
        while (!gregorian_of(calendar_, record_of(year, mon, first))) ++first; // of the first month of all
        return {*gregorian_of(calendar_, record_of(year, mon, first)), *gregorian_of(calendar_, record_of(year, mon, days)),
                DateSpan::Sort::MONTH};
    }

    int month_of(int year, const std::string &text) const {
        if (const std::optional<int> value = number(text)) return *value - 1;
        const std::map<int, std::string> found = names_.find_months(calendar_, text);
        if (found.empty() && text.find_first_of("0123456789") == 0) fail_form();
        if (found.empty()) {
            fail(ExitStatus::CALL, fmt::format("the {} calendar has no month {}; it has {}", calendar_name(calendar_),
                                               printable(text), fmt::join(names_.months(calendar_), ", ")));
        }
        if (found.size() > 1) {
            std::string names;
            for (const auto &[month, name] : found) names += (names.empty() ? "" : " or ") + name;
            fail(ExitStatus::CALL, fmt::format("{} may be {}", printable(text), names));
        }
        const int name = found.begin()->first;
        const std::optional<int> mon = month_named(calendar_, year, name);
        if (!mon && !is_whole(year)) fail_range();
        if (!mon) fail(ExitStatus::DATA, fmt::format("{} has no month {}", year, names_.month(calendar_, name)));
        return *mon;
    }

    // Of another year the calendar has no day, or not all.
    bool is_whole(int year) const {
        const auto [first, last] = range_of(calendar_);
        const int first_whole = year_of(first) + (first.yday > 0 ? 1 : 0);
        const int last_whole = year_of(last) - (calendar_ == Calendar::GREGORIAN ? 0 : 1);
        return year >= first_whole && year <= last_whole;
    }

    [[noreturn]] void refuse(int year, int mon) const {
        if (!is_whole(year)) fail_range();
        const int months = months_in(calendar_, year), days = days_in(calendar_, year, mon);
        if (mon < 0 || mon >= months) fail(ExitStatus::DATA, fmt::format("{} has {} months", year, months));
        const gl_tm last = *date_in(calendar_, *gregorian_of(calendar_, record_of(year, mon, days)));
        fail(ExitStatus::DATA, fmt::format("{} has {} days", names_.month_and_year(calendar_, last), days));
    }

    [[noreturn]] void fail_range() const {
        const auto [first, last] = range_of(calendar_);
        fail(ExitStatus::DATA,
             fmt::format("{} dates go from {} to {}", calendar_name(calendar_), numbers_of(first), numbers_of(last)));
    }

    const std::string &text_;
    Calendar calendar_;
    const DateNames &names_;
};

} // namespace

DateSpan read_dates(const std::string &text, Calendar calendar, const DateNames &names) {
    return Reader(text, calendar, names).read();
}

} // namespace qbgl
