// Dates as they stand in gl_tm.
#pragma once

#include "cal/gregorian.h"
#include "qbgl.h"

#include <optional>

namespace qbgl {

inline constexpr int32_t YEAR_OF_RECORD_0 = 1900;

// What a conversion finds.
struct ConvertedDate {
    CalendarDate date;
    int32_t monname, wday, yday;
};

// A year too large for the sum becomes one far out of every range.
inline CalendarDate date_of(const gl_tm &record) {
    const auto year = static_cast<int32_t>(static_cast<uint32_t>(record.year) + uint32_t{YEAR_OF_RECORD_0});
    return {year, record.mon, record.mday};
}

// What every output has of its input, with zeros for the date.
inline gl_tm without_date(const gl_tm &in) {
    gl_tm result{};
    result.sec = in.sec;
    result.min = in.min;
    result.hour = in.hour;
    result.isdst = in.isdst;
    result.gmtoff = in.gmtoff;
    result.zone = in.zone;
    return result;
}

// What an entry point returns. The input is read first: it may be the output.
inline int write_date(const std::optional<ConvertedDate> &found, const gl_tm &in, gl_tm &out) {
    if (!found) {
        out = {};
        return -1;
    }
    gl_tm result = without_date(in);
    result.extra = in.extra;
    result.mday = found->date.mday;
    result.mon = found->date.mon;
    result.monname = found->monname;
    result.year = found->date.year - YEAR_OF_RECORD_0;
    result.wday = found->wday;
    result.yday = found->yday;
    out = result;
    return 0;
}

// A date has no month when neither its number nor its name is given.
inline constexpr int32_t NO_MONTH = -1;

inline bool has_no_month(const gl_tm &record) { return record.mon == NO_MONTH && record.monname == NO_MONTH; }

inline ConvertedDate gregorian_result(int32_t day) {
    const auto [date, yday] = gregorian_date(day);
    return {date, date.mon, day % DAYS_IN_WEEK, yday};
}

} // namespace qbgl
