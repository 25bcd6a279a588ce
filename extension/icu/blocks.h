// Blocks of bytes, for what must cost next to nothing.
#pragma once

#include <cstdint>

namespace qbgl::icu {

constexpr int BLOCK = 16;

// Whether a block can be loaded from s whatever stands there: it stays in the page of its first byte.
inline bool in_page(const void *s) {
    constexpr uintptr_t PAGE = 4096;
    return (reinterpret_cast<uintptr_t>(s) & (PAGE - 1)) <= PAGE - BLOCK;
}

} // namespace qbgl::icu
