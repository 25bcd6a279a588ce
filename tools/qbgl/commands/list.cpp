#include "commands/list.h"

#include "frame/files.h"
#include "qbgl.h"
#include "tree/directories.h"
#include "tree/installed.h"
#include "tree/registry.h"

#include <filesystem>
#include <fmt/format.h>
#include <set>

namespace qbgl {

namespace {

ExitStatus no_tree(const Messages &messages) {
    return messages.fail(
        ExitStatus::SYSTEM,
        fmt::format("there is no codeset registry in {}: set QUORBANEDIR to an installation tree, or make one with "
                    "`qbglc tree DIR`",
                    printable(tree_directory())),
        JsonObject().text("directory", tree_directory()));
}

// The codeset numbers of SSSSTTTT.cvo.
bool parse_object_name(const std::string &name, uint16_t &source, uint16_t &target) {
    constexpr size_t DIGITS = 8;
    if (name.size() != DIGITS + 4 || !name.ends_with(".cvo")) return false;
    if (name.find_first_not_of("0123456789abcdef") != DIGITS) return false;
    const unsigned long both = std::stoul(name.substr(0, DIGITS), nullptr, 16);
    source = static_cast<uint16_t>(both >> 16);
    target = static_cast<uint16_t>(both);
    return true;
}

} // namespace

ExitStatus list_codesets(const Messages &messages) {
    const Registry registry = read_registry();
    if (registry.names.empty()) return no_tree(messages);
    std::string text;
    for (const auto &[number, names] : registry.by_number) {
        if (messages.as_json()) {
            text += text.empty() ? "{\"codesets\":[" : ",\n";
            text += JsonObject()
                        .number("number", number)
                        .number("ccsid", gl_cs_nums2ccsid(nullptr, number))
                        .raw("names", json_strings(names))
                        .str();
        } else {
            text += fmt::format("{:5} {}\n", number, fmt::join(names, " "));
        }
    }
    return print(messages.as_json() ? text + "]}\n" : text, messages);
}

ExitStatus list_conversions(const Messages &messages) {
    const Registry registry = read_registry();
    if (registry.names.empty()) return no_tree(messages);
    std::set<std::pair<std::string, std::string>> found;
    for (const std::string &directory : conversion_directories()) {
        std::error_code error;
        for (const auto &entry : std::filesystem::directory_iterator(directory, error)) {
            uint16_t source, target;
            if (parse_object_name(entry.path().filename().string(), source, target))
                found.emplace(registry.name_of(source), registry.name_of(target));
        }
    }
    std::string text;
    for (const auto &[source, target] : found) {
        if (messages.as_json()) {
            text += text.empty() ? "{\"conversions\":[" : ",\n";
            text += JsonObject().text("source", source).text("target", target).str();
        } else {
            text += fmt::format("{} {}\n", source, target);
        }
    }
    if (messages.as_json()) text = (text.empty() ? "{\"conversions\":[" : text) + "]}\n";
    return print(text, messages);
}

ExitStatus list_locales(const Messages &messages) {
    if (read_registry().names.empty()) return no_tree(messages);
    const std::vector<InstalledLocale> locales = installed_locales();
    size_t longest = 0;
    for (const InstalledLocale &locale : locales) longest = std::max(longest, locale.specification.size());
    std::string text;
    for (const InstalledLocale &locale : locales) {
        if (messages.as_json()) {
            text += text.empty() ? "{\"locales\":[" : ",\n";
            text += JsonObject()
                        .text("specification", locale.specification)
                        .text("codeset", locale.codeset)
                        .text("file", locale.file)
                        .str();
        } else {
            text += fmt::format("{:{}} {:12} {}\n", locale.specification, longest, locale.codeset, locale.file);
        }
    }
    if (messages.as_json()) text = (text.empty() ? "{\"locales\":[" : text) + "]}\n";
    return print(text, messages);
}

} // namespace qbgl
