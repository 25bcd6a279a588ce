// The forms of Unicode: how each reads and writes one character, in a place of the caller's.
#pragma once

#include <stdint.h>
#include <string_view>

namespace qbgl {

enum class UnicodeForm : int32_t {
    NONE, // a codeset that is none of them
    UTF8,
    UTF16LE,
    UTF16BE,
    UTF32LE,
    UTF32BE,
    UCS2LE, // the first plane alone, in two-byte units
    GB18030 // what of it has a rule (gb18030.h): no form of a whole text
};

// The form that a codeset number stands for.
UnicodeForm unicode_form(uint16_t codeset);

// The form by which a codeset has characters that its tables do not list, as an object's header names it: "utf8", "gb18030".
UnicodeForm unlisted_form(std::string_view rule);

// Bytes of the shortest and the longest character.
struct FormLengths {
    int shortest, longest;
};
FormLengths lengths_of(UnicodeForm form);

// Longest character of any form.
inline constexpr int LONGEST_FORM = 4;

struct Scalar {
    uint32_t code;
    int length; // 0: no character stands here, or the text ends inside it
};

constexpr bool is_surrogate(uint32_t code) { return (code & 0xFFFFF800) == 0xD800; }
constexpr bool is_scalar(uint32_t code) { return code <= 0x10FFFF && !is_surrogate(code); }

// What begins a text of `remaining` bytes, at least one. Bytes are read only as far as those before them ask for it, a unit at a
// time, so that nothing is read behind a terminator.
template <UnicodeForm FORM> Scalar decode(const uint8_t *in, uint32_t remaining);
Scalar decode(UnicodeForm form, const uint8_t *in, uint32_t remaining);

// Writes a scalar value and returns its length; 0 where the form does not have it.
template <UnicodeForm FORM> int encode(uint32_t code, uint8_t *out);
int encode(UnicodeForm form, uint32_t code, uint8_t *out);

// ------------------------------------------------------------------------------------------------------------------------------

namespace unicode {

// Calls action with a form of whole texts as a constant.
template <class Action> auto with_form(UnicodeForm form, Action action) {
    switch (form) {
    case UnicodeForm::UTF16LE: return action.template operator()<UnicodeForm::UTF16LE>();
    case UnicodeForm::UTF16BE: return action.template operator()<UnicodeForm::UTF16BE>();
    case UnicodeForm::UTF32LE: return action.template operator()<UnicodeForm::UTF32LE>();
    case UnicodeForm::UTF32BE: return action.template operator()<UnicodeForm::UTF32BE>();
    case UnicodeForm::UCS2LE: return action.template operator()<UnicodeForm::UCS2LE>();
    default: return action.template operator()<UnicodeForm::UTF8>();
    }
}

constexpr bool is_big_endian(UnicodeForm form) { return form == UnicodeForm::UTF16BE || form == UnicodeForm::UTF32BE; }

// The bytes of a unit; those of UTF-8 are its own.
constexpr int unit_of(UnicodeForm form) {
    switch (form) {
    case UnicodeForm::UTF16LE:
    case UnicodeForm::UTF16BE:
    case UnicodeForm::UCS2LE: return 2;
    case UnicodeForm::UTF32LE:
    case UnicodeForm::UTF32BE: return 4;
    default: return 1;
    }
}

template <UnicodeForm FORM> uint32_t unit_at(const uint8_t *in) {
    if constexpr (unit_of(FORM) == 2)
        return is_big_endian(FORM) ? static_cast<uint32_t>(in[0] << 8 | in[1]) : static_cast<uint32_t>(in[1] << 8 | in[0]);
    else if constexpr (is_big_endian(FORM))
        return static_cast<uint32_t>(in[0]) << 24 | static_cast<uint32_t>(in[1] << 16 | in[2] << 8 | in[3]);
    else
        return static_cast<uint32_t>(in[3]) << 24 | static_cast<uint32_t>(in[2] << 16 | in[1] << 8 | in[0]);
}

template <UnicodeForm FORM> void put_unit(uint8_t *out, uint32_t unit) {
    constexpr int SIZE = unit_of(FORM);
    for (int i = 0; i < SIZE; ++i) out[i] = static_cast<uint8_t>(unit >> (8 * (is_big_endian(FORM) ? SIZE - 1 - i : i)));
}

// Table 3-7 of the Unicode standard: which second byte a lead of three or four bytes asks for.
constexpr bool is_second_byte(uint8_t lead, uint8_t second) {
    switch (lead) {
    case 0xE0: return second >= 0xA0 && second <= 0xBF;
    case 0xED: return second >= 0x80 && second <= 0x9F;
    case 0xF0: return second >= 0x90 && second <= 0xBF;
    case 0xF4: return second >= 0x80 && second <= 0x8F;
    default: return (second & 0xC0) == 0x80;
    }
}

inline Scalar decode_utf8(const uint8_t *in, uint32_t remaining) {
    const uint8_t lead = in[0];
    if (lead < 0x80) return {lead, 1};
    if (lead < 0xC2 || lead > 0xF4 || remaining < 2 || !is_second_byte(lead, in[1])) return {0, 0};
    if (lead < 0xE0) return {static_cast<uint32_t>((lead & 0x1F) << 6 | (in[1] & 0x3F)), 2};
    if (remaining < 3 || (in[2] & 0xC0) != 0x80) return {0, 0};
    const auto three = static_cast<uint32_t>((lead & 0x0F) << 12 | (in[1] & 0x3F) << 6 | (in[2] & 0x3F));
    if (lead < 0xF0) return {three, 3};
    if (remaining < 4 || (in[3] & 0xC0) != 0x80) return {0, 0};
    return {three << 6 | (in[3] & 0x3FU), 4};
}

inline int encode_utf8(uint32_t code, uint8_t *out) {
    const auto tail = [code](int shift) { return static_cast<uint8_t>(0x80 | (code >> shift & 0x3F)); };
    if (code < 0x80) {
        out[0] = static_cast<uint8_t>(code);
        return 1;
    }
    if (code < 0x800) {
        out[0] = static_cast<uint8_t>(0xC0 | code >> 6);
        out[1] = tail(0);
        return 2;
    }
    if (code < 0x10000) {
        out[0] = static_cast<uint8_t>(0xE0 | code >> 12);
        out[1] = tail(6);
        out[2] = tail(0);
        return 3;
    }
    out[0] = static_cast<uint8_t>(0xF0 | code >> 18);
    out[1] = tail(12);
    out[2] = tail(6);
    out[3] = tail(0);
    return 4;
}

} // namespace unicode

template <UnicodeForm FORM> Scalar decode(const uint8_t *in, uint32_t remaining) {
    if constexpr (FORM == UnicodeForm::UTF8) {
        return unicode::decode_utf8(in, remaining);
    } else {
        constexpr uint32_t UNIT = unicode::unit_of(FORM);
        if (remaining < UNIT) return {0, 0};
        const uint32_t unit = unicode::unit_at<FORM>(in);
        if (is_scalar(unit)) return {unit, UNIT};
        if constexpr (FORM == UnicodeForm::UTF16LE || FORM == UnicodeForm::UTF16BE) {
            if (unit >= 0xDC00 || remaining < 2 * UNIT) return {0, 0};
            const uint32_t low = unicode::unit_at<FORM>(in + UNIT);
            if ((low & 0xFC00) == 0xDC00) return {0x10000 + ((unit - 0xD800) << 10 | (low - 0xDC00)), 2 * UNIT};
        }
        return {0, 0};
    }
}

template <UnicodeForm FORM> int encode(uint32_t code, uint8_t *out) {
    if constexpr (FORM == UnicodeForm::UTF8) {
        return unicode::encode_utf8(code, out);
    } else {
        constexpr int UNIT = unicode::unit_of(FORM);
        if constexpr (FORM == UnicodeForm::UCS2LE) {
            if (code > 0xFFFF) return 0;
        } else if constexpr (UNIT == 2) {
            if (code > 0xFFFF) {
                unicode::put_unit<FORM>(out, 0xD800 + ((code - 0x10000) >> 10));
                unicode::put_unit<FORM>(out + UNIT, 0xDC00 + (code & 0x3FF));
                return 2 * UNIT;
            }
        }
        unicode::put_unit<FORM>(out, code);
        return UNIT;
    }
}

} // namespace qbgl
