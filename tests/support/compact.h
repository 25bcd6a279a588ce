// Numbers and lists of the compact form in objects.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qbgl_test {

inline std::string number(uint32_t value) {
    std::string text(1, static_cast<char>('0' + value % 32));
    while ((value /= 32) != 0) text.insert(0, 1, static_cast<char>('P' + value % 32));
    return text;
}
inline std::string numbers(const std::vector<uint32_t> &values) {
    std::string text;
    for (const uint32_t value : values) text += number(value);
    return text;
}
inline uint32_t coded(int32_t difference) {
    return difference < 0 ? -2U * static_cast<uint32_t>(difference) - 1 : 2U * static_cast<uint32_t>(difference);
}
inline std::string difference(uint32_t to, uint32_t from) { return number(coded(static_cast<int32_t>(to - from))); }

// Values of 16 bits; where `runs`, equal differences are one.
inline std::string list(const std::vector<unsigned> &values, bool runs = true) {
    std::string text;
    unsigned last = 0;
    for (size_t i = 0, end; i < values.size(); i = end) {
        const auto step = static_cast<int16_t>(values[i] - last);
        for (end = i; end < values.size() && (runs || end == i) && static_cast<int16_t>(values[end] - last) == step; ++end)
            last = values[end];
        text += end - i == 1 ? number(2 * coded(step)) : number(2 * coded(step) + 1) + number(static_cast<uint32_t>(end - i - 2));
    }
    return text;
}

} // namespace qbgl_test
