// What `qbglc diff` says.
#pragma once

#include "charmap/codeset.h"

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace qbgl::compiler {

struct OrderRequest {
    std::filesystem::path before, after; // locale objects
    std::filesystem::path lines{};       // a file of texts to compare instead of characters and elements
    size_t shown = 10;                   // items of each list
};

struct OrderReport {
    bool same;
    std::string text;
    std::vector<std::string> warnings; // objects that were compared although they are not as they were written
};

// Nothing but the fingerprints is looked at when they are equal and both objects are as they were written. `codeset_of` gives a
// codeset by its name, or null, to show characters by. Throws SystemError, and DataError: files that are no sound objects, or
// objects in different codesets, or lines that are no text.
OrderReport report_order(const OrderRequest &request, const std::function<CodesetPtr(const std::string &)> &codeset_of);

} // namespace qbgl::compiler
