// The names of months and days.
#pragma once

#include "text/calendars.h"
#include "text/shown_text.h"

#include <map>
#include <vector>

namespace qbgl {

// Those of a locale for the months of its own calendar and for the days of the week, in UTF-8; English ones otherwise.
class DateNames {
  public:
    explicit DateNames(gl_locale &locale);

    std::string month(Calendar calendar, int name) const;
    std::string month_and_year(Calendar calendar, const gl_tm &date) const;
    std::string date(Calendar calendar, const gl_tm &date) const;
    // The months that a text may mean, index and name: those with this name, the locale's or an English one, whatever its case,
    // blanks and marks; without any, those whose names begin so.
    std::map<int, std::string> find_months(Calendar calendar, const std::string &text) const;
    std::vector<std::string> months(Calendar calendar) const;

    const std::string &day(int wday) const { return days_[static_cast<size_t>(wday)]; }
    const std::string &short_day(int wday) const { return short_days_[static_cast<size_t>(wday)]; }

  private:
    gl_locale &locale_;
    int calendar_; // the locale's
    TextView view_;
    std::vector<std::string> months_, days_, short_days_;
};

} // namespace qbgl
