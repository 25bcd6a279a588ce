#include "object/numbers.h"

namespace qbgl::compiler {

void put_number(std::string &text, uint32_t value) {
    int shift = 30;
    while (shift > 0 && value >> shift == 0) shift -= 5;
    for (; shift > 0; shift -= 5) text += static_cast<char>('0' + 32 + (value >> shift & 31));
    text += static_cast<char>('0' + (value & 31));
}

void put_difference(std::string &text, uint32_t value, uint32_t from) {
    put_number(text, coded(static_cast<int32_t>(value - from)));
}

void RunWriter::put(std::string &text, std::span<const uint16_t> values) {
    for (size_t i = 0, end; i < values.size(); i = end) {
        const auto step = static_cast<uint16_t>(values[i] - last_);
        for (end = i; end < values.size() && static_cast<uint16_t>(values[end] - last_) == step; ++end) last_ = values[end];
        const uint32_t number = coded(static_cast<int16_t>(step)) << 1;
        put_number(text, end - i > 1 ? number | 1 : number);
        if (end - i > 1) put_number(text, static_cast<uint32_t>(end - i - 2));
    }
}

} // namespace qbgl::compiler
