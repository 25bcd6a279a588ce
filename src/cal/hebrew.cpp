// The Hebrew calendar. A year begins with the day of the molad of Tishri, the mean new moon, or up to two days later.
#include "cal/gregorian.h"
#include "cal/record.h"

using namespace qbgl;

namespace {

constexpr uint32_t PARTS_IN_HOUR = 1080, PARTS_IN_DAY = 24 * PARTS_IN_HOUR;
constexpr uint32_t LUNATION_DAYS = 29, LUNATION_PARTS = 12 * PARTS_IN_HOUR + 793;

// Of nineteen years, seven have a thirteenth month: 235 months in all.
constexpr uint32_t YEARS_OF_CYCLE = 19, LEAP_YEARS_OF_CYCLE = 7, MONTHS_OF_CYCLE = 12 * YEARS_OF_CYCLE + LEAP_YEARS_OF_CYCLE;

// Years are counted from one that begins a cycle.
constexpr int32_t YEAR_ZERO = 3744;
static_assert(YEAR_ZERO % YEARS_OF_CYCLE == 1);

// Its molad, on a Saturday. Six hours are added to each, by which one at noon or later belongs to the next day (molad zaken): a day
// has begun at six in the evening.
constexpr uint32_t MOLAD_ZAKEN = 6 * PARTS_IN_HOUR, FIRST_MOLAD = 1 * PARTS_IN_HOUR + 779 + MOLAD_ZAKEN;

// Days are counted from a Monday: the molad's day before any postponement is two days ahead in this count.
constexpr int32_t MOLAD_AHEAD = 2;

// The molad of the year 1, BaHaRaD: second day of the week, 5 hours, 204 parts.
constexpr uint64_t BAHARAD = 2 * PARTS_IN_DAY + 5 * PARTS_IN_HOUR + 204;
constexpr uint64_t MONTHS_TO_YEAR_ZERO = YEAR_ZERO / YEARS_OF_CYCLE * MONTHS_OF_CYCLE;
static_assert((BAHARAD + MOLAD_ZAKEN + MONTHS_TO_YEAR_ZERO * (LUNATION_DAYS * PARTS_IN_DAY + LUNATION_PARTS)) %
                  (DAYS_IN_WEEK * PARTS_IN_DAY) ==
              FIRST_MOLAD);

constexpr CalendarDate FIRST_GREGORIAN = {1, 0, 1}, LAST_GREGORIAN = {10000, 1, 23};
constexpr CalendarDate FIRST_HEBREW = {3761, 3, 18};
constexpr int32_t LAST_HEBREW_YEAR = 14213;

// The months before a year, and the nineteenths of one that are left over: with twelve or more the year has a thirteenth month.
struct MonthsBefore {
    static constexpr uint32_t FIRST_LEAP_REST = YEARS_OF_CYCLE - LEAP_YEARS_OF_CYCLE;
    uint32_t months, rest;

