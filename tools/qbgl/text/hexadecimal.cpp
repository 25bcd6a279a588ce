#include "text/hexadecimal.h"

#include <cstdint>
#include <fmt/format.h>

namespace qbgl {

std::string hexadecimal(std::string_view bytes, std::string_view between) {
    std::string result;
    for (const char byte : bytes) result += fmt::format("{}{:02X}", result.empty() ? "" : between, static_cast<uint8_t>(byte));
    return result;
}

} // namespace qbgl
