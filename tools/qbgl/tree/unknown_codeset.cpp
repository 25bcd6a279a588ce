#include "tree/unknown_codeset.h"

#include "tree/directories.h"
#include "common/nearest.h"
#include "tree/registry.h"

#include "qbgl.h"

#include <fmt/format.h>
#include <set>

namespace qbgl {

namespace {

// The names of the three codesets that were most likely meant.
std::vector<std::string> likely_codesets(const std::string &name) {
    std::vector<std::string> result;
    std::set<uint16_t> numbers;
    for (const std::string &near : by_nearness(name, read_registry().names)) {
        if (result.size() == 3) break;
        if (numbers.insert(gl_cs_name2cs_num(nullptr, near.c_str(), nullptr)).second) result.push_back(near);
    }
    return result;
}

} // namespace

ExitStatus unknown_codeset(const std::string &name, const Messages &messages) {
    const std::vector<std::string> likely = likely_codesets(name);
    const std::string advice = likely.empty()
                                   ? fmt::format("there is no codeset registry in {}: set QUORBANEDIR", printable(tree_directory()))
                                   : fmt::format("the nearest are {}; `qbgl conv -l` lists all", fmt::join(likely, ", "));
    return messages.fail(ExitStatus::CALL, fmt::format("unknown codeset {}: {}", printable(name), advice),
                         JsonObject().text("codeset", name).raw("nearest", json_strings(likely)));
}

} // namespace qbgl
