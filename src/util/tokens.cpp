// The token readers. What they accept does not depend on the host's locale: object files are the same everywhere.
#include "util/tokens.h"

#include "util/ascii.h"

#include <locale.h>
#include <stdlib.h>

namespace qbgl {

using ascii::is_digit;
using ascii::is_space;

namespace {

constexpr int LONGEST_INTEGER = 40, LONGEST_REAL = 80;

constexpr bool is_sign(int byte) { return byte == '-' || byte == '+'; }
constexpr bool is_real_part(int byte) { return is_digit(byte) || is_sign(byte) || byte == '.' || byte == 'e' || byte == 'E'; }

// strtod with a decimal point whatever the host's locale has in its place. This lookup neither allocates nor needs freeing.
double real_value(const char *text) {
    const locale_t c_locale = newlocale(LC_ALL_MASK, "C", nullptr);
    return strtod_l(text, nullptr, c_locale);
}

} // namespace

bool reading_failed(FILE *stream) {
    const bool foreign =
        _gl_ext_func != 0 && _gl_get_ext_funcptr(GL_EXT_FOPEN) != nullptr && _gl_get_ext_funcptr(GL_EXT_FERROR) == nullptr;
    return !foreign && _gl_ext_ferror(stream) != 0;
}

bool ByteReader::byte_slots_are_default() {
    return _gl_ext_func == 0 || (_gl_get_ext_funcptr(GL_EXT_FGETC) == nullptr && _gl_get_ext_funcptr(GL_EXT_GETC) == nullptr &&
                                 _gl_get_ext_funcptr(GL_EXT_UNGETC) == nullptr);
}

void ByteReader::skip_whitespace() {
    int byte = getc();
    while (is_space(byte)) byte = getc();
    unget(byte);
}

long ByteReader::integer() {
    char text[LONGEST_INTEGER + 1];
    int length = 0;
    int byte = getc();
    if (byte == ' ') byte = getc();
    if (byte == EOF) return 0;
    // A first byte that cannot begin a number is lost; the number is what follows it.
    if (is_digit(byte) || is_sign(byte)) text[length++] = static_cast<char>(byte);
    byte = getc();
    for (; is_digit(byte); byte = getc()) {
        if (length < LONGEST_INTEGER) text[length++] = static_cast<char>(byte);
    }
    unget(byte);
    text[length] = '\0';
    return strtol(text, nullptr, 10);
}

double ByteReader::real() {
    char text[LONGEST_REAL + 1];
    int length = 0;
    int byte = getc();
    while (is_real_part(byte)) {
        text[length++] = static_cast<char>(byte);
        if (length == LONGEST_REAL) break; // the last byte of a longest token is also the next to be read
        byte = getc();
    }
    unget(byte);
    text[length] = '\0';
    return real_value(text);
}

bool ByteReader::word(char *buffer, int size) {
    if (size <= 0) return false;
    int length = 0;
    int byte = getc();
    for (; length < size - 1 && byte != EOF && !is_space(byte); byte = getc()) buffer[length++] = static_cast<char>(byte);
    unget(byte);
    buffer[length] = '\0';
    return is_space(byte);
}

} // namespace qbgl

using qbgl::ByteReader;

void _gl_skip_whitespace(FILE *stream) { ByteReader(stream).skip_whitespace(); }
void _gl_skip_space_if_needed(FILE *stream) { ByteReader(stream).skip_one_blank(); }
int _gl_skip_nl(FILE *stream) { return ByteReader(stream).skip_newline() ? 1 : 0; }
unsigned _gl_get_hex_digit(FILE *stream) { return ByteReader(stream).hex_digit(); }
unsigned _gl_get_hex_byte(FILE *stream) { return ByteReader(stream).hex_byte(); }
unsigned _gl_get_hex(FILE *stream, int n) { return ByteReader(stream).hex(n); }
long _gl_get_int(FILE *stream) { return ByteReader(stream).integer(); }
double _gl_get_dbl(FILE *stream) { return ByteReader(stream).real(); }
int _gl_get_str(char *buffer, int size, FILE *stream) { return ByteReader(stream).word(buffer, size) ? 0 : -1; }
