#include "date_names.h"

#include "locale_handle.h"

#include <cctype>
#include <fmt/format.h>
#include <span>

namespace qbgl {

namespace {

constexpr const char *GREGORIAN_MONTHS[] = {"January", "February", "March",     "April",   "May",      "June",
                                            "July",    "August",   "September", "October", "November", "December"};
constexpr const char *HEBREW_MONTHS[] = {"Tishri", "Heshvan", "Kislev", "Tevet", "Shevat", "Adar",   "Nisan",
                                         "Iyar",   "Sivan",   "Tammuz", "Av",    "Elul",   "Adar I", "Adar II"};
constexpr const char *ISLAMIC_MONTHS[] = {"Muharram",         "Safar",       "Rabi al-awwal", "Rabi al-thani", "Jumada al-ula",
                                          "Jumada al-akhira", "Rajab",       "Shaban",        "Ramadan",       "Shawwal",
                                          "Dhu al-Qada",      "Dhu al-Hijja"};
constexpr const char *DAYS[] = {"Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};

std::span<const char *const> english_months(Calendar calendar) {
    switch (calendar) {
    case Calendar::HEBREW: return HEBREW_MONTHS;
    case Calendar::ISLAMIC: return ISLAMIC_MONTHS;
    default: return GREGORIAN_MONTHS;
    }
}

// What of a name counts when it is looked for: ASCII letters whatever their case, digits, and all beyond ASCII.
std::string essence(std::string_view text) {
    std::string result;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x80 || std::isalnum(byte) != 0) result += byte < 0x80 ? static_cast<char>(std::tolower(byte)) : c;
    }
    return result;
}

// The texts of the locale in UTF-8, the English ones where it lacks them.
std::vector<std::string> texts_of(const TextView &view, std::span<char *const> own, std::span<const char *const> english) {
    std::vector<std::string> result;
    for (size_t i = 0; i < english.size(); ++i) {
        const bool has_own = i < own.size() && own[i] != nullptr && own[i][0] != '\0';
        result.push_back(has_own ? view.plain(own[i]) : english[i]);
    }
    return result;
}

// The name itself, or the only one that begins so.
std::optional<int> find(const std::vector<std::string> &names, const std::string &wanted) {
    constexpr size_t SHORTEST_BEGINNING = 3;
    std::vector<int> like;
    for (size_t i = 0; i < names.size(); ++i) {
        const std::string name = essence(names[i]);
        if (name == wanted) return static_cast<int>(i);
        if (name.starts_with(wanted) && wanted.size() >= SHORTEST_BEGINNING) like.push_back(static_cast<int>(i));
    }
    if (like.size() != 1) return std::nullopt;
    return like.front();
}

} // namespace

DateNames::DateNames(const gl_locale &locale)
    : calendar_(locale.time.calendar), view_(category_codeset(locale, GL_CAT_TIME)), days_(texts_of(view_, locale.time.day, DAYS)),
      short_days_(texts_of(view_, locale.time.abday, DAYS)) {
    const gl_text_list &own = locale.time.mon;
    if (calendar_ >= static_cast<int>(CALENDARS.front()) && calendar_ <= static_cast<int>(CALENDARS.back()))
        months_ = texts_of(view_, {own.bytes, static_cast<size_t>(own.count)}, english_months(static_cast<Calendar>(calendar_)));
}

std::vector<std::string> DateNames::months(Calendar calendar) const {
    if (static_cast<int>(calendar) == calendar_) return months_;
    const auto english = english_months(calendar);
    return {english.begin(), english.end()};
}

std::string DateNames::month(Calendar calendar, int name) const { return months(calendar)[static_cast<size_t>(name)]; }

std::string DateNames::month_and_year(Calendar calendar, const gl_tm &date) const {
    return fmt::format("{} {}", month(calendar, date.monname), year_of(date));
}

std::string DateNames::date(Calendar calendar, const gl_tm &date) const {
    return fmt::format("{} {}", date.mday, month_and_year(calendar, date));
}

std::optional<int> DateNames::find_month(Calendar calendar, const std::string &text) const {
    const auto english = english_months(calendar);
    const std::optional<int> own = find(months(calendar), essence(text));
    return own ? own : find({english.begin(), english.end()}, essence(text));
}

} // namespace qbgl
