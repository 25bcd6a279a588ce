#include "commands/locale_sections.h"

#include "text/classes.h"
#include "text/shown_text.h"
#include "text/utf8.h"
#include "tree/installed.h"
#include "tree/locale_handle.h"

#include <algorithm>
#include <cstdlib>
#include <dlfcn.h>
#include <fmt/format.h>
#include <utility>

namespace qbgl {

namespace {

// The name of one of the library's functions.
template <typename Function> std::string function_name(Function *function) {
    Dl_info info{};
    const bool known = function != nullptr && dladdr(reinterpret_cast<void *>(function), &info) != 0 && info.dli_sname != nullptr;
    return known ? info.dli_sname : "none";
}

// A section whose texts are in its category's codeset.
class CategorySection {
  public:
    CategorySection(const gl_locale &locale, int category, const char *title)
        : section{title}, view_(category_codeset(locale, category)) {
        section.word("locale", category_name(locale, category));
        section.word("codeset", category_codeset(locale, category));
        if (locale.glu_flag[category] != 0)
            section.word("served_by_extension", static_cast<const char *>(glx_getICULocName(locale.glu_handle[category])));
    }

    void text(const char *name, const char *value) {
        if (value == nullptr)
            section.none(name, "not set");
        else
            section.rows.push_back({name, {shown(value)}, plain(value)});
    }
    void text(const char *name, const gl_text &value) { text(name, value.bytes); }

    void texts(const char *name, const char *const *values, int count) {
        Row row{name, {}, ""};
        std::vector<std::string> members;
        std::string line;
        for (int i = 0; i < count; ++i) {
            const std::string one = values[i] != nullptr ? shown(values[i]) : "not set";
            if (!line.empty() && utf8_columns(line) + utf8_columns(one) > WIDEST_LINE) row.lines.push_back(std::exchange(line, ""));
            line += (line.empty() ? "" : " ") + one;
            members.push_back(values[i] != nullptr ? plain(values[i]) : "null");
        }
        row.lines.push_back(count > 0 ? line : "none");
        row.json = json_array(members);
        section.rows.push_back(std::move(row));
    }

    void grouping(const char *name, const gl_grouping &grouping) {
        std::vector<std::string> sizes;
        sizes.reserve(std::size(grouping.sizes));
        for (int i = 0; i < grouping.count; ++i) sizes.push_back(std::to_string(grouping.sizes[i]));
        section.rows.push_back({name, {sizes.empty() ? "none" : fmt::format("{}", fmt::join(sizes, ";"))}, json_array(sizes)});
    }

    std::string shown(const char *text) const { return '"' + view_.visible(text) + '"'; }
    std::string plain(const char *text) const { return json_string(view_.plain(text)); }

    Section section;

