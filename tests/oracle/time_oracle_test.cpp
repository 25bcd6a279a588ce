// Dates of every locale of the tree against the platform's strftime_l and strptime_l under the same definition, and read back.
#include "oracle/tree_oracle.h"
#include "support/locale_object.h"

#include "cal/gregorian.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <array>
#include <ctime>
#include <random>
#include <span>

namespace {

using namespace qbgl_test;

// Conversions that have the platform's output with every flag and width; %OB and its like follow them.
constexpr std::string_view LETTERS = "aAbBcCdDeFgGhHIjklmMnpPrRsStTuUVwWxXyYzZ%";
constexpr const char *FLAGS[] = {"", "_", "-", "0", "^", "#", "5", "12", "_7", "-9", "07", "^30"};
constexpr std::string_view WITH_E = "cCxXyY", WITH_O = "bBdeHImMSuUVwWy";

// Formats that tell a day and a time of day, so that what they write can be read back.
constexpr const char *WHOLE[] = {"%Y-%m-%d %H:%M:%S",
                                 "%A, %d %B %Y %T",
                                 "%a %e %b %Y %k:%M:%S",
                                 "%F %T",
                                 "%C %y %j %T",
                                 "%G-%V-%u %T",
                                 "%Y %U %w %T",
                                 "%Y %W %u %T",
                                 "%s",
                                 "%OB %d, %Y %r %S",
                                 "%Oy.%Om.%Od %C %OH:%OM:%OS",
                                 "%EY %B %d %T",
                                 "%EC %Ey %m %d %T",
                                 "%D %l:%M:%S %p %QC",
                                 "%^A %^B %d %Y %R:%S",
                                 "%h %-d %+6Y %-H %-M %-S"};

std::vector<std::string> conversions(std::span<const char *const> flags) {
    std::vector<std::string> result;
    for (const char letter : LETTERS) {
        for (const char *flag : flags) result.push_back(fmt::format("%{}{}", flag, letter));
        if (WITH_E.find(letter) != WITH_E.npos) result.push_back(fmt::format("%E{}", letter));
        if (WITH_O.find(letter) != WITH_O.npos) result.push_back(fmt::format("%O{}", letter));
    }
    return result;
}

struct Day {
    std::tm platforms;
    gl_tm ours;
};

Day day_of(int64_t seconds) {
    constexpr int64_t DAYS_TO_1970 = 719163;
    const auto number = static_cast<int32_t>(DAYS_TO_1970 + seconds / 86400 - (seconds % 86400 < 0));
    const auto in_day = static_cast<int32_t>((seconds % 86400 + 86400) % 86400);
    const auto [date, yday] = qbgl::gregorian_date(number);
    Day day{};
    day.ours = {in_day % 60,      in_day / 60 % 60, in_day / 3600, 0, date.mday, date.mon, date.mon,
                date.year - 1900, number % 7,       yday,          0, 0,         0};
    const gl_tm &tm = day.ours;
    day.platforms = {tm.sec, tm.min, tm.hour, tm.mday, tm.mon, tm.year, tm.wday, tm.yday, 0, 0, "GMT"};
    return day;
}

// From 1900 to 2100, and the days around the edges of eras.
std::vector<Day> days() {
    constexpr int64_t FIRST = -2208988800, LAST = 4133980799;
    std::mt19937 random(13);
    std::uniform_int_distribution<int64_t> any(FIRST, LAST);
    std::vector<Day> result;
    for (const int64_t edge :
         std::initializer_list<int64_t>{-1812153600, -1357603200, 600220800, 631152000, 1556668800, 1577836800, 951782400})
        for (const int offset : {-1, 0, 86399}) result.push_back(day_of(edge + offset));
    for (int i = 0; i < 2000; ++i) result.push_back(day_of(any(random)));
    return result;
}

class Comparison {
  public:
    explicit Comparison(OracleLocale &locale) : locale_(locale), ours_(locale.ours()), platforms_(locale.platforms().get()) {}

    void compare(const std::string &format, const std::string &kind, const Day &day) {
        if (format.ends_with('s') && sizeof(time_t) == sizeof(int32_t) && (day.ours.year < 2 || day.ours.year > 137)) return;
        std::array<char, 600> ours{}, platforms{};
        const int length = gl_mbsftime(&ours_, ours.data(), ours.size(), format.c_str(), &day.ours);
        const size_t theirs = strftime_l(platforms.data(), platforms.size(), format.c_str(), &day.platforms, platforms_);
        if (length < 0) return report(format, kind, fmt::format("error {}", gl_errno(&ours_)), platforms.data());
        if (std::string(ours.data()) != platforms.data() || static_cast<size_t>(length) != theirs)
            report(format, kind, ours.data(), platforms.data());
    }

