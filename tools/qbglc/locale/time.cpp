#include "locale/time.h"

#include "locale/category.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

namespace qbgl::compiler {

namespace {

constexpr size_t ERA_FIELDS = 6; // direction, offset, first and last date, name, format

std::vector<std::u32string> era_fields(const std::u32string &era) {
    std::vector<std::u32string> fields(1);
    for (const char32_t c : era)
        if (c == U':')
            fields.emplace_back();
        else
            fields.back() += c;
    return fields;
}

// The number that a text is, with a sign or not; nothing for other texts.
std::optional<long> number_of(std::u32string_view text) {
    std::string digits(text.begin(), text.end());
    for (size_t i = 0; i < text.size(); ++i)
        if (text[i] >= 0x80) return std::nullopt;
    const bool has_plus = digits.starts_with('+');
    long value = 0;
    const char *end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data() + has_plus, end, value);
    if (error != std::errc() || stop != end) return std::nullopt;
    return value;
}

// "yyyy/mm/dd", in which the year may have a sign.
bool is_date(std::u32string_view text) {
    constexpr std::array DAYS{31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const size_t first = text.find(U'/'), second = first == text.npos ? first : text.find(U'/', first + 1);
    if (second == text.npos) return false;
    const auto year = number_of(text.substr(0, first)), month = number_of(text.substr(first + 1, second - first - 1)),
               day = number_of(text.substr(second + 1));
    return year && month && day && *month >= 1 && *month <= 12 && *day >= 1 && *day <= DAYS[static_cast<size_t>(*month - 1)];
}

void check_era(const std::vector<std::u32string> &fields, const Place &place) {
    if (fields.size() != ERA_FIELDS) throw place.error("an era of six fields expected");
    const auto refuse = [&](size_t field, const char *expected) {
        std::string text;
        for (const char32_t c : fields[field]) text += utf8_of(c).text();
        throw place.error(fmt::format("field {} of an era is {}, not {}", field + 1, excerpt(text), expected));
    };
    if (fields[0] != U"+" && fields[0] != U"-") refuse(0, "+ or -");
    if (!number_of(fields[1])) refuse(1, "a number");
    if (!is_date(fields[2])) refuse(2, "a date");
    if (fields[3] != U"+*" && fields[3] != U"-*" && !is_date(fields[3])) refuse(3, "a date, +* or -*");
}

// An era of the object has a seventh field, the letter that stands for the era.
std::u32string era_with_letter(const std::u32string &era, const Place &place, const Calendars &calendars) {
    const std::vector<std::u32string> fields = era_fields(era);
    check_era(fields, place);
    return era + U':' + calendars.era_letter(fields[4]);
}

std::string eras(const CategoryLines &lines, const Place &category, const Calendars &calendars) {
    const Keyword *found = lines.find("era");
    std::vector<std::u32string> texts;
    if (found != nullptr)
        for (const std::u32string &era : found->texts())
            if (!era.empty())
                lines.errors().collect([&] {
                    texts.push_back(era_with_letter(era, found->place, calendars));
                    return std::string();
                });
    return lines.list(texts, found == nullptr ? category : found->place);
}

// What the platform takes for a 12-hour format that the definition does not have. One that is there and empty stays so.
std::string twelve_hour_format(const CategoryLines &lines) {
    if (lines.find("t_fmt_ampm") != nullptr) return lines.text("t_fmt_ampm");
    const Keyword *names = lines.find("am_pm");
    const bool named = names != nullptr && names->texts() != std::vector<std::u32string>(2);
    return named ? lines.constant(U"%I:%M:%S %p") : lines.text("t_fmt");
}

// Whether every conversion of a format of dates is one: the Faroese date_fmt has "%1 ", which the platform writes as it stands.
bool is_date_format(const std::u32string &format) {
    constexpr const char32_t *BEFORE_LETTER = U"_-0123456789+^#EO";
    constexpr std::u32string_view LETTERS = U"aAbBcCdDeFgGhHIjklmMnpPrRsStTuUVwWxXyYzZ%";
    for (size_t at = 0; (at = format.find(U'%', at)) != format.npos;) {
        const size_t letter = std::min(format.find_first_not_of(BEFORE_LETTER, at + 1), format.size());
        const bool is_known = letter < format.size() && LETTERS.find(format[letter]) != LETTERS.npos;
        const bool is_plus = format[letter - 1] == U'+'; // %+ itself
        if (!is_known && !is_plus) return false;
        at = is_known ? letter + 1 : letter;
    }
    return true;
}

} // namespace

std::string time_section(const Definition &definition, const LocaleEncoder &encoder, const Calendars &calendars,
                         const std::string &calendar, const std::string &language, LocaleErrors &errors) {
    const Place &place = definition.time_place;
    const CategoryLines lines(definition.time, place, encoder, errors);
    std::string section = calendar + '\n' + lines.texts("abday") + lines.texts("day");
    if (calendar == "gregorian") {
        for (const char *names : {"abmon", "mon"}) section += "12\n" + lines.texts(names);
    } else {
        const std::vector<std::u32string> *months = calendars.months(calendar, language);
        if (months == nullptr)
            errors.collect([&]() -> std::string {
                throw place.error(fmt::format("no month names of the {} calendar in {}", calendar, language));
            });
        for (int i = 0; i < 2 && months != nullptr; ++i) section += lines.list(*months, place); // these months have no short names
    }
    for (const char *format : {"d_t_fmt", "d_fmt", "t_fmt"}) section += lines.text(format);
    section += lines.find("am_pm") == nullptr ? lines.constant({}) + lines.constant({}) : lines.texts("am_pm");
    section += twelve_hour_format(lines) + eras(lines, place, calendars);
    for (const char *format : {"era_d_fmt", "era_t_fmt", "era_d_t_fmt"}) section += lines.text(format);
    return section + lines.list("alt_digits");
}

std::string more_of_time(const Definition &definition, const LocaleEncoder &encoder, const std::string &calendar,
                         LocaleErrors &errors) {
    const CategoryLines lines(definition.time, definition.time_place, encoder, errors);
    std::string text;
    for (const char *keyword : {"alt_mon", "ab_alt_mon"}) text += lines.more_texts(keyword, keyword);
    const Keyword *format = lines.find("date_fmt");
    if (format != nullptr && is_date_format(format->texts().front())) text += lines.more_texts("date_fmt", "date_fmt");
    if (calendar != "gregorian") text += lines.more_texts("gregorian_mon", "mon") + lines.more_texts("gregorian_abmon", "abmon");
    const Keyword *week = lines.find("week");
    if (week != nullptr && week->operands.size() == 3) text += lines.more_numbers("week", "week");
    for (const char *keyword : {"first_weekday", "first_workday"}) text += lines.more_numbers(keyword, keyword);
    return text;
}

} // namespace qbgl::compiler
