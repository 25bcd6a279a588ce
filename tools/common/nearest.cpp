#include "common/nearest.h"

#include <algorithm>
#include <cctype>
#include <numeric>
#include <tuple>

namespace qbgl {

namespace {

std::string bare(std::string_view name) {
    std::string result;
    for (const char c : name) {
        if (c != '-' && c != '_' && c != ' ') result += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    if (result.starts_with("iso") && result.size() > 3) result.erase(0, 3);
    return result;
}

// Insertions, deletions and replacements that lead from one to the other.
size_t edit_distance(std::string_view from, std::string_view to) {
    std::vector<size_t> row(to.size() + 1);
    std::iota(row.begin(), row.end(), 0);
    for (size_t i = 0; i < from.size(); ++i) {
        size_t diagonal = row[0];
        row[0] = i + 1;
        for (size_t j = 0; j < to.size(); ++j) {
            const size_t replaced = diagonal + (from[i] == to[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

} // namespace

std::vector<std::string> by_nearness(std::string_view wanted, const std::vector<std::string> &names) {
    // A registry name has 21 characters at most, so nothing behind that helps.
    wanted = wanted.substr(0, 64);
    // Distance of the bare names, of the names as they are, index.
    std::vector<std::tuple<size_t, size_t, size_t>> candidates;
    candidates.reserve(names.size());
    for (size_t i = 0; i < names.size(); ++i)
        candidates.emplace_back(edit_distance(bare(wanted), bare(names[i])), edit_distance(wanted, names[i]), i);
    std::sort(candidates.begin(), candidates.end());
    std::vector<std::string> result;
    result.reserve(names.size());
    for (const auto &candidate : candidates) result.push_back(names[std::get<2>(candidate)]);
    return result;
}

} // namespace qbgl
