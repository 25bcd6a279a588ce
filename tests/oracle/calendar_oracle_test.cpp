// Every day of both calendars as ICU's calendars of the same rules have it, and the way back to the standard library's.
#include "oracle/differences.h"

#include <qbgl.h>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <unicode/ucal.h>

#include <array>
#include <chrono>
#include <memory>

namespace {

using namespace qbgl_test;

constexpr int DAY_OF_1970 = 719163;

using IcuCalendar = std::unique_ptr<UCalendar, void (*)(UCalendar *)>;

// ICU numbers the months of all Hebrew years alike: Adar I is the sixth, and common years do without it.
int icu_month(const gl_tm &date, bool is_hebrew) {
    constexpr int ADAR = 5;
    if (!is_hebrew || date.monname < ADAR) return date.mon;
    return date.monname > 11 ? date.monname - 12 + ADAR : date.monname + 1;
}

using Fields = std::array<int, 5>; // year, month, day, day of the week, day of the year

Fields gregorian_fields(int day) {
    using namespace std::chrono;
    const sys_days days(std::chrono::days(day - DAY_OF_1970));
    const year_month_day date(days);
    return {int(date.year()), int(unsigned(date.month())) - 1, int(unsigned(date.day())), int(weekday(days).c_encoding()),
            int((days - sys_days(date.year() / January / 1)).count())};
}

class CalendarOracle : public testing::TestWithParam<const char *> {
  protected:
    CalendarOracle()
        : calendar_(ucal_open(u"UTC", -1, fmt::format("@calendar={}", GetParam()).c_str(), UCAL_DEFAULT, &status_), ucal_close) {}

    Fields theirs(int day) {
        constexpr double MILLISECONDS = 86400e3;
        ucal_setMillis(calendar_.get(), (day - DAY_OF_1970) * MILLISECONDS, &status_);
        const auto field = [&](UCalendarDateFields which) { return ucal_get(calendar_.get(), which, &status_); };
        return {field(UCAL_YEAR), field(UCAL_MONTH), field(UCAL_DATE), field(UCAL_DAY_OF_WEEK) - 1, field(UCAL_DAY_OF_YEAR) - 1};
    }

    UErrorCode status_ = U_ZERO_ERROR;
    IcuCalendar calendar_;
};

TEST_P(CalendarOracle, DaysHaveTheSameDates) {
    ASSERT_TRUE(U_SUCCESS(status_)) << u_errorName(status_);
    const bool is_hebrew = GetParam() == std::string("hebrew");
    const auto convert = is_hebrew ? gl_cal_gregorian_to_hebrew : gl_cal_gregorian_to_islamic;
    const auto convert_back = is_hebrew ? gl_cal_hebrew_to_gregorian : gl_cal_islamic_to_gregorian;
    gl_tm gregorian{}, date;
    gregorian.year = (is_hebrew ? 1 : 622) - 1900;
    gregorian.mon = is_hebrew ? 0 : 6;
    gregorian.mday = is_hebrew ? 1 : 18; // and on from there, far beyond the month
    Differences known(QBGL_SOURCE_DIR "/tests/oracle/calendar_differences.txt");
    int unknown = 0;
    int day = is_hebrew ? 1 : 227014;
    for (; convert(&gregorian, &date) == 0; ++day, ++gregorian.mday) {
        const Fields ours = {date.year + 1900, icu_month(date, is_hebrew), date.mday, date.wday, date.yday}, icu = theirs(day),
                     real = gregorian_fields(day);
        ASSERT_EQ(_gl_gregorian_weekday(real[2], real[1], real[0]), real[3]) << day;
        ASSERT_EQ(_gl_gregorian_yearday(real[2], real[1], real[0]), real[4]) << day;
        for (const int month : {date.mon, -1}) { // by its number and by its name
            gl_tm back = date;
            back.mon = month, back.wday = back.yday = 77;
            ASSERT_EQ(convert_back(&back, &back), 0) << day;
            ASSERT_EQ((Fields{back.year + 1900, back.mon, back.mday, back.wday, back.yday}), real);
            ASSERT_EQ(back.monname, back.mon);
        }
        if (ours == icu) continue;
        const auto text = [](const Fields &fields) { return fmt::format("{}", fmt::join(fields, "-")); };
        const Difference difference = {GetParam(), "-", "", fmt::format("{:05}", ours[0]), "date", text(ours), text(icu), "ICU"};
        if (!known.covers(difference) && unknown++ < 10) ADD_FAILURE() << difference.text();
    }
    EXPECT_EQ(day - 1, is_hebrew ? 3652113 : 3770325) << "the last day";
    EXPECT_EQ(unknown, 0);
    EXPECT_TRUE(U_SUCCESS(status_)) << u_errorName(status_);
    for (const std::string &line : known.mismatched())
        if (line.starts_with(GetParam())) ADD_FAILURE() << line;
}

INSTANTIATE_TEST_SUITE_P(Icu, CalendarOracle, testing::Values("hebrew", "islamic-tbla"));

} // namespace
