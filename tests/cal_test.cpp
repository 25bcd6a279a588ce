// The calendars, against almanacs that are kept day by day.
#include <qbgl.h>

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cstring>
#include <functional>
#include <memory>
#include <vector>

namespace {

using Convert = int (*)(const gl_tm *, gl_tm *);
using Lengths = std::vector<int>;

// As people keep it: one day after the other, by the lengths of this year's months.
struct Almanac {
    std::function<Lengths(int)> months_of;
    int year, mon = 0, mday = 1, yday = 0;
    Lengths months = months_of(year);

    void next() {
        ++yday;
        if (++mday <= months[static_cast<size_t>(mon)]) return;
        mday = 1;
        if (static_cast<size_t>(++mon) < months.size()) return;
        mon = yday = 0;
        months = months_of(++year);
    }

    gl_tm date(int wday, int monname) const { return {1, 2, 3, 4, mday, mon, monname, year - 1900, wday, yday, 5, 6, 7}; }
};

Lengths gregorian_months(int year) {
    const bool leap = year % 400 == 0 || (year % 4 == 0 && year % 100 != 0);
    return {31, leap ? 29 : 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
}

Lengths islamic_months(int year) {
    const bool leap = (11 * (year + 1) + 3) / 30 > (11 * year + 3) / 30;
    return {30, 29, 30, 29, 30, 29, 30, 29, 30, 29, 30, leap ? 30 : 29};
}

constexpr int HEBREW_DAY_1 = -1373427; // a Monday, by the count that has 1 January of year 1 as day 1

// Rosh Hashanah of all years: molads in days, hours and parts, added up from that of the first year. Two postponements go by the
// molad, the other two by the lengths that years must not have.
class RoshHashanah {
  public:
    RoshHashanah() {
        int64_t day = 1, hours = 5, parts = 204;
        for (size_t year = 1; year < days_.size(); ++year) {
            days_[year] = day + (hours >= 18 ? 1 : 0);
            if (const int64_t weekday = days_[year] % 7; weekday == 0 || weekday == 3 || weekday == 5) ++days_[year];
            for (int month = 0; month < (is_leap(static_cast<int>(year)) ? 13 : 12); ++month) {
                parts += 793;
                hours += 12 + parts / 1080;
                day += 29 + hours / 24;
                parts %= 1080, hours %= 24;
            }
        }
        const std::vector<int64_t> plain = days_;
        for (size_t year = 2; year + 1 < plain.size(); ++year) {
            if (plain[year + 1] - plain[year] == 356) days_[year] += 2;
            if (plain[year] - plain[year - 1] == 382) days_[year] += 1;
        }
    }

    static bool is_leap(int year) { return "L..L..L.L..L..L..L."[year % 19] == 'L'; }
    int day(int year) const { return static_cast<int>(days_[static_cast<size_t>(year)]) - 1 + HEBREW_DAY_1; }

    Lengths months(int year) const {
        const int length = day(year + 1) - day(year);
        Lengths result = {30, length % 10 == 5 ? 30 : 29, length % 10 == 3 ? 29 : 30, 29, 30, 29, 30, 29, 30, 29, 30, 29};
        if (is_leap(year)) result.insert(result.begin() + 5, 30);
        return result;
    }

  private:
    std::vector<int64_t> days_ = std::vector<int64_t>(14220);
};

int hebrew_name(const Almanac &hebrew) {
    static constexpr std::array LEAP = {0, 1, 2, 3, 4, 12, 13, 6, 7, 8, 9, 10, 11};
    return hebrew.months.size() == LEAP.size() ? LEAP[static_cast<size_t>(hebrew.mon)] : hebrew.mon;
}

bool same(const gl_tm &a, const gl_tm &b) { return std::memcmp(&a, &b, sizeof a) == 0; }

// Converts, in place, a date of which only what must be there is set.
bool converts(Convert convert, gl_tm from, const gl_tm &to) {
    from.wday = from.yday = 77;
    return convert(&from, &from) == 0 && same(from, to);
}

constexpr int FIRST_ISLAMIC_DAY = 227014, LAST_DAY_TO_HEBREW = 3652113;
#ifdef __SANITIZE_ADDRESS__
constexpr int EVERY = 5; // enough for what sanitizers find, and all days would take them long
#else
constexpr int EVERY = 1;
#endif

TEST(Calendars, EveryDayIsThatOfTheAlmanacs) {
    const RoshHashanah years;
    Almanac gregorian{gregorian_months, 1}, islamic{islamic_months, 1};
    Almanac hebrew{[&](int year) { return years.months(year); }, 3761};
    for (int day = years.day(3761); day < 1; ++day) hebrew.next();
    for (int day = 1; hebrew.year < 14214; ++day, gregorian.next(), hebrew.next()) {
        if (day > FIRST_ISLAMIC_DAY) islamic.next();
        if (day % EVERY != 0) continue;
        const gl_tm date = gregorian.date(day % 7, gregorian.mon), in_hebrew = hebrew.date(day % 7, hebrew_name(hebrew));
        gl_tm named = in_hebrew;
        named.mon = -1;
        ASSERT_EQ(_gl_gregorian_yearday(date.mday, date.mon, gregorian.year), date.yday) << day;
        ASSERT_EQ(_gl_gregorian_weekday(date.mday, date.mon, gregorian.year), date.wday) << day;
        ASSERT_TRUE(day > LAST_DAY_TO_HEBREW || converts(gl_cal_gregorian_to_hebrew, date, in_hebrew)) << day;
        for (const gl_tm &from : {in_hebrew, named}) ASSERT_TRUE(converts(gl_cal_hebrew_to_gregorian, from, date)) << day;
        if (day < FIRST_ISLAMIC_DAY || islamic.year > 9999) continue;
        const gl_tm in_islamic = islamic.date(day % 7, islamic.mon);
        ASSERT_TRUE(converts(gl_cal_gregorian_to_islamic, date, in_islamic)) << day;
        ASSERT_TRUE(converts(gl_cal_islamic_to_gregorian, in_islamic, date)) << day;
    }
}

const gl_tm ZEROS{};

// Of a year in full.
gl_tm date(int year, int mon, int mday, int monname = -7) {
    return {1, 2, 3, 4, mday, mon, monname, static_cast<int>(static_cast<unsigned>(year) - 1900), 0, 0, 5, 6, 7};
}

TEST(Calendars, DatesOutsideTheirRangesGiveZeros) {
    const struct {
        Convert convert;
        gl_tm first, before_first, last, after_last;
    } CASES[] = {
        {gl_cal_gregorian_to_hebrew, date(1, 0, 1), date(1, 0, 0), date(10000, 1, 23), date(10000, 1, 24)},
        {gl_cal_gregorian_to_hebrew, date(1, 0, 1), date(0, 11, 31), date(10000, 1, 23), date(10000, 2, -400)},
        {gl_cal_hebrew_to_gregorian, date(3761, 3, 18), date(3761, 3, 17), date(14213, 11, 29), date(14214, 0, 1)},
        {gl_cal_hebrew_to_gregorian, date(3761, 4, 1), date(3761, 2, 48), date(14213, 11, 29), date(14213, 11, 30)},
        {gl_cal_gregorian_to_islamic, date(622, 6, 18), date(622, 6, 17), date(10323, 9, 20), date(10323, 9, 21)},
        {gl_cal_gregorian_to_islamic, date(622, 7, 1), date(622, 5, 48), date(10323, 9, 20), date(10323, 10, -400)},
        {gl_cal_islamic_to_gregorian, date(1, 0, 1), date(1, 0, 0), date(9999, 11, 29), date(9999, 11, 31)},
        {gl_cal_islamic_to_gregorian, date(1, 0, 1), date(0, 11, 29), date(9999, 11, 29), date(10000, 0, 1)},
    };
    for (const auto &row : CASES) {
        SCOPED_TRACE(&row - CASES);
        gl_tm out;
        for (const gl_tm *inside : {&row.first, &row.last}) EXPECT_EQ(row.convert(inside, &out), 0);
        for (const gl_tm *outside : {&row.before_first, &row.after_last}) {
            std::memset(&out, 77, sizeof out);
            EXPECT_EQ(row.convert(outside, &out), -1);
            EXPECT_TRUE(same(out, ZEROS));
        }
    }
}

TEST(Calendars, MonthsGoByTheirNamesWhereTheNumberIsMissing) {
    constexpr int COMMON = 5783, LEAP = 5784, LONG = 5782; // 355, 383, and 384 days
    const struct {
        int year, name, mon; // -1: no such name
    } CASES[] = {{COMMON, 0, 0}, {COMMON, 11, 11}, {COMMON, 12, -1}, {COMMON, 13, -1}, {COMMON, -3, -1},
                 {LEAP, 5, 5},   {LEAP, 6, 7},     {LEAP, 11, 12},   {LEAP, 12, 5},    {LEAP, 13, 6},
                 {LEAP, 14, -1}, {LONG, 13, 6},    {LONG, -3, -1},   {9, 13, -1}};
    for (const auto &[year, name, mon] : CASES) {
        SCOPED_TRACE(testing::Message() << year << " " << name);
        gl_tm named = date(year, -1, 15, name), numbered = date(year, mon, 15);
        const int wanted = mon < 0 ? -1 : gl_cal_hebrew_to_gregorian(&numbered, &numbered);
        EXPECT_EQ(gl_cal_hebrew_to_gregorian(&named, &named), wanted);
        EXPECT_TRUE(same(named, mon < 0 ? ZEROS : numbered));
    }
    gl_tm named = date(1446, -1, 15, 8), numbered = date(1446, 8, 15);
    for (gl_tm *islamic : {&named, &numbered}) EXPECT_EQ(gl_cal_islamic_to_gregorian(islamic, islamic), 0);
    EXPECT_TRUE(same(named, numbered));
    for (const Convert convert : {gl_cal_hebrew_to_gregorian, gl_cal_islamic_to_gregorian}) {
        gl_tm none = date(5784, -1, 15, -1);
        EXPECT_EQ(convert(&none, &none), -1);
        EXPECT_TRUE(same(none, {1, 2, 3, 0, 0, 0, 0, 0, 0, 0, 5, 6, 7}));
    }
}

// Each result is a date that comes back from the other calendar, or zeros, whatever the fields hold.
TEST(Calendars, OddFieldsMakeDatesOrZeros) {
    constexpr std::array ODD = {INT_MIN, INT_MIN + 1900, -1000000, -13, -1, 0, 11, 12, 13, 55, 1000000, INT_MAX - 1900, INT_MAX};
    constexpr std::array YEARS = {INT_MIN, -1, 0, 1, 622, 3761, 5784, 9999, 14213, INT_MAX - 1900, INT_MAX};
    constexpr std::array<std::array<Convert, 2>, 4> PAIRS = {{{gl_cal_gregorian_to_hebrew, gl_cal_hebrew_to_gregorian},
                                                              {gl_cal_hebrew_to_gregorian, gl_cal_gregorian_to_hebrew},
                                                              {gl_cal_gregorian_to_islamic, gl_cal_islamic_to_gregorian},
                                                              {gl_cal_islamic_to_gregorian, gl_cal_gregorian_to_islamic}}};
    int converted = 0;
    for (const int year : YEARS)
        for (const int mon : ODD)
            for (const int mday : ODD)
                for (const auto &[there, back] : PAIRS) {
                    const gl_tm in = date(year, mon, mday, mday);
                    gl_tm out, home, again;
                    if (there(&in, &out) != 0) {
                        const bool cleared = mon != -1 || mday != -1;
                        EXPECT_EQ(same(out, cleared ? ZEROS : out), true) << year << " " << mon << " " << mday;
                    } else if (++converted; out.year < 8100) { // some dates of later years have no Hebrew ones
                        EXPECT_EQ(back(&out, &home) + there(&home, &again), 0) << year << " " << mon;
                        EXPECT_TRUE(same(again, out)) << year << " " << mon << " " << mday;
                    }
                    const int weekday = _gl_gregorian_weekday(mday, mon, year % 400);
                    EXPECT_EQ(_gl_gregorian_weekday(mday, mon, year), weekday);
                    EXPECT_EQ(weekday == -1, mon < 0 || mon > 11);
                    EXPECT_TRUE(weekday != -1 || _gl_gregorian_yearday(mday, mon, year) == -1);
                }
    EXPECT_GT(converted, 100);
}

TEST(Calendars, LocalDatesAreThoseOfTheLocalesCalendar) {
    const auto locale = std::make_unique<gl_locale>();
    const gl_tm gregorian = {1, 2, 3, 4, 3, 9, 9, 124, 4, 276, 5, 6, 7}, untouched = date(1, 1, 1);
    gl_tm hebrew, islamic;
    ASSERT_EQ(gl_cal_gregorian_to_hebrew(&gregorian, &hebrew) + gl_cal_gregorian_to_islamic(&gregorian, &islamic), 0);
    const struct {
        int result, century;
        const gl_tm *local;
    } CASES[] = {{-1, 0, nullptr}, {0, 0, &gregorian}, {0, 57, &hebrew}, {0, 14, &islamic}, {-1, 0, nullptr}, {-1, 0, nullptr}};
    for (const auto &row : CASES) {
        gl_tm out = untouched, back = untouched;
        EXPECT_EQ(gl_alt_getcentury(locale.get()), row.century);
        EXPECT_EQ(gl_cal_gregorian_to_local(locale.get(), &gregorian, &out), row.result);
        EXPECT_TRUE(same(out, row.local != nullptr ? *row.local : untouched));
        EXPECT_EQ(gl_cal_local_to_gregorian(locale.get(), &out, &back), row.result);
        EXPECT_TRUE(same(back, row.local != nullptr ? gregorian : untouched));
        ++locale->time.calendar;
    }
}

} // namespace
