// The entry points, and how they tell errors.
#pragma once

#include <qbgl_extension.h>

QBGL_EXTENSION_DECLARATIONS

namespace qbgl::icu {

// Puts the number into a cell, which may be null, and returns the result of a failure.
template <class Cell, class Result> [[gnu::cold]] Result fail(Cell *cell, int number, Result result) {
    if (cell != nullptr) *cell = static_cast<Cell>(number);
    return result;
}

constexpr int TERMINATED = -1;

} // namespace qbgl::icu
