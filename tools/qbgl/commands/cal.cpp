#include "commands/cal.h"

#include "frame/files.h"
#include "text/date_text.h"
#include "text/utf8.h"
#include "tree/locale_handle.h"

#include <algorithm>
#include <ctime>
#include <fmt/format.h>

namespace qbgl {

namespace {

constexpr int DAYS_OF_WEEK = 7;

// The day that weeks begin with, by the territory in the name of a locale's object, as in de_de/e01c.lco; Monday where the table
// has nothing else, Sunday where there is no territory. The tables follow the CLDR's weekData.
int first_weekday(const std::string &object) {
    constexpr std::string_view SATURDAY = "ae af bh dj dz eg iq ir jo kw ly om qa sd sy";
    constexpr std::string_view SUNDAY =
        "ag as bd br bs bt bw bz ca co dm do et gt gu hk hn id il in jm jp ke kh kr la mh mm mo mt mx "
        "mz ni np pa pe ph pk pr pt py sa sg sv th tt tw um us ve vi ws ye za zw";
    constexpr size_t LANGUAGE = 3, TERRITORY = 2;
    if (object.find('/') != LANGUAGE + TERRITORY) return 0;
    const std::string territory = object.substr(LANGUAGE, TERRITORY);
    if (SATURDAY.find(territory) != std::string_view::npos) return 6;
    return SUNDAY.find(territory) != std::string_view::npos ? 0 : 1;
}

Calendar calendar_named(const std::string &name) {
    return *std::find_if(CALENDARS.begin(), CALENDARS.end(), [&](Calendar calendar) { return calendar_name(calendar) == name; });
}

DateSpan today() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    const gl_tm day = days_later(record_of(local.tm_year + 1900, local.tm_mon, local.tm_mday), 0).value();
    return {day, day, DateSpan::Sort::DAY};
}

std::string padded(const std::string &text, size_t columns) {
    const size_t used = utf8_columns(text);
    return text + std::string(columns - std::min(used, columns), ' ');
}

class CalendarSheet {
  public:
    CalendarSheet(const CalRequest &request, const Messages &messages, gl_locale &locale)
        : request_(request), messages_(messages), names_(locale), week_start_(first_weekday(category_name(locale, GL_CAT_TIME))),
          from_(calendar_named(request.from)), shown_(CALENDARS.begin(), CALENDARS.end()) {
        for (int day = 0; day < DAYS_OF_WEEK; ++day) widest_day_ = std::max(widest_day_, utf8_columns(names_.day(day)));
        if (request.local) show_only(locale.time.calendar);
    }

    ExitStatus run() {
        std::vector<DateSpan> spans;
        for (const std::string &text : request_.dates) spans.push_back(read_dates(text, from_, names_));
        if (spans.empty()) spans.push_back(today());
        for (const DateSpan &span : spans) {
            if (status_ == ExitStatus::OK) show(span);
        }
        flush();
        return status_;
    }

  private:
    void show_only(int calendar) {
        const auto known = std::find(CALENDARS.begin(), CALENDARS.end(), static_cast<Calendar>(calendar));
        if (known == CALENDARS.end())
            throw Failure{ExitStatus::CALL, "the locale's calendar is none that can be converted",
                          JsonObject().text("locale", request_.locale)};
        shown_ = {*known};
    }

    void show(const DateSpan &span) {
        const bool has_sheet = span.sort == DateSpan::Sort::MONTH || span.sort == DateSpan::Sort::YEAR;
        if (has_sheet && (!request_.local || shown_.front() == from_) && !messages_.as_json()) {
            show_months(span);
            return;
        }
        for (std::optional<gl_tm> day = span.first; day && status_ == ExitStatus::OK; day = days_later(*day, 1)) {
            if (messages_.as_json())
                output_ += json(*day) + "\n";
            else if (span.sort == DateSpan::Sort::DAY)
                show_day(*day);
            else
                show_line(*day);
            if (output_.size() > LARGEST_OUTPUT) flush();
            if (numbers_of(*day) == numbers_of(span.last)) break;
        }
    }

    std::string date(Calendar calendar, const gl_tm &day) const {
        const std::optional<gl_tm> date = date_in(calendar, day);
        return date ? fmt::format("{}, day {}", names_.date(calendar, *date), date->yday + 1) : "-";
    }