    constexpr bool is_common() const { return rest < FIRST_LEAP_REST; }
    constexpr bool follows_leap() const { return rest < LEAP_YEARS_OF_CYCLE; }
    constexpr MonthsBefore next() const {
        return {months + 13 - is_common(), is_common() ? rest + LEAP_YEARS_OF_CYCLE : rest - FIRST_LEAP_REST};
    }
};

constexpr MonthsBefore months_before(int32_t years) {
    const auto number = static_cast<uint32_t>(years);
    const uint32_t leap_parts = LEAP_YEARS_OF_CYCLE * number + 1;
    return {12 * number + leap_parts / YEARS_OF_CYCLE, leap_parts % YEARS_OF_CYCLE};
}

// The day of 1 Tishri of a year, counted as above. 32 bits suffice until the year 28000.
constexpr int32_t new_year(const MonthsBefore &before) {
    enum : uint32_t { SATURDAY, SUNDAY, MONDAY, TUESDAY, WEDNESDAY, THURSDAY, FRIDAY };
    constexpr uint32_t GATARAD = 9 * PARTS_IN_HOUR + 204 + MOLAD_ZAKEN, BETUTAKPAT = 15 * PARTS_IN_HOUR + 589 + MOLAD_ZAKEN;
    const uint32_t parts = before.months * LUNATION_PARTS + FIRST_MOLAD, time = parts % PARTS_IN_DAY;
    const uint32_t day = before.months * LUNATION_DAYS + parts / PARTS_IN_DAY, weekday = day % DAYS_IN_WEEK;
    // Sums, because branches of random outcome would take longer than all the rest.
    constexpr uint32_t LO_ADU_ROSH = 1 << SUNDAY | 1 << WEDNESDAY | 1 << FRIDAY;
    const uint32_t postponed = (LO_ADU_ROSH >> weekday & 1) + 2U * ((weekday == TUESDAY) & before.is_common() & (time >= GATARAD)) +
                               1U * ((weekday == MONDAY) & before.follows_leap() & (time >= BETUTAKPAT));
    return static_cast<int32_t>(day + postponed) - MOLAD_AHEAD;
}

constexpr int32_t hebrew_size_in_days(int32_t years) { return new_year(months_before(years)); }

// From the count above to that of the Gregorian calendar: 3 October 2024 was 1 Tishri 5785.
constexpr int32_t DAY_ZERO = static_cast<int32_t>(gregorian_day({2024, 9, 3})) - hebrew_size_in_days(5785 - YEAR_ZERO);

constexpr int32_t FIRST_DAY = gregorian_day(FIRST_GREGORIAN), LAST_DAY = gregorian_day(LAST_GREGORIAN);
constexpr int32_t LAST_HEBREW_DAY = DAY_ZERO + hebrew_size_in_days(LAST_HEBREW_YEAR + 1 - YEAR_ZERO) - 1;

// Months of 30 and 29 days in turn, but for Heshvan with 30 in a complete year and Kislev with 29 in a deficient one, and for
// Adar I with 30, which a leap year has before Adar.
constexpr size_t HESHVAN = 1, KISLEV = 2, ADAR_I = 5, MOST_MONTHS = 13;
constexpr int32_t ADAR_NAME = 5, ELUL_NAME = 11, ADAR_I_NAME = 12, ADAR_II_NAME = 13;

// The years of a kind have the same months: 353, 354, 355, and with Adar I 383, 384, 385 days.
struct YearKind {
    std::array<int32_t, MOST_MONTHS + 1> days_before;
    std::array<int32_t, MOST_MONTHS> names;
    bool is_leap;
};

constexpr size_t kind_of_length(int32_t length) {
    constexpr int32_t SHORTEST_COMMON_YEAR = 353, SHORTEST_LEAP_YEAR = 383, COMMON_KINDS = 3;
    constexpr int32_t GAP = SHORTEST_LEAP_YEAR - SHORTEST_COMMON_YEAR - COMMON_KINDS;
    return static_cast<size_t>(length - SHORTEST_COMMON_YEAR - GAP * (length >= SHORTEST_LEAP_YEAR));
}

constexpr YearKind year_kind(size_t kind) {
    enum : size_t { DEFICIENT, REGULAR, COMPLETE, KINDS };
    const bool is_leap = kind >= KINDS;
    std::array<int32_t, MOST_MONTHS> lengths{}, names{};
    for (size_t name = 0, mon = 0; mon < MOST_MONTHS; ++mon) {
        const bool is_adar_i = is_leap && mon == ADAR_I;
        lengths[mon] = is_adar_i || name % 2 == 0 ? 30 : 29;
        names[mon] = is_adar_i ? ADAR_I_NAME : static_cast<int32_t>(name);
        if (!is_adar_i) ++name;
    }
    if (is_leap) names[ADAR_I + 1] = ADAR_II_NAME;
    if (kind % KINDS == COMPLETE) lengths[HESHVAN] = 30;
    if (kind % KINDS == DEFICIENT) lengths[KISLEV] = 29;
    return {days_before(lengths), names, is_leap};
}
constexpr std::array<YearKind, 6> YEAR_KINDS = {year_kind(0), year_kind(1), year_kind(2), year_kind(3), year_kind(4), year_kind(5)};

class HebrewYear {
  public:
    explicit HebrewYear(int32_t number) : HebrewYear(number, months_before(number)) {}

