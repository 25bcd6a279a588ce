#include "syms/unlisted.h"

#include "unicode/form.h"
#include "unicode/gb18030.h"

#include <algorithm>
#include <bit>

namespace qbgl {

namespace {

// Whether the bytes may be the first of a character that is longer.
bool is_cut(UnicodeForm rule, const uint8_t *s, int n) {
    if (rule == UnicodeForm::GB18030) return n < 4 && has_shape_of_gb18030(s, n);
    if (s[0] < 0xC2 || s[0] > 0xF4 || (n > 1 && !unicode::is_second_byte(s[0], s[1]))) return false;
    return n < std::countl_one(s[0]) && std::all_of(s + 1, s + n, [](uint8_t byte) { return (byte & 0xC0) == 0x80; });
}

} // namespace

bool encode_unlisted(UnicodeForm rule, uint32_t code, gl_desc &character) {
    if (rule == UnicodeForm::NONE || !is_scalar(code)) return false;
    character.count = static_cast<uint32_t>(encode(rule, code, character.bytes));
    return character.count != 0;
}

int decode_unlisted(UnicodeForm rule, const char *text, int n, uint32_t &code, gl_desc &character) {
    if (rule == UnicodeForm::NONE) return GL_EILSEQ;
    if (n < 1) return GL_EINVAL;
    const auto *s = reinterpret_cast<const uint8_t *>(text);
    const Scalar scalar = decode(rule, s, static_cast<uint32_t>(n));
    if (scalar.length == 0) return is_cut(rule, s, n) ? GL_EINVAL : GL_EILSEQ;
    code = scalar.code;
    character.count = static_cast<uint32_t>(scalar.length);
    std::copy_n(s, scalar.length, character.bytes);
    return 0;
}

} // namespace qbgl