    void show_day(const gl_tm &day) {
        output_ += fmt::format("{} {}\n", numbers_of(day), names_.day(day.wday));
        for (const Calendar calendar : shown_) output_ += fmt::format("  {:10} {}\n", calendar_name(calendar), date(calendar, day));
    }

    void show_line(const gl_tm &day) {
        std::string line = fmt::format("{} {}", numbers_of(day), padded(names_.day(day.wday), widest_day_));
        for (const Calendar calendar : shown_) line += "  " + padded(date(calendar, day), WIDEST_DATE);
        output_ += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
    }

    std::string json(const gl_tm &day) const {
        JsonObject result;
        result.text("date", numbers_of(day))
            .number("weekday", static_cast<unsigned>(day.wday))
            .text("weekday_name", names_.day(day.wday));
        for (const Calendar calendar : shown_) {
            const std::optional<gl_tm> date = date_in(calendar, day);
            JsonObject members;
            if (date) {
                members.number("year", static_cast<unsigned>(year_of(*date))).number("month", static_cast<unsigned>(date->mon + 1));
                members.text("month_name", names_.month(calendar, date->monname)).number("day", static_cast<unsigned>(date->mday));
                members.number("day_of_year", static_cast<unsigned>(date->yday + 1));
            }
            result.raw(calendar_name(calendar), date ? members.str() : "null");
        }
        return result.str();
    }

    void show_months(const DateSpan &span) {
        const char *separator = "";
        for (std::optional<gl_tm> day = span.first; day;) {
            output_ += separator;
            day = show_month({*day, span.last, DateSpan::Sort::MONTH});
            separator = "\n";
        }
    }

    // A week a line, and above it the month's name in the middle.
    // The result is the first day behind the month, unless the span ends before.
    std::optional<gl_tm> show_month(const DateSpan &span) {
        size_t columns = 2;
        for (int day = 0; day < DAYS_OF_WEEK; ++day) columns = std::max(columns, utf8_columns(names_.short_day(day)));
        const size_t width = (columns + 1) * DAYS_OF_WEEK - 1;
        const std::string title = names_.month_and_year(from_, *date_in(from_, span.first));
        output_ += std::string((width - std::min(utf8_columns(title), width)) / 2, ' ') + title + "\n";
        for (int place = 0; place < DAYS_OF_WEEK; ++place)
            append_cell(names_.short_day((week_start_ + place) % DAYS_OF_WEEK), place, columns);
        for (int place = 0; place < place_of(span.first); ++place) append_cell("", place, columns);
        const int mon = date_in(from_, span.first)->mon;
        std::optional<gl_tm> next;
        for (std::optional<gl_tm> day = span.first; day; day = days_later(*day, 1)) {
            const gl_tm date = *date_in(from_, *day);
            if (date.mon != mon) {
                next = day;
                break;
            }
            append_cell(std::to_string(date.mday), place_of(*day), columns);
            if (numbers_of(*day) == numbers_of(span.last)) break;
        }
        if (output_.back() != '\n') output_ += "\n";
        return next;
    }

    // In the week, from 0 on.
    int place_of(const gl_tm &day) const { return (day.wday - week_start_ + DAYS_OF_WEEK) % DAYS_OF_WEEK; }

    void append_cell(const std::string &text, int place, size_t columns) {
        const size_t used = std::min(utf8_columns(text), columns);
        output_ += (place > 0 ? " " : "") + std::string(columns - used, ' ') + text + (place == DAYS_OF_WEEK - 1 ? "\n" : "");
    }

    void flush() {
        if (status_ == ExitStatus::OK) status_ = print(output_, messages_);
        output_.clear();
    }

    static constexpr size_t LARGEST_OUTPUT = 1 << 16, WIDEST_DATE = 32;

    const CalRequest &request_;
    const Messages &messages_;
    DateNames names_;
    int week_start_; // 0 is Sunday
    Calendar from_;  // of the dates given
    std::vector<Calendar> shown_;
    size_t widest_day_ = 0;
    std::string output_;
    ExitStatus status_ = ExitStatus::OK;
};

} // namespace

ExitStatus run_cal(const CalRequest &request, const Messages &messages) {
    const LocaleHandle locale = open_locale(request.locale, messages);
    return CalendarSheet(request, messages, *locale).run();
}

} // namespace qbgl
