#include "recipe/locales.h"

#include "locale/calendars.h"
#include "recipe/lines.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>

namespace qbgl::compiler {

namespace {

constexpr size_t LONGEST_MODIFIER = 4;
constexpr std::string_view THAI_COLLATION = "thai_smo"; // the library knows it without tables
constexpr std::string_view CALENDAR = "calendar=", COLLATION = "collation=";

bool is_lower(char c) { return c >= 'a' && c <= 'z'; }
bool is_lower_or_digit(char c) { return is_lower(c) || (c >= '0' && c <= '9'); }

bool is_choice(const std::string &word) { return word.starts_with(CALENDAR) || word.starts_with(COLLATION); }

std::string choice(const std::vector<std::string> &words, std::string_view what, std::string usual) {
    for (const std::string &word : words)
        if (word.starts_with(what)) usual = word.substr(what.size());
    return usual;
}

} // namespace

std::filesystem::path locale_file(const std::string &name, uint16_t codeset_number) {
    if (name == "default") return "default.lco";
    const size_t at = std::min(name.find('@'), name.size());
    const std::string place = name.substr(0, at), modifier = name.substr(std::min(at + 1, name.size()));
    const bool is_place = place.size() == 5 && place[2] == '_' && is_lower(place[0]) && is_lower(place[1]) && is_lower(place[3]) &&
                          is_lower(place[4]);
    if (!is_place || modifier.size() > LONGEST_MODIFIER || !std::all_of(modifier.begin(), modifier.end(), is_lower_or_digit))
        throw DataError(name + ": not a locale name: two letters, _, two letters, and after an @ up to four letters or digits");
    return fmt::format("{}/{:04x}{}.lco", place, codeset_number, modifier);
}

std::vector<LocaleTask> parse_locales(const Catalogue &catalogue, std::string_view text, const std::string &file) {
    std::vector<LocaleTask> tasks;
    std::set<std::filesystem::path> files;
    for_each_line(parse_recipe(text, file), [&](const RecipeLine &line) {
        const auto &words = line.words;
        if (words.size() < 3) throw line.error("NAME DEFINITION CODESETS expected");
        const std::string calendar = choice(words, CALENDAR, "gregorian"), collation = choice(words, COLLATION, "");
        if (!Calendars::is_calendar(calendar)) throw line.error(calendar + ": unknown calendar");
        if (!collation.empty() && collation != THAI_COLLATION) throw line.error(collation + ": unknown collation");
        // A definition of one's own stands beside the recipe.
        const std::filesystem::path beside = std::filesystem::path(file).parent_path() / words[1];
        const bool is_own = words[1].find('/') != std::string::npos || std::filesystem::is_regular_file(beside);
        const std::string definition = is_own ? std::filesystem::absolute(beside).lexically_normal().string() : words[1];
        for (size_t i = 2; i < words.size(); ++i) {
            if (is_choice(words[i])) continue;
            const auto codeset = catalogue.find(words[i]);
            if (!codeset || !catalogue.codesets()[*codeset].available())
                throw line.error(words[i] + ": no such codeset, or one without a source");
            LocaleTask task{{}, definition, *codeset, words[i], calendar, collation, line.place()};
            try {
                task.file = locale_file(words[0], catalogue.codesets()[*codeset].number);
            } catch (const DataError &error) {
                throw line.error(error.what());
            }
            if (!files.insert(task.file).second) throw line.error(task.file.string() + ": made twice");
            tasks.push_back(std::move(task));
        }
    });
    return tasks;
}

} // namespace qbgl::compiler
