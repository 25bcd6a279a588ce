// How much of the tree an oracle takes. The counts in the tables of differences hold for all of it.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <string>

namespace qbgl_test {

// One object out of how many: the preset's share, or what QBGL_ORACLE_PART in the environment says.
inline size_t oracle_part() {
    const char *part = std::getenv("QBGL_ORACLE_PART");
    return part != nullptr ? std::max<size_t>(std::stoul(part), 1) : QBGL_TREE_SAMPLE;
}

} // namespace qbgl_test