    // What is written is read back, and what the platform reads of it as a whole it reads as we do.
    void read(const std::string &format, const Day &day) {
        std::array<char, 600> text{};
        if (gl_mbsftime(&ours_, text.data(), text.size(), format.c_str(), &day.ours) < 0) return; // compare tells
        gl_tm tm{};
        const char *end = gl_mbsptime(&ours_, text.data(), format.c_str(), &tm);
        if (end == nullptr) return report(format, "read", fmt::format("error {}", gl_errno(&ours_)), text.data());
        const auto shown = [](const gl_tm &t) {
            return fmt::format("{}-{}-{} {}:{}:{} {} {}", t.year + 1900, t.mon + 1, t.mday, t.hour, t.min, t.sec, t.wday, t.yday);
        };
        if (*end != '\0' || shown(tm) != shown(day.ours))
            report(format, "read", fmt::format("{} {}", shown(tm), end), fmt::format("{} of {}", text.data(), shown(day.ours)));
        std::tm theirs{};
        const char *their_end = strptime_l(text.data(), format.c_str(), &theirs, platforms_);
        if (their_end == nullptr || *their_end != '\0' || ours_.time.calendar != 1) return;
        if (format == "%s" || format.starts_with("%G") || format.starts_with("%Oy")) return; // what the platform leaves out
        const std::array we{tm.year, tm.mon, tm.mday, tm.hour, tm.min, tm.sec};
        const std::array they{theirs.tm_year, theirs.tm_mon, theirs.tm_mday, theirs.tm_hour, theirs.tm_min, theirs.tm_sec};
        const auto as_text = [](const auto &fields) { return fmt::format("{}", fmt::join(fields, " ")); };
        if (we != they) report(format, "parsed", as_text(we), as_text(they));
    }

    // What is written and read over another day is written again.
    void write_again(const std::string &format, const Day &day) {
        constexpr gl_tm OTHER = {9, 8, 7, 0, 5, 1, 1, 101, 1, 35, 0, 0, 0}; // Monday, 5 February 2001, 7:08:09
        std::array<char, 600> text{}, again{};
        gl_tm tm = OTHER;
        if (gl_mbsftime(&ours_, text.data(), text.size(), format.c_str(), &day.ours) < 0) return; // compare tells
        const char *end = gl_mbsptime(&ours_, text.data(), format.c_str(), &tm);
        if (end == nullptr) return report(format, "again", fmt::format("error {}", gl_errno(&ours_)), text.data());
        gl_mbsftime(&ours_, again.data(), again.size(), format.c_str(), &tm);
        if (*end != '\0' || again != text) report(format, "again", again.data() + std::string(end), text.data());
    }

  private:
    // What a difference is about, when it is of a known class.
    std::string kind_of(const std::string &format, const std::string &kind) const {
        const gl_time_info &time = ours_.time;
        if (kind == "again") return kind_of_again(format);
        const bool has_half = format.find("%p") != format.npos || format.find("%r") != format.npos;
        const bool weeks = format.find("%U") != format.npos || format.find("%W") != format.npos;
        if (kind == "read" && time.calendar != 1 && weeks) return "calendar";
        if (kind == "read") return has_half && std::string(time.am) == time.pm ? "halves" : kind;
        if (format.ends_with('z')) return "field";
        if (ours_.time.calendar != 1) return "calendar";
        return format.find_first_of("^#P") != format.npos ? "capitals" : kind;
    }

    // What a text does not tell for itself.
    std::string kind_of_again(const std::string &format) const {
        if (std::string_view("UVWgG").find(format.back()) != std::string_view::npos) return "week";
        if (std::string_view("pP").find(format.back()) != std::string_view::npos) return "half";
        if (std::string_view("cx+").find(format.back()) != std::string_view::npos) return "century";
        if (ours_.time.calendar != 1) return "part";
        return format[1] == 'E' ? "era" : "again";
    }

    void report(const std::string &format, const std::string &kind, const std::string &ours, const std::string &theirs) {
        locale_.report(format.substr(format.size() - 1), kind_of(format, kind), hexadecimal(ours), hexadecimal(theirs),
                       fmt::format("{}: {}, {}", format, ours, theirs));
    }

    OracleLocale &locale_;
    gl_locale &ours_;
    const locale_t platforms_;
};

TEST(TimeOracle, EveryLocaleWritesAndReadsDatesAsThePlatform) {
    setenv("TZ", "UTC", 1);
    tzset();
    const std::vector<Day> all = days();
    const char *zones[] = {"GMT"};
    const char *const asked = std::getenv("QBGL_DAY_STEP"); // 1: every locale reads all days
    const size_t step = asked != nullptr ? std::stoul(asked) : 50;
    const std::vector<std::string> flagged = conversions(FLAGS);
    std::vector<std::string> plain = conversions(std::array{""});
    plain.emplace_back("%+");
    const auto compare = [&](OracleLocale &locale) {
        ASSERT_EQ(gl_set_zone_names(&locale.ours(), zones, 1), 0);
        Comparison comparison(locale);
        const size_t at = locale.index();
        // A locale takes every conversion on some of the days, and others others.
        constexpr size_t STEP = 150;
        for (size_t i = at % STEP; i < all.size(); i += i < 21 ? 3 : STEP)
            for (const std::string &format : flagged) comparison.compare(format, "write", all[i]);
        for (size_t i = at % 10; i < all.size(); i += 10)
            for (const char *format : WHOLE) comparison.read(format, all[i]);
        for (size_t i = at % step; i < all.size(); i += step)
            for (const std::string &format : plain) comparison.write_again(format, all[i]);
    };
    TreeOracle("time_differences.txt").each(compare, asked == nullptr);
}

} // namespace
