#include "unicode/form.h"

#include "unicode/gb18030.h"

namespace qbgl {

UnicodeForm unicode_form(uint16_t codeset) {
    switch (codeset) {
    case 57372: return UnicodeForm::UTF8;
    case 57404: return UnicodeForm::UTF16LE;
    case 1200: return UnicodeForm::UTF16BE;
    case 57392: return UnicodeForm::UTF32LE; // ucs4
    case 1232: return UnicodeForm::UTF32BE;
    case 57349: return UnicodeForm::UCS2LE; // unicode
    default: return UnicodeForm::NONE;
    }
}

UnicodeForm unlisted_form(std::string_view rule) {
    return rule == "utf8" ? UnicodeForm::UTF8 : rule == "gb18030" ? UnicodeForm::GB18030 : UnicodeForm::NONE;
}

FormLengths lengths_of(UnicodeForm form) {
    switch (form) {
    case UnicodeForm::UTF8: return {1, 4};
    case UnicodeForm::UTF16LE:
    case UnicodeForm::UTF16BE: return {2, 4};
    case UnicodeForm::UCS2LE: return {2, 2};
    default: return {4, 4};
    }
}

Scalar decode(UnicodeForm form, const uint8_t *in, uint32_t remaining) {
    if (form == UnicodeForm::GB18030) {
        Scalar scalar = {0, 0};
        scalar.length = decode_gb18030(in, remaining, scalar.code);
        return scalar;
    }
    return unicode::with_form(form, [=]<UnicodeForm FORM>() { return decode<FORM>(in, remaining); });
}

int encode(UnicodeForm form, uint32_t code, uint8_t *out) {
    if (form == UnicodeForm::GB18030) return encode_gb18030(code, out);
    return unicode::with_form(form, [=]<UnicodeForm FORM>() { return encode<FORM>(code, out); });
}

} // namespace qbgl
