#include "text/date_names.h"

#include "frame/files.h"
#include "text/encoded.h"
#include "tree/locale_handle.h"

#include <algorithm>
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

// In small letters by the rules of the locale; a text that its codeset does not have stays as it is. By way of capitals: sigma has
// two small letters.
std::string folded(gl_locale &locale, const TextView &view, const std::string &text) {
    try {
        std::string from = encoded(text, category_codeset(locale, GL_CAT_CTYPE)), to;
        for (auto *change : {gl_tombsupper, gl_tombslower}) {
            to.resize(static_cast<size_t>(gl_case_conv_outbuflen(&locale, static_cast<int>(from.size()))) + sizeof(gl_wchar));
            const int size = change(&locale, to.data(), from.c_str());
            if (size < 0) return text;
            to.resize(static_cast<size_t>(size));
            from.swap(to);
        }
        return view.plain(from);
    } catch (const Failure &) {
        return text;
    }
}

size_t characters_in(const std::string &text) {
    return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char byte) { return (byte & 0xC0) != 0x80; }));
}

} // namespace

DateNames::DateNames(gl_locale &locale)
    : locale_(locale), calendar_(locale.time.calendar), view_(category_codeset(locale, GL_CAT_TIME)),
      days_(texts_of(view_, locale.time.day, DAYS)), short_days_(texts_of(view_, locale.time.abday, DAYS)) {
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

std::map<int, std::string> DateNames::find_months(Calendar calendar, const std::string &text) const {
    constexpr size_t SHORTEST_BEGINNING = 3;
    const auto english = english_months(calendar);
    const std::vector<std::string> own = static_cast<int>(calendar) == calendar_ ? months_ : std::vector<std::string>();
    const std::string wanted = essence(text), own_wanted = essence(folded(locale_, view_, text));
    std::map<int, std::string> same, like;
    const auto compare = [&](size_t month, const std::string &name, const std::string &key, const std::string &with) {
        if (key == with) same.emplace(month, name);
        if (key.starts_with(with) && characters_in(with) >= SHORTEST_BEGINNING) like.emplace(month, name);
    };
    for (size_t i = 0; i < own.size(); ++i) compare(i, own[i], essence(folded(locale_, view_, own[i])), own_wanted);
    for (size_t i = 0; i < english.size(); ++i) compare(i, english[i], essence(english[i]), wanted);
    return same.empty() ? like : same;
}

} // namespace qbgl