  private:
    static constexpr size_t WIDEST_LINE = 100;
    TextView view_;
};

std::string without_zeros(double value) { return fmt::format("{:g}", value); }

Row class_row(const char *name, const std::vector<CharacterClass> &classes, const Census &census, bool own) {
    Row row{name, {}, ""};
    JsonObject members;
    size_t longest = 0;
    for (const CharacterClass &one : classes) longest = std::max(longest, one.own == own ? one.name.size() : 0);
    for (size_t i = 0; i < classes.size(); ++i) {
        if (classes[i].own != own) continue;
        row.lines.push_back(fmt::format("{:{}} {:8}", classes[i].name, longest, census.members[i]));
        members.number(classes[i].name, census.members[i]);
    }
    if (row.lines.empty()) row.lines.emplace_back("none");
    row.json = members.str();
    return row;
}

Section character_types(gl_locale &locale) {
    Section section = CategorySection(locale, GL_CAT_CTYPE, "LC_CTYPE").section;
    const std::vector<CharacterClass> classes = classes_of(locale);
    const Census census = count_characters(locale, classes);
    section.number("shortest_character", static_cast<int64_t>(census.shortest));
    section.number("longest_character", static_cast<int64_t>(census.longest));
    section.number("characters", static_cast<int64_t>(census.characters));
    section.rows.push_back(class_row("classes", classes, census, false));
    section.rows.push_back(class_row("own_classes", classes, census, true));
    section.number("case_pairs", locale.ctype.pair_count);
    section.rows.push_back({"case_growth", {without_zeros(locale.case_growth)}, without_zeros(locale.case_growth)});
    section.word("to_wide", function_name(locale.mbstowcs));
    section.word("to_wide_with_length", function_name(locale.mbfstowcfs));
    return section;
}

const char *kind_of_collation(const gl_collate_info &collate) {
    if (collate.kind == GL_COLLATION_THAI) return "thai";
    if (collate.kind == GL_COLLATION_EXTENSION) return "extension library";
    return collate.direct != 0 ? "code values" : "as specified";
}

template <typename Entry> int64_t length_of(const Entry *list, bool (*is_end)(const Entry &)) {
    int64_t length = 0;
    while (list != nullptr && !is_end(list[length])) ++length;
    return length;
}

// Empty where none is told: of an object without one, which the handle does not keep, or by the extension library.
std::string fingerprint_of_order(gl_locale &locale) {
    if (locale.collate.kind == GL_COLLATION_EXTENSION) {
        const char *const digits = gl_order_fingerprint(&locale);
        return digits != nullptr ? digits : "";
    }
    const std::string name = category_name(locale, GL_CAT_COLLATE);
    return header_of_object(locale_object(name == "native" ? "default.lco" : name)).order;
}

Section collation(gl_locale &locale) {
    Section section = CategorySection(locale, GL_CAT_COLLATE, "LC_COLLATE").section;
    const gl_collate_info &collate = locale.collate;
    const std::string order = fingerprint_of_order(locale); // orders of equal ones are the same
    if (order.empty())
        section.none("order_fingerprint", "not told");
    else
        section.word("order_fingerprint", order);
    section.word("kind", kind_of_collation(collate));
    std::vector<std::string> directions;
    directions.reserve(GL_MAX_PASSES);
    for (int pass = 0; pass < collate.pass_count; ++pass)
        directions.emplace_back((collate.directions[pass] & GL_PASS_FORWARD) != 0 ? "forward" : "backward");
    section.rows.push_back(
        {"passes", {directions.empty() ? "none" : fmt::format("{}", fmt::join(directions, " "))}, json_strings(directions)});
    section.number("rows", collate.row_count);
    section.number("expansions", collate.expansion_count);
    section.number("elements", collate.element_count);
    section.number("largest_weight", collate.fifth_count);
    section.number("ignored", length_of<char *>(locale.all_one, [](char *const &text) { return text == nullptr; }));
    section.number("equivalences", length_of<gl_equivalence>(locale.equivalence,
                                                             [](const gl_equivalence &pair) { return pair.member == nullptr; }));
    section.rows.push_back({"growth", {without_zeros(locale.coll_growth)}, without_zeros(locale.coll_growth)});
    section.word("compare", function_name(locale.mbscoll));
    section.word("compare_with_lengths", function_name(locale.mbfscoll));
    section.word("sort_key", function_name(locale.mbsxfrm));
    return section;
}

Section numeric(gl_locale &locale) {
    const gl_numeric_info &info = locale.numeric;
    CategorySection category(locale, GL_CAT_NUMERIC, "LC_NUMERIC");
    category.text("decimal_point", info.decimal_point);
    category.text("thousands_sep", info.thousands_sep);
    category.grouping("grouping", info.grouping);
    category.text("positive_sign", info.positive_sign);
    category.text("negative_sign", info.negative_sign);
    return std::move(category.section);
}

Section monetary(gl_locale &locale) {
    const gl_monetary_info &info = locale.monetary;
    const gl_money_layout &other = locale.int_money;
    CategorySection category(locale, GL_CAT_MONETARY, "LC_MONETARY");
    category.text("int_curr_symbol", info.int_curr_symbol);
    category.text("currency_symbol", info.currency_symbol);
    category.text("mon_decimal_point", info.mon_decimal_point);
    category.text("mon_thousands_sep", info.mon_thousands_sep);
    category.grouping("mon_grouping", info.mon_grouping);
    category.text("positive_sign", info.positive_sign);
    category.text("negative_sign", info.negative_sign);
    const std::pair<const char *, int32_t> layout[] = {
        {"int_frac_digits", info.int_frac_digits},  {"frac_digits", info.frac_digits},
        {"p_cs_precedes", info.p_cs_precedes},      {"p_sep_by_space", info.p_sep_by_space},
        {"n_cs_precedes", info.n_cs_precedes},      {"n_sep_by_space", info.n_sep_by_space},
        {"p_sign_posn", info.p_sign_posn},          {"n_sign_posn", info.n_sign_posn},
        {"int_p_cs_precedes", other.p_cs_precedes}, {"int_p_sep_by_space", other.p_sep_by_space},
        {"int_n_cs_precedes", other.n_cs_precedes}, {"int_n_sep_by_space", other.n_sep_by_space},
        {"int_p_sign_posn", other.p_sign_posn},     {"int_n_sign_posn", other.n_sign_posn}};
    for (const auto &[name, value] : layout) {
        if (value == GL_NOT_AVAILABLE)
            category.section.none(name, "n/a");
        else
            category.section.number(name, value);
    }
    return std::move(category.section);
}

std::string date(int year, int month, int day) {
    return fmt::format("{}{:04}-{:02}-{:02}", year < 0 ? "-" : "", std::abs(year), month, day);
}

Row eras(const CategorySection &category, const gl_time_info &info) {
    Row row{"eras", {}, ""};
    std::vector<std::string> members;
    for (int i = 0; info.eras != nullptr && i < info.era_count; ++i) {
        const gl_era &era = info.eras[i];
        const std::string start = date(era.start_year, era.start_month, era.start_day);
        const std::string end = era.end_flag > 0   ? "future"
                                : era.end_flag < 0 ? "past"
                                                   : date(era.end_year, era.end_month, era.end_day);
        row.lines.push_back(fmt::format("{} {}, {} to {}, {}, year {} counted {}", category.shown(era.name),
                                        category.shown(era.third), start, end, category.shown(era.format), era.offset,
                                        era.direction < 0 ? "down" : "up"));
        JsonObject member;
        member.raw("direction", std::to_string(era.direction)).raw("offset", std::to_string(era.offset));
        member.text("start", start).text("end", end);
        member.raw("name", category.plain(era.name))
            .raw("format", category.plain(era.format))
            .raw("third", category.plain(era.third));
        members.push_back(member.str());
    }
    if (row.lines.empty()) row.lines.emplace_back("none");
    row.json = json_array(members);
    return row;
}

Section time(gl_locale &locale) {
    static constexpr const char *CALENDARS[] = {"unknown", "gregorian", "hebrew", "islamic", "arabic"};
    const gl_time_info &info = locale.time;
    CategorySection category(locale, GL_CAT_TIME, "LC_TIME");
    category.section.word("calendar", CALENDARS[info.calendar >= 1 && info.calendar <= 4 ? info.calendar : 0]);
    category.texts("abday", info.abday, 7);
    category.texts("day", info.day, 7);
    category.texts("abmon", info.abmon.bytes, info.abmon.count);
    category.texts("mon", info.mon.bytes, info.mon.count);
    const char *const halves[] = {info.am, info.pm};
    category.texts("am_pm", halves, 2);
    category.text("d_t_fmt", info.d_t_fmt);
    category.text("d_fmt", info.d_fmt);
    category.text("t_fmt", info.t_fmt);
    category.text("t_fmt_ampm", info.t_fmt_ampm);
    category.section.rows.push_back(eras(category, info));
    category.text("era_d_fmt", info.era_d_fmt);
    category.text("era_t_fmt", info.era_t_fmt);
    category.text("era_d_t_fmt", info.era_d_t_fmt);
    category.texts("alt_digits", info.alt_digits.bytes, info.alt_digits.count);
    return std::move(category.section);
}

Section messages(gl_locale &locale) {
    const gl_messages_info &info = locale.messages;
    CategorySection category(locale, GL_CAT_MESSAGES, "LC_MESSAGES");
    category.text("yesexpr", info.yesexpr);
    category.text("noexpr", info.noexpr);
    category.text("yesstr", info.yesstr);
    category.text("nostr", info.nostr);
    return std::move(category.section);
}

} // namespace

std::vector<Section> sections_of(gl_locale &locale) {
    return {character_types(locale), collation(locale), numeric(locale), monetary(locale), time(locale), messages(locale)};
}

} // namespace qbgl
