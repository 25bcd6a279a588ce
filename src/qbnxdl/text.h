// Texts of the room: paths and error texts, in the table's memory.
#pragma once

#include "util/owned.h"

#include <initializer_list>
#include <string.h>
#include <string_view>

namespace qbgl {

// The parts as one string; null when memory is out.
inline Owned<char> join(std::initializer_list<std::string_view> parts) {
    size_t length = 0;
    for (const std::string_view part : parts) length += part.size();
    if (length >= UINT32_MAX) return Owned<char>();
    Owned<char> text = Owned<char>::allocate(static_cast<uint32_t>(length) + 1);
    if (!text) return text;
    char *end = text.get();
    for (const std::string_view part : parts) {
        memcpy(end, part.data(), part.size());
        end += part.size();
    }
    *end = '\0';
    return text;
}

} // namespace qbgl
