// Blocks of bytes, for what must cost next to nothing.
#pragma once

#include <cstdint>

namespace qbgl::icu {

constexpr int BLOCK = 16;

// Whether so many bytes can be loaded from s whatever stands there: they are in the page of the first one.
inline bool in_page(const void *s, int size) {
    constexpr int PAGE = 4096;
    return static_cast<int>(reinterpret_cast<uintptr_t>(s) & (PAGE - 1)) <= PAGE - size;
}

} // namespace qbgl::icu
