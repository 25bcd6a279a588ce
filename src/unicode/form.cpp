#include "unicode/form.h"

namespace qbgl {

namespace {

// Calls action with the form as a constant.
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

} // namespace

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
    return with_form(form, [=]<UnicodeForm FORM>() { return decode<FORM>(in, remaining); });
}

int encode(UnicodeForm form, uint32_t code, uint8_t *out) {
    return with_form(form, [=]<UnicodeForm FORM>() { return encode<FORM>(code, out); });
}

} // namespace qbgl
