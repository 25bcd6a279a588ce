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
        : request_(request), messages_(messages), names_(locale), from_(calendar_named(request.from)),
          shown_(CALENDARS.begin(), CALENDARS.end()) {
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
        const bool sheet = span.sort == DateSpan::Sort::MONTH && (!request_.local || shown_.front() == from_);
        if (sheet && !messages_.as_json()) {
            show_month(span);
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

    // A week a line, and above it the month's name in the middle.
    void show_month(const DateSpan &span) {
        size_t columns = 2;
        for (int day = 0; day < DAYS_OF_WEEK; ++day) columns = std::max(columns, utf8_columns(names_.short_day(day)));
        const size_t width = (columns + 1) * DAYS_OF_WEEK - 1;
        const std::string title = names_.month_and_year(from_, *date_in(from_, span.first));
        output_ += std::string((width - std::min(utf8_columns(title), width)) / 2, ' ') + title + "\n";
        for (int day = 0; day < DAYS_OF_WEEK; ++day) append_cell(names_.short_day(day), day, columns);
        for (int day = 0; day < span.first.wday; ++day) append_cell("", day, columns);
        for (std::optional<gl_tm> day = span.first; day; day = days_later(*day, 1)) {
            append_cell(std::to_string(date_in(from_, *day)->mday), day->wday, columns);
            if (numbers_of(*day) == numbers_of(span.last)) break;
        }
        if (output_.back() != '\n') output_ += "\n";
    }

    void append_cell(const std::string &text, int wday, size_t columns) {
        const size_t used = std::min(utf8_columns(text), columns);
        output_ += (wday > 0 ? " " : "") + std::string(columns - used, ' ') + text + (wday == DAYS_OF_WEEK - 1 ? "\n" : "");
    }

    void flush() {
        if (status_ == ExitStatus::OK) status_ = print(output_, messages_);
        output_.clear();
    }

    static constexpr size_t LARGEST_OUTPUT = 1 << 16, WIDEST_DATE = 32;

    const CalRequest &request_;
    const Messages &messages_;
    DateNames names_;
    Calendar from_; // of the dates given
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
