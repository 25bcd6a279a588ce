#include "syms/unlisted.h"

#include <algorithm>
#include <bit>
#include <string.h>

namespace qbgl {

namespace {

constexpr uint32_t CODE_LIMIT = 0x110000;
constexpr bool is_surrogate(uint32_t code) { return code - 0xD800 < 0x800; }
constexpr bool is_scalar(uint32_t code) { return code < CODE_LIMIT && !is_surrogate(code); }

gl_desc four_bytes(uint32_t first, uint32_t second, uint32_t third, uint32_t fourth) {
    return {4,
            {static_cast<uint8_t>(first), static_cast<uint8_t>(second), static_cast<uint8_t>(third), static_cast<uint8_t>(fourth)}};
}

// ---- UTF-8

gl_desc utf8_bytes(uint32_t code) {
    const auto continued = [code](int shift) { return static_cast<uint8_t>(0x80 | (code >> shift & 0x3F)); };
    if (code < 0x80) return {1, {static_cast<uint8_t>(code)}};
    if (code < 0x800) return {2, {static_cast<uint8_t>(0xC0 | code >> 6), continued(0)}};
    if (code < 0x10000) return {3, {static_cast<uint8_t>(0xE0 | code >> 12), continued(6), continued(0)}};
    return four_bytes(0xF0 | code >> 18, continued(12), continued(6), continued(0));
}

// Of the length that the first byte tells; 0 for none.
uint32_t utf8_code(const uint8_t *s, int length) {
    uint32_t code = length == 1 ? s[0] : s[0] & (0xFFU >> (length + 1));
    for (int i = 1; i < length; ++i) code = code << 6 | (s[i] & 0x3F);
    return code;
}

int utf8_length(uint8_t first) {
    const int ones = std::countl_one(first);
    return ones == 0 ? 1 : ones >= 2 && ones <= 4 ? ones : 0;
}

// ---- GB18030: four-byte characters are numbered

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

// CODE_LIMIT for a number that no character has by the rule.
uint32_t code_of_number(uint32_t number) {
    for (const Displaced &place : DISPLACED)
        if (number - place.number <= place.last - place.first) return place.first + (number - place.number);
    return number >= FIRST_BEYOND_PLANE_0 ? number - FIRST_BEYOND_PLANE_0 + 0x10000 : CODE_LIMIT;
}

// 0 for a character that has none by the rule.
uint32_t number_of_code(uint32_t code) {
    for (const Displaced &place : DISPLACED)
        if (code - place.first <= place.last - place.first) return place.number + (code - place.first);
    return code >= 0x10000 ? number_beyond(code) : 0;
}

bool has_shape_of_gb18030(const uint8_t *s, int count) {
    constexpr struct { uint8_t first, last; } BYTES[] = {{0x81, 0xFE}, {0x30, 0x39}, {0x81, 0xFE}, {0x30, 0x39}};
    for (int i = 0; i < count; ++i)
        if (s[i] < BYTES[i].first || s[i] > BYTES[i].last) return false;
    return true;
}

} // namespace

Unlisted unlisted_of(std::string_view rule) {
    return rule == "utf8" ? Unlisted::UTF8 : rule == "gb18030" ? Unlisted::GB18030 : Unlisted::NONE;
}

bool encode_unlisted(Unlisted rule, uint32_t code, gl_desc &character) {
    if (rule == Unlisted::NONE || !is_scalar(code)) return false;
    if (rule == Unlisted::UTF8) {
        character = utf8_bytes(code);
        return true;
    }
    const uint32_t number = number_of_code(code);
    character = four_bytes(0x81 + number / 12600, 0x30 + number / 1260 % 10, 0x81 + number / 10 % 126, 0x30 + number % 10);
    return number != 0;
}

int decode_unlisted(Unlisted rule, const char *text, int n, uint32_t &code, gl_desc &character) {
    const auto *s = reinterpret_cast<const uint8_t *>(text);
    if (rule == Unlisted::NONE || n < 1) return rule == Unlisted::NONE ? GL_EILSEQ : GL_EINVAL;
    const int length = rule == Unlisted::UTF8 ? utf8_length(s[0]) : 4;
    const int count = std::min(n, length);
    if (rule == Unlisted::UTF8) {
        if (length == 0 || std::any_of(s + 1, s + count, [](uint8_t byte) { return (byte & 0xC0) != 0x80; })) return GL_EILSEQ;
    } else if (!has_shape_of_gb18030(s, count)) {
        return GL_EILSEQ;
    }
    if (count < length) return GL_EINVAL;
    code = rule == Unlisted::UTF8 ? utf8_code(s, length)
                                  : code_of_number(((s[0] - 0x81U) * 10 + s[1] - 0x30) * 1260 + (s[2] - 0x81U) * 10 + s[3] - 0x30);
    // Overlong forms, and what the rule writes in other bytes.
    const bool same = encode_unlisted(rule, code, character) && character.count == static_cast<uint32_t>(length) &&
                      memcmp(character.bytes, s, character.count) == 0;
    return same ? 0 : GL_EILSEQ;
}

} // namespace qbgl
