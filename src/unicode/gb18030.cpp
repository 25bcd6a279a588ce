#include "unicode/gb18030.h"

namespace qbgl {

namespace {

// Characters of four bytes are numbered in the order of their bytes.
constexpr uint32_t FIRST_BEYOND_PLANE_0 = 189000;
constexpr uint32_t number_beyond(uint32_t code) { return FIRST_BEYOND_PLANE_0 + (code - 0x10000); }

constexpr struct Displaced {
    uint32_t first, last;
    uint32_t number; // of `first`
} DISPLACED[] = {
    {0xE78D, 0xE796, 39076},
    {0xE81E, 0xE81E, 19057},
    {0xE826, 0xE826, 19058},
    {0xE82B, 0xE82C, 19059},
    {0xE832, 0xE832, 19061},
    {0xE843, 0xE843, 19062},
    {0xE854, 0xE854, 19063},
    {0xE864, 0xE864, 19064},
    {0xE816, 0xE816, number_beyond(0x20087)},
    {0xE817, 0xE817, number_beyond(0x20089)},
    {0xE818, 0xE818, number_beyond(0x200CC)},
    {0xE831, 0xE831, number_beyond(0x215D7)},
    {0xE83B, 0xE83B, number_beyond(0x2298F)},
    {0xE855, 0xE855, number_beyond(0x241FE)},
};

constexpr int LENGTH = 4;
constexpr uint32_t LAST_CODE = 0x10FFFF, NO_CODE = 0xFFFFFFFF;

uint32_t code_of_number(uint32_t number) {
    for (const Displaced &place : DISPLACED)
        if (number - place.number <= place.last - place.first) return place.first + (number - place.number);
    return number >= FIRST_BEYOND_PLANE_0 ? number - FIRST_BEYOND_PLANE_0 + 0x10000 : NO_CODE;
}

// 0 for a character that has none by the rule.
uint32_t number_of_code(uint32_t code) {
    for (const Displaced &place : DISPLACED)
        if (code - place.first <= place.last - place.first) return place.number + (code - place.first);
    return code >= 0x10000 ? number_beyond(code) : 0;
}

} // namespace

bool has_shape_of_gb18030(const uint8_t *in, int count) {
    constexpr struct { uint8_t first, last; } BYTES[] = {{0x81, 0xFE}, {0x30, 0x39}, {0x81, 0xFE}, {0x30, 0x39}};
    for (int i = 0; i < count; ++i)
        if (in[i] < BYTES[i].first || in[i] > BYTES[i].last) return false;
    return true;
}

int decode_gb18030(const uint8_t *in, uint32_t remaining, uint32_t &code) {
    for (uint32_t count = 1; count <= LENGTH; ++count) // a terminator ends the text, and so the reading
        if (count > remaining || !has_shape_of_gb18030(in, static_cast<int>(count))) return 0;
    code = code_of_number(((in[0] - 0x81U) * 10 + in[1] - 0x30) * 1260 + (in[2] - 0x81U) * 10 + in[3] - 0x30);
    return code <= LAST_CODE ? LENGTH : 0;
}

int encode_gb18030(uint32_t code, uint8_t *out) {
    const uint32_t number = number_of_code(code);
    if (number == 0) return 0;
    out[0] = static_cast<uint8_t>(0x81 + number / 12600);
    out[1] = static_cast<uint8_t>(0x30 + number / 1260 % 10);
    out[2] = static_cast<uint8_t>(0x81 + number / 10 % 126);
    out[3] = static_cast<uint8_t>(0x30 + number % 10);
    return LENGTH;
}

} // namespace qbgl
