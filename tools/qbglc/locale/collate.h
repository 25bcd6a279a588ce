// LC_COLLATE of a locale object.
#pragma once

#include "charmap/codeset.h"
#include "collation/order.h"

#include <string>
#include <vector>

namespace qbgl::compiler {

struct CollateSection {
    std::string text;
    std::string listed; // the same without what the codeset does not list and no order has: what the order's fingerprint is made of
    std::vector<std::string> warnings; // where the order is not exactly that of the rules, and for which characters
};

CollateSection collate_section(const CollationOrder &order, const Codeset &codeset);

} // namespace qbgl::compiler
