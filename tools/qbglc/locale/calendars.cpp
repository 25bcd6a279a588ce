#include "locale/calendars.h"

#include "charmap/sequence.h"
#include "recipe/lines.h"
#include "system/file.h"

#include <qbgl.h>

#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace qbgl::compiler {

namespace {

// The month names that a date of the calendar can ask for: the two Adars of a Hebrew leap year have names of their own.
constexpr std::array<std::pair<std::string_view, size_t>, 4> CALENDARS{
    {{"gregorian", 12}, {"hebrew", 14}, {"islamic", 12}, {"arabic", 12}}};

const auto *find_calendar(std::string_view name) {
    const auto *place = std::find_if(CALENDARS.begin(), CALENDARS.end(), [&](const auto &item) { return item.first == name; });
    return place == CALENDARS.end() ? nullptr : place;
}

// "_" is a blank: a word of the recipe is one name.
std::u32string text_of(const RecipeLine &line, const std::string &word) {
    std::u32string text;
    for (size_t i = 0; i < word.size();) {
        const auto lead = static_cast<uint8_t>(word[i]);
        const size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        char32_t code = length == 1 ? lead : lead & 0x7Fu >> length;
        for (size_t k = 1; k < length && i + k < word.size(); ++k) code = code << 6 | (static_cast<uint8_t>(word[i + k]) & 0x3Fu);
        if (utf8_of(code).text() != word.substr(i, length)) throw line.error(word + ": not UTF-8");
        text += code == '_' ? U' ' : code;
        i += length;
    }
    return text;
}

} // namespace

Calendars Calendars::parse(std::string_view text, const std::string &file) {
    Calendars result;
    for_each_line(parse_recipe(text, file), [&](const RecipeLine &line) {
        const auto &words = line.words;
        if (words[0] == "era" && words.size() == 3) {
            result.letters_[text_of(line, words[1])] = text_of(line, words[2]);
        } else if (words[0] == "months" && words.size() > 3) {
            const auto *calendar = find_calendar(words[1]);
            if (calendar == nullptr) throw line.error(words[1] + ": unknown calendar");
            if (words.size() != calendar->second + 3) throw line.error(fmt::format("{} month names expected", calendar->second));
            auto &months = result.months_[{words[1], words[2]}];
            for (size_t i = 3; i < words.size(); ++i) months.push_back(text_of(line, words[i]));
        } else {
            throw line.error("\"months CALENDAR LANGUAGE NAMES\" or \"era NAME LETTER\" expected");
        }
    });
    return result;
}

Calendars Calendars::load(const std::filesystem::path &file) { return parse(read_file(file), file.string()); }

bool Calendars::is_calendar(std::string_view name) { return find_calendar(name) != nullptr; }

const std::vector<std::u32string> *Calendars::months(const std::string &calendar, const std::string &language) const {
    const auto place = months_.find({calendar, language});
    return place == months_.end() ? nullptr : &place->second;
}

std::u32string Calendars::era_letter(const std::u32string &era) const {
    const auto place = letters_.find(era);
    return place == letters_.end() ? std::u32string() : place->second;
}

} // namespace qbgl::compiler
