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
    void skip_whitespace();
    // A word of at most size - 1 bytes, always terminated; whether white space, which is left unread, follows it.
    bool word(char *buffer, int size);

  private:
    static bool byte_slots_are_default();

    FILE *stream_;
    bool direct_;
};

} // namespace qbgl
