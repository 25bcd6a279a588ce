// The names of months and days.
#pragma once

#include "calendars.h"
#include "shown_text.h"

#include <vector>

namespace qbgl {

// Those of a locale for the months of its own calendar and for the days of the week, in UTF-8; English ones otherwise.
class DateNames {
  public:
    explicit DateNames(const gl_locale &locale);

    std::string month(Calendar calendar, int name) const;
    std::string month_and_year(Calendar calendar, const gl_tm &date) const;
    std::string date(Calendar calendar, const gl_tm &date) const;
    // The index of a month's name, the locale's or an English one, whatever its case, blanks and marks, or of its beginning;
    // nothing when it is none.
    std::optional<int> find_month(Calendar calendar, const std::string &text) const;
    std::vector<std::string> months(Calendar calendar) const;

    const std::string &day(int wday) const { return days_[static_cast<size_t>(wday)]; }
    const std::string &short_day(int wday) const { return short_days_[static_cast<size_t>(wday)]; }

  private:
    int calendar_; // the locale's
    TextView view_;
    std::vector<std::string> months_, days_, short_days_;
};

} // namespace qbgl
