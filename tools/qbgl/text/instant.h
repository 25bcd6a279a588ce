// Points in time as the command line has them: ISO dates, seconds since 1970, and zones.
#pragma once

#include "qbgl.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qbgl {

// Where clocks show what: UTC, a fixed distance from it, or the zone of this machine.
class Zone {
  public:
    // `name` is utc, native, or a distance such as +02:00. Throws Failure.
    explicit Zone(const std::string &name);

    // What clocks show at a time in seconds since 1970, as a record with weekday, day of the year, and the number 0 of the zone.
    gl_tm record_at(int64_t seconds) const;
    // When they show it.
    int64_t seconds_of(const gl_tm &shown) const;
    std::string name_at(int64_t seconds) const;
    std::vector<std::string> names() const; // that it has nowadays

  private:
    bool native_ = false;
    int32_t east_ = 0; // seconds
    std::string name_ = "UTC";
};

// What is wrong with a date, for machines and for people.
struct DateFault {
    std::string_view kind;
    std::string sentence;
    size_t position = 0; // of the character where it goes wrong, from 1 on; 0 when all of it does
};

// Reads YEAR-MONTH-DAY, alone or with T or a blank and HH:MM or HH:MM:SS, and then Z or a distance from UTC; or @ and seconds since
// 1970. Throws DateFault.
int64_t read_instant(std::string_view text, const Zone &zone);

int64_t now();

// +HH:MM
std::string distance_text(int32_t east);

// YEAR-MONTH-DAY, with at least four digits of year, and HH:MM:SS.
std::string iso_date(const gl_tm &date);
std::string iso_time(const gl_tm &date);

} // namespace qbgl
