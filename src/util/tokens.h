// Reading object files byte by byte.
//
// Object files are read through the byte slots of the function table. When a host has replaced none of them, the same bytes come
// faster from libc's unlocked reader; ByteReader decides once for a run of tokens and is otherwise the token readers of the C face.
#pragma once

#include "qbgl.h"

#include <array>

namespace qbgl {

// 0 to 15, or 0 for a byte that is no hexadecimal digit (object files are not validated digit by digit).
// A table, because hexadecimal data makes branches on the kind of digit unpredictable; its index is the byte plus 1, so that EOF is
// 0.
inline constexpr auto HEX_DIGIT_VALUES = [] {
    std::array<uint8_t, 257> values = {};
    for (int digit = 0; digit < 10; ++digit) values['0' + 1 + digit] = static_cast<uint8_t>(digit);
    for (int digit = 10; digit < 16; ++digit)
        values['A' + 1 + digit - 10] = values['a' + 1 + digit - 10] = static_cast<uint8_t>(digit);
    return values;
}();
constexpr unsigned hex_digit_value(int byte) { return HEX_DIGIT_VALUES[static_cast<unsigned>(byte + 1)]; }

// Whether bytes of a stream that the library opened could not be read: they counted as digits 0, only the stream knows that they
// were none. A host that opens streams of its own kind and has put no function beside to ask them is not asked.
bool reading_failed(FILE *stream);

class ByteReader {
  public:
    explicit ByteReader(FILE *stream) : stream_(stream), direct_(byte_slots_are_default()) {}

    FILE *stream() const { return stream_; }

    // The next byte, or EOF. getc and fgetc stand for the two slots that a replacement may tell apart.
    int getc() { return direct_ ? getc_unlocked(stream_) : _gl_ext_getc(stream_); }
    int fgetc() { return direct_ ? getc_unlocked(stream_) : _gl_ext_fgetc(stream_); }
    void unget(int byte) {
        if (byte == EOF) return;
        if (direct_)
            ::ungetc(byte, stream_);
        else
            _gl_ext_ungetc(byte, stream_);
    }

    bool skip_newline() {
        const int byte = getc();
        if (byte == '\n') return true;
        unget(byte);
        return false;
    }
    void skip_one_blank() {
        const int byte = getc();
        if (byte != ' ') unget(byte);
    }
    unsigned hex_digit() { return hex_digit_value(getc()); }
    unsigned hex_byte() {
        const unsigned high = hex_digit();
        return high << 4 | hex_digit();
    }
    unsigned hex(int digits) {
        unsigned value = 0;
        for (int i = 0; i < digits && i < 8; ++i) value = value << 4 | hex_digit_value(fgetc());
        return value;
    }
    long integer();
    double real();
    // A number of the compact form: digits of five bits from '0' on, the high ones first; all but the last have 32 added. False for
    // anything else, and for more than 32 bits.
    bool number(uint32_t &value) {
        value = 0;
        for (;;) {
            const auto digit = static_cast<unsigned>(getc()) - '0';
            if (digit > 63 || value >> 27 != 0) return false;
            value = value << 5 | (digit & 31);
            if (digit < 32) return true;
        }
    }
    // A difference: 2 * d, or -2 * d - 1 where d is negative. Adds it to `value`, which wraps.
    bool difference(uint32_t &value) {
        uint32_t coded;
        if (!number(coded)) return false;
        value += signed_of(coded);
        return true;
    }
    static constexpr uint32_t signed_of(uint32_t coded) { return coded >> 1 ^ (0 - (coded & 1)); }
    void skip_whitespace();
    // A word of at most size - 1 bytes, always terminated; whether white space, which is left unread, follows it.
    bool word(char *buffer, int size);

  private:
    static bool byte_slots_are_default();

    FILE *stream_;
    bool direct_;
};

// Lists of 16-bit values in the compact form. Each value is told by its difference from the one before it, over the ends of lists,
// 0 before the first. A run of equal differences is the number 2 * difference + 1, and 2 less than their count; one that stands
// alone is 2 * difference.
class RunReader {
  public:
    explicit RunReader(ByteReader &in) : in_(in) {}

    // False for what is malformed, a run beyond the list's end included.
    bool read(uint16_t *values, uint32_t count) {
        uint16_t last = last_;
        while (count > 0) {
            uint32_t coded, run = 1;
            if (!in_.number(coded) || coded >> 1 > UINT16_MAX) return false;
            if ((coded & 1) != 0) {
                if (!in_.number(run) || run > count || count - run < 2) return false;
                run += 2;
            }
            const auto step = static_cast<uint16_t>(ByteReader::signed_of(coded >> 1));
            for (uint32_t i = 0; i < run; ++i) values[i] = last = static_cast<uint16_t>(last + step);
            values += run;
            count -= run;
        }
        last_ = last;
        return true;
    }

  private:
    ByteReader &in_;
    uint16_t last_ = 0;
};

} // namespace qbgl
