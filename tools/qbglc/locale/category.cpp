#include "locale/category.h"

#include <fmt/format.h>

#include <climits>

namespace qbgl::compiler {

namespace {

constexpr int NOT_AVAILABLE = 0x7FFFFFFF;
constexpr size_t MOST_GROUPS = 15;
constexpr size_t MOST_OF_RECORD = 255; // gl_localeconv hands out no longer text

// "No further grouping", which POSIX writes as -1. Behind other sizes it is CHAR_MAX, as in the byte string that the host gets: no
// number is that long. In the first place it is 0, which makes the host's byte string empty.
int further_groups(size_t place) { return place == 0 ? 0 : CHAR_MAX; }

} // namespace

const Keyword *CategoryLines::find(std::string_view keyword) const {
    const auto place = keywords_.find(std::string(keyword));
    return place == keywords_.end() ? nullptr : &place->second;
}

std::string CategoryLines::text(std::string_view keyword) const {
    const Keyword *found = find(keyword);
    if (found == nullptr) return constant({});
    return errors_.collect([&] { return encoder_.line(found->text(), found->place); });
}

std::string CategoryLines::short_text(std::string_view keyword) const {
    const Keyword *found = find(keyword);
    if (found == nullptr) return constant({});
    return errors_.collect([&] {
        // A character that stands for several, such as the euro for EUR, counts as these: in bytes, to be sure.
        std::string line = encoder_.line(found->text(), found->place);
        if (encoder_.encode(found->text(), found->place).size() > MOST_OF_RECORD)
            throw found->place.error(
                fmt::format("{}: of more than {} bytes, which no host's record has room for", keyword, MOST_OF_RECORD));
        return line;
    });
}

std::string CategoryLines::texts(std::string_view keyword) const {
    return errors_.collect([&] {
        const Keyword *found = find(keyword);
        if (found == nullptr) throw place_.error(fmt::format("no {} in this category", keyword));
        std::string lines;
        for (const std::u32string &text : found->texts()) lines += encoder_.line(text, found->place);
        return lines;
    });
}

std::string CategoryLines::list(std::string_view keyword) const {
    const Keyword *found = find(keyword);
    return found == nullptr ? list({}, place_) : list(found->texts(), found->place);
}

std::string CategoryLines::list(const std::vector<std::u32string> &texts, const Place &place) const {
    if (texts.size() == 1 && texts[0].empty()) return "0\n";
    std::string lines = fmt::format("{}\n", texts.size());
    for (const std::u32string &text : texts) lines += errors_.collect([&] { return encoder_.line(text, place); });
    return lines;
}

std::string CategoryLines::grouping(std::string_view keyword) const {
    return errors_.collect([&] {
        const Keyword *found = find(keyword);
        const std::vector<int> sizes = found == nullptr ? std::vector{-1} : found->numbers();
        if (sizes.size() > MOST_GROUPS) throw found->place.error(fmt::format("{} of more than {} sizes", keyword, MOST_GROUPS));
        std::string line = fmt::format("{}", sizes.size());
        for (size_t i = 0; i < sizes.size(); ++i) {
            if (sizes[i] < -1 || sizes[i] > CHAR_MAX)
                throw found->place.error(fmt::format("{}: {} is no group size", keyword, sizes[i]));
            line += fmt::format(" {}", sizes[i] == -1 ? further_groups(i) : sizes[i]);
        }
        return line + '\n';
    });
}

std::string CategoryLines::number(std::string_view keyword) const {
    return errors_.collect([&] {
        const Keyword *found = find(keyword);
        const int value = found == nullptr ? -1 : found->number();
        if (value < -1 || value > CHAR_MAX) throw found->place.error(fmt::format("{}: {} is out of range", keyword, value));
        return fmt::format("{}\n", value == -1 ? NOT_AVAILABLE : value);
    });
}

std::string CategoryLines::more_texts(std::string_view item, std::string_view keyword) const {
    const Keyword *found = find(keyword);
    if (found == nullptr) return {};
    return errors_.collect([&] {
        std::string text = fmt::format("{} {} ", item, found->operands.size());
        for (const std::u32string &operand : found->texts()) {
            const std::string bytes = encoder_.encode(operand, found->place);
            for (const char byte : bytes) text += fmt::format("{:02x}", static_cast<uint8_t>(byte));
            text += bytes.empty() ? ". " : " ";
        }
        return text;
    });
}

std::string CategoryLines::more_numbers(std::string_view item, std::string_view keyword) const {
    const Keyword *found = find(keyword);
    if (found == nullptr) return {};
    std::string text = fmt::format("{} {} ", item, found->operands.size());
    for (const int number : found->numbers()) text += fmt::format("{} ", number);
    return text;
}

// POSIX has no signs for plain numbers. Readers and writers of numbers use these everywhere; a reader takes ASCII signs anyway.
std::string numeric_section(const Definition &definition, const LocaleEncoder &encoder, LocaleErrors &errors) {
    const CategoryLines lines(definition.numeric, definition.numeric_place, encoder, errors);
    return lines.short_text("decimal_point") + lines.short_text("thousands_sep") + lines.grouping("grouping") +
           lines.constant(U"") + lines.constant(U"-");
}

std::string monetary_section(const Definition &definition, const LocaleEncoder &encoder, LocaleErrors &errors) {
    const CategoryLines lines(definition.monetary, definition.monetary_place, encoder, errors);
    std::string section;
    for (const char *keyword : {"int_curr_symbol", "currency_symbol", "mon_decimal_point", "mon_thousands_sep"})
        section += lines.short_text(keyword);
    section += lines.grouping("mon_grouping") + lines.short_text("positive_sign") + lines.short_text("negative_sign");
    for (const char *keyword : {"int_frac_digits", "frac_digits", "p_cs_precedes", "p_sep_by_space", "n_cs_precedes",
                                "n_sep_by_space", "p_sign_posn", "n_sign_posn"})
        section += lines.number(keyword);
    return section;
}

// What the definition does not say of the international layout it says of the local one.
std::string more_of_money(const Definition &definition, const LocaleEncoder &encoder, LocaleErrors &errors) {
    const CategoryLines lines(definition.monetary, definition.monetary_place, encoder, errors);
    bool own = false;
    std::string item = "int_money 6 ";
    for (const char *keyword :
         {"p_cs_precedes", "p_sep_by_space", "n_cs_precedes", "n_sep_by_space", "p_sign_posn", "n_sign_posn"}) {
        const Keyword *found = lines.find(std::string("int_") + keyword);
        own = own || found != nullptr;
        if (found == nullptr) found = lines.find(keyword);
        item += fmt::format("{} ", found != nullptr ? found->number() : -1);
    }
    return own ? item : "";
}

std::string messages_section(const Definition &definition, const LocaleEncoder &encoder, LocaleErrors &errors) {
    const CategoryLines lines(definition.messages, definition.messages_place, encoder, errors);
    return lines.text("yesexpr") + lines.text("noexpr") + lines.text("yesstr") + lines.text("nostr");
}

} // namespace qbgl::compiler
