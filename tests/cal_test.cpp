// The calendars where their ranges end and fields are odd; that every day has its date is the oracle's matter.
#include <qbgl.h>

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cstring>

namespace {

using Convert = int (*)(const gl_tm *, gl_tm *);

bool same(const gl_tm &a, const gl_tm &b) { return std::memcmp(&a, &b, sizeof a) == 0; }

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

// Those that it has are found by their names in the oracle.
TEST(Calendars, MonthsThatAYearLacksAreNone) {
    constexpr int COMMON = 5783, LEAP = 5784, LONG = 5782; // 355, 383, and 384 days
    for (const auto &[year, name] : {std::pair(COMMON, 12), {COMMON, 13}, {COMMON, -3}, {LEAP, 14}, {LONG, -3}, {9, 13}}) {
        gl_tm named = date(year, -1, 15, name);
        EXPECT_EQ(gl_cal_hebrew_to_gregorian(&named, &named), -1) << year << " " << name;
        EXPECT_TRUE(same(named, ZEROS)) << year << " " << name;
    }
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

} // namespace
