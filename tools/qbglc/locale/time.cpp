#include "locale/time.h"

#include "locale/category.h"

#include <fmt/format.h>

#include <algorithm>

namespace qbgl::compiler {

namespace {

constexpr std::ptrdiff_t COLONS = 5; // in an era of six fields

// An era of the object has a seventh field, the letter that stands for the era.
std::u32string era_with_letter(const std::u32string &era, const Place &place, const Calendars &calendars) {
    if (std::count(era.begin(), era.end(), U':') != COLONS) throw place.error("an era of six fields expected");
    const size_t format = era.rfind(U':'), name = era.rfind(U':', format - 1) + 1;
    return era + U':' + calendars.era_letter(era.substr(name, format - name));
}

std::string eras(const CategoryLines &lines, const Place &category, const Calendars &calendars) {
    const Keyword *found = lines.find("era");
    std::vector<std::u32string> texts;
    if (found != nullptr)
        for (const std::u32string &era : found->texts())
            if (!era.empty()) texts.push_back(era_with_letter(era, found->place, calendars));
    return lines.list(texts, found == nullptr ? category : found->place);
}

// What the platform takes for a 12-hour format that the definition does not have. One that is there and empty stays so.
std::string twelve_hour_format(const CategoryLines &lines) {
    if (lines.find("t_fmt_ampm") != nullptr) return lines.text("t_fmt_ampm");
    const Keyword *names = lines.find("am_pm");
    const bool named = names != nullptr && names->texts() != std::vector<std::u32string>(2);
    return named ? lines.constant(U"%I:%M:%S %p") : lines.text("t_fmt");
}

} // namespace

std::string time_section(const Definition &definition, const LocaleEncoder &encoder, const Calendars &calendars,
                         const std::string &calendar, const std::string &language) {
    const Place &place = definition.time_place;
    const CategoryLines lines(definition.time, place, encoder);
    std::string section = calendar + '\n' + lines.texts("abday") + lines.texts("day");
    if (calendar == "gregorian") {
        for (const char *names : {"abmon", "mon"}) section += "12\n" + lines.texts(names);
    } else {
        const std::vector<std::u32string> *months = calendars.months(calendar, language);
        if (months == nullptr) throw place.error(fmt::format("no month names of the {} calendar in {}", calendar, language));
        for (int i = 0; i < 2; ++i) section += lines.list(*months, place); // these months have no short names
    }
    for (const char *format : {"d_t_fmt", "d_fmt", "t_fmt"}) section += lines.text(format);
    section += lines.find("am_pm") == nullptr ? lines.constant({}) + lines.constant({}) : lines.texts("am_pm");
    section += twelve_hour_format(lines) + eras(lines, place, calendars);
    for (const char *format : {"era_d_fmt", "era_t_fmt", "era_d_t_fmt"}) section += lines.text(format);
    return section + lines.list("alt_digits");
}

} // namespace qbgl::compiler
