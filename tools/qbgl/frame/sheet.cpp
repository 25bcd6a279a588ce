#include "frame/sheet.h"

#include <algorithm>
#include <fmt/format.h>

namespace qbgl {

void Section::number(const std::string &name, int64_t value) {
    rows.push_back({name, {std::to_string(value)}, std::to_string(value)});
}

void Section::word(const std::string &name, const std::string &value) { rows.push_back({name, {value}, json_string(value)}); }

void Section::none(const std::string &name, const std::string &said) { rows.push_back({name, {said}, "null"}); }

std::string readable(const std::vector<Section> &sections) {
    size_t widest = 0;
    for (const Section &section : sections) {
        for (const Row &row : section.rows) widest = std::max(widest, row.name.size());
    }
    std::string result;
    for (const Section &section : sections) {
        result += fmt::format("{}{}\n", result.empty() ? "" : "\n", section.title);
        for (const Row &row : section.rows) {
            std::string_view name = row.name;
            for (const std::string &line : row.lines) {
                result += fmt::format("  {:{}}  {}\n", name, widest, line);
                name = "";
            }
        }
    }
    return result;
}

std::string as_json(const std::vector<Section> &sections) {
    JsonObject result;
    for (const Section &section : sections) {
        JsonObject members;
        for (const Row &row : section.rows) members.raw(row.name, row.json);
        result.raw(section.title, members.str());
    }
    return result.str() + "\n";
}

} // namespace qbgl