    // The one that a day is in.
    static HebrewYear with_day(int32_t day) {
        // The lunation that the day before is in never belongs to a later year, and to an earlier one only in a year's first days.
        constexpr uint64_t LUNATIONS_IN_DAY = (uint64_t{PARTS_IN_DAY} << 32) / (LUNATION_DAYS * PARTS_IN_DAY + LUNATION_PARTS);
        const auto lunations =
            static_cast<uint32_t>(static_cast<uint64_t>(static_cast<uint32_t>(day - 1)) * LUNATIONS_IN_DAY >> 32);
        HebrewYear year(static_cast<int32_t>((YEARS_OF_CYCLE * lunations + YEARS_OF_CYCLE - 2) / MONTHS_OF_CYCLE));
        if (day >= year.end_) year = HebrewYear(year.number_ + 1);
        return year;
    }

    int32_t number() const { return number_; }
    int32_t begin() const { return begin_; }
    int32_t days_before(int32_t mon) const { return kind_->days_before[static_cast<size_t>(mon)]; }

    // A month has at most 30 days, so the quotient is the month or the one before.
    int32_t month_of_day(int32_t yday) const {
        const int32_t mon = yday / 30;
        return mon + (yday >= days_before(mon + 1));
    }

    // The two Adars of a leap year have names of their own.
    int32_t name_of_month(int32_t mon) const { return kind_->names[static_cast<size_t>(mon)]; }

    // The month of a name, or NO_MONTH. Adar without a number is the first one.
    int32_t month_of_name(int32_t name) const {
        if (name > (kind_->is_leap ? ADAR_II_NAME : ELUL_NAME)) return NO_MONTH;
        if (!kind_->is_leap || name <= ADAR_NAME) return name;
        return name > ELUL_NAME ? name - ADAR_I_NAME + ADAR_NAME : name + 1;
    }

  private:
    HebrewYear(int32_t number, const MonthsBefore &before)
        : number_(number), begin_(new_year(before)), end_(new_year(before.next())),
          kind_(&YEAR_KINDS[kind_of_length(end_ - begin_)]) {}

    int32_t number_, begin_, end_;
    const YearKind *kind_;
};

std::optional<ConvertedDate> to_hebrew(const CalendarDate &date) {
    if (date < FIRST_GREGORIAN || LAST_GREGORIAN < date || !is_month(date.mon)) return std::nullopt;
    const int64_t day = gregorian_day(date);
    if (day < FIRST_DAY || day > LAST_DAY) return std::nullopt; // a day far beyond the month
    const int32_t count = static_cast<int32_t>(day) - DAY_ZERO;
    const HebrewYear year = HebrewYear::with_day(count);
    const int32_t yday = count - year.begin(), mon = year.month_of_day(yday);
    const CalendarDate found = {year.number() + YEAR_ZERO, mon, yday - year.days_before(mon) + 1};
    return ConvertedDate{found, year.name_of_month(mon), static_cast<int32_t>(day) % DAYS_IN_WEEK, yday};
}

std::optional<ConvertedDate> from_hebrew(CalendarDate date, int32_t monname) {
    if (date.year < FIRST_HEBREW.year || date.year > LAST_HEBREW_YEAR) return std::nullopt;
    const HebrewYear year(date.year - YEAR_ZERO);
    if (date.mon == NO_MONTH) date.mon = year.month_of_name(monname);
    // The thirteenth month of a common year is the first of the next one.
    if (date.mon < 0 || date.mon > 12 || date < FIRST_HEBREW) return std::nullopt;
    const int64_t day = int64_t{date.mday} + DAY_ZERO + year.begin() + year.days_before(date.mon) - 1;
    if (day < FIRST_DAY || day > LAST_HEBREW_DAY) return std::nullopt;
    return gregorian_result(static_cast<int32_t>(day));
}

} // namespace

int gl_cal_gregorian_to_hebrew(const gl_tm *in, gl_tm *out) { return write_date(to_hebrew(date_of(*in)), *in, *out); }

int gl_cal_hebrew_to_gregorian(const gl_tm *in, gl_tm *out) {
    if (!has_no_month(*in)) return write_date(from_hebrew(date_of(*in), in->monname), *in, *out);
    *out = without_date(*in);
    return -1;
}
