#include "cal/gregorian.h"

#include "qbgl.h"

using namespace qbgl;

namespace {

constexpr int32_t YEARS_IN_CYCLE = 400;
static_assert(DAYS_IN_400_YEARS % DAYS_IN_WEEK == 0); // so the weekdays come again, too

constexpr int32_t positive_rest(int32_t value, int32_t divisor) {
    const int32_t rest = value % divisor;
    return rest < 0 ? rest + divisor : rest;
}

} // namespace

int _gl_gregorian_yearday(int mday, int mon, int year) {
    return is_month(mon) ? static_cast<int>(int64_t{mday} + end_of_month_before(year, mon)) : -1;
}

int _gl_gregorian_weekday(int mday, int mon, int year) {
    if (!is_month(mon)) return -1;
    const CalendarDate same = {positive_rest(year, YEARS_IN_CYCLE) + YEARS_IN_CYCLE, mon, positive_rest(mday, DAYS_IN_WEEK)};
    return static_cast<int>(static_cast<int32_t>(gregorian_day(same)) % DAYS_IN_WEEK);
}
