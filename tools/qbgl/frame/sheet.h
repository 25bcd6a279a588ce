// Named values in sections, shown aligned for people or as one JSON object.
#pragma once

#include "frame/json.h"

namespace qbgl {

struct Row {
    std::string name;
    std::vector<std::string> lines; // the value for people; what follows the first line stands below it
    std::string json;               // the value as JSON
};

struct Section {
    std::string title;
    std::vector<Row> rows = {};

    void number(const std::string &name, int64_t value);
    void word(const std::string &name, const std::string &value); // plain ASCII
    void none(const std::string &name, const std::string &said);  // no value: null
};

std::string readable(const std::vector<Section> &sections);
std::string as_json(const std::vector<Section> &sections);

} // namespace qbgl
