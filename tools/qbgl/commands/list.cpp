#include "commands/list.h"

#include "frame/files.h"
#include "qbgl.h"
#include "tree/codesets.h"
#include "tree/directories.h"
#include "tree/installed.h"
#include "tree/registry.h"

#include <algorithm>
#include <fmt/format.h>
#include <set>

namespace qbgl {

namespace {

struct Item {
    std::string line;
    JsonObject members;
};

std::string lower(std::string text) {
    for (char &c : text) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
    return text;
}

// Lists what contains the filter's text, in any case.
ExitStatus print_list(const char *title, const std::vector<Item> &items, const std::string &filter, const Messages &messages) {
    std::string text;
    for (const Item &item : items) {
        if (lower(item.line).find(lower(filter)) == std::string::npos) continue;
        if (messages.as_json())
            text += fmt::format("{}{}", text.empty() ? "" : ",\n", item.members.str());
        else
            text += item.line + "\n";
    }
    const bool none = text.empty() && !filter.empty();
    if (messages.as_json()) text = fmt::format("{{\"{}\":[{}]}}\n", title, text);
    const ExitStatus status = print(text, messages);
    if (status != ExitStatus::OK || !none) return status;
    return messages.fail(ExitStatus::DATA, fmt::format("no line of `qbgl list {}` contains {}", title, printable(filter)),
                         JsonObject().text("filter", filter));
}

} // namespace

ExitStatus list_codesets(const std::string &filter, const Messages &messages) {
    const Registry registry = read_registry();
    if (registry.names.empty()) throw no_tree();
    const ConversionNumbers conversions = installed_conversions();
    std::vector<Item> items;
    for (const auto &[number, names] : registry.by_number) {
        const bool convertible = is_convertible(number, conversions);
        Item item{fmt::format("{:5} {}{}", number, fmt::join(names, " "), convertible ? "" : " (no conversion)"), {}};
        item.members.number("number", number).number("ccsid", gl_cs_nums2ccsid(nullptr, number));
        item.members.raw("names", json_strings(names)).raw("convertible", convertible ? "true" : "false");
        items.push_back(std::move(item));
    }
    return print_list("codesets", items, filter, messages);
}

ExitStatus list_conversions(const std::string &filter, const Messages &messages) {
    const Registry registry = read_registry();
    if (registry.names.empty()) throw no_tree();
    std::set<std::pair<std::string, std::string>> found;
    for (const auto &[source, target] : installed_conversions()) found.emplace(registry.name_of(source), registry.name_of(target));
    std::vector<Item> items;
    items.reserve(found.size());
    for (const auto &[source, target] : found)
        items.push_back({fmt::format("{} {}", source, target), JsonObject().text("source", source).text("target", target)});
    return print_list("conversions", items, filter, messages);
}

ExitStatus list_locales(const std::string &filter, const Messages &messages) {
    if (read_registry().names.empty()) throw no_tree();
    const std::vector<InstalledLocale> locales = installed_locales();
    size_t longest = 0;
    for (const InstalledLocale &locale : locales) longest = std::max(longest, locale.specification.size());
    std::vector<Item> items;
    items.reserve(locales.size());
    for (const InstalledLocale &locale : locales) {
        items.push_back(
            {fmt::format("{:{}} {:12} {}", locale.specification, longest, locale.codeset, locale.file),
             JsonObject().text("specification", locale.specification).text("codeset", locale.codeset).text("file", locale.file)});
    }
    return print_list("locales", items, filter, messages);
}

} // namespace qbgl
