// Classes and widths by the properties of Unicode.
#include "icu/classes.h"

#include "icu/text.h"

#include <unicode/uchar.h>

namespace qbgl::icu {

namespace {

bool is_scalar(gl_wchar value) { return value <= UCHAR_MAX_VALUE && !U_IS_SURROGATE(value); }

// As annex C of Unicode's report 18 has it for the classes of POSIX: symbols are punctuation, unless they are letters.
bool is_punctuation(UChar32 value) {
    return u_ispunct(value) != 0 || ((U_MASK(u_charType(value)) & U_GC_S_MASK) != 0 && u_isUAlphabetic(value) == 0);
}

struct ClassProperty {
    unsigned mask;
    UProperty property;
};
constexpr ClassProperty PROPERTIES[] = {
    {GL_CLASS_UPPER, UCHAR_UPPERCASE},     {GL_CLASS_LOWER, UCHAR_LOWERCASE},   {GL_CLASS_ALPHA, UCHAR_ALPHABETIC},
    {GL_CLASS_SPACE, UCHAR_WHITE_SPACE},   {GL_CLASS_GRAPH, UCHAR_POSIX_GRAPH}, {GL_CLASS_PRINT, UCHAR_POSIX_PRINT},
    {GL_CLASS_XDIGIT, UCHAR_POSIX_XDIGIT}, {GL_CLASS_BLANK, UCHAR_POSIX_BLANK},
};

// Marks, format characters but the soft hyphen, and the vowels and finals of Hangul that stand in the columns of their initial.
bool takes_no_column(UChar32 value) {
    if ((U_MASK(u_charType(value)) & (U_GC_MN_MASK | U_GC_ME_MASK | U_GC_CF_MASK)) != 0) return value != 0xAD;
    const int syllable = u_getIntPropertyValue(value, UCHAR_HANGUL_SYLLABLE_TYPE);
    return syllable == U_HST_VOWEL_JAMO || syllable == U_HST_TRAILING_JAMO;
}

// Sums up the columns of characters; false at one that has none to tell.
class Columns {
  public:
    bool add(UChar32 value) {
        const int width = width_of(value);
        if (width >= 0) sum_ += width;
        return width >= 0;
    }
    int sum() const { return sum_; }

  private:
    int sum_ = 0;
};

// Up to n characters, those that begin before `end`, or all where that is null.
int width_of_text(const Locale &locale, const char *s, int n, const char *end, int16_t *error) {
    Characters characters(locale.codeset());
    Columns columns;
    for (; n > 0 && (end == nullptr || s < end); --n) {
        const Decoded one = characters.decode(s, Codeset::LONGEST);
        if (!one) return fail(error, one.error(), -1);
        if (one.value == 0) break;
        if (!columns.add(one.value)) return fail(error, GL_EINVAL, -1);
        s += one.length;
    }
    return columns.sum();
}

int width_of_values(const gl_wchar *s, const gl_wchar *end, int16_t *error) {
    Columns columns;
    for (; s < end && *s != 0; ++s) {
        if (!is_scalar(*s)) return fail(error, GL_EILSEQ, -1);
        if (!columns.add(static_cast<UChar32>(*s))) return fail(error, GL_EINVAL, -1);
    }
    return columns.sum();
}

} // namespace

unsigned classes_of(UChar32 value, unsigned mask) {
    unsigned found = 0;
    for (const ClassProperty &one : PROPERTIES)
        if ((mask & one.mask) != 0 && u_hasBinaryProperty(value, one.property) != 0) found |= one.mask;
    if ((mask & GL_CLASS_DIGIT) != 0 && u_isdigit(value) != 0) found |= GL_CLASS_DIGIT;
    if ((mask & GL_CLASS_CNTRL) != 0 && u_charType(value) == U_CONTROL_CHAR) found |= GL_CLASS_CNTRL;
    if ((mask & GL_CLASS_PUNCT) != 0 && is_punctuation(value)) found |= GL_CLASS_PUNCT;
    return found;
}

int width_of(UChar32 value) {
    if (value >= 0x20 && value < 0x7F) return 1;
    if (value == 0) return 0;
    if (takes_no_column(value)) return 0;
    if (u_hasBinaryProperty(value, UCHAR_POSIX_PRINT) == 0) return -1;
    const int width = u_getIntPropertyValue(value, UCHAR_EAST_ASIAN_WIDTH);
    return width == U_EA_FULLWIDTH || width == U_EA_WIDE ? 2 : 1;
}

} // namespace qbgl::icu

using namespace qbgl::icu;

unsigned glu_ismctype(void *locale, const char *s, int len, unsigned mask, int16_t *error) {
    if (locale == nullptr || s == nullptr) return fail(error, GL_ENULLPTR, 0U);
    if (len < 1) return fail(error, GL_EINVAL, 0U);
    const Decoded one = Characters(as_locale(locale)->codeset()).decode(s, len);
    return one ? classes_of(one.value, mask) : fail(error, one.length == CUT ? GL_EINVAL : one.error(), 0U);
}

unsigned glu_isuc32type(gl_wchar wc, unsigned mask) { return is_scalar(wc) ? classes_of(static_cast<UChar32>(wc), mask) : 0; }

int glu_mbwidth(void *locale, const char *s, int16_t *error) {
    if (locale == nullptr || s == nullptr) return fail(error, GL_ENULLPTR, -1);
    const Decoded one = Characters(as_locale(locale)->codeset()).decode(s, Codeset::LONGEST);
    if (!one) return fail(error, one.error(), -1);
    const int width = width_of(one.value);
    return width >= 0 ? width : fail(error, GL_EINVAL, -1);
}

int glu_uc32width(gl_wchar wc, int16_t *error) {
    if (!is_scalar(wc)) return fail(error, GL_EILSEQ, -1);
    const int width = width_of(static_cast<UChar32>(wc));
    return width >= 0 ? width : fail(error, GL_EINVAL, -1);
}

int glu_mbswidth(void *locale, const char *s, int n, int16_t *error) {
    if (locale == nullptr || s == nullptr) return fail(error, GL_ENULLPTR, -1);
    if (n < 0) return fail(error, GL_ENEGCOUNT, -1);
    return n > 0 ? width_of_text(*as_locale(locale), s, n, nullptr, error) : 0;
}

int glu_ucs32width(const gl_wchar *s, int n, int16_t *error) {
    if (s == nullptr) return fail(error, GL_ENULLPTR, -1);
    if (n < 0) return fail(error, GL_ENEGCOUNT, -1);
    int count = 0;
    while (count < n && s[count] != 0) ++count;
    return width_of_values(s, s + count, error);
}

int glu_mbspwidth(void *locale, const char *start, const char *end, int16_t *error) {
    if (locale == nullptr || start == nullptr || end == nullptr) return fail(error, GL_ENULLPTR, -1);
    if (end < start) return fail(error, GL_EENDBEFORE, -1);
    return end > start ? width_of_text(*as_locale(locale), start, INT_MAX, end, error) : 0;
}

int glu_ucs32pwidth(const gl_wchar *start, const gl_wchar *end, int16_t *error) {
    if (start == nullptr || end == nullptr) return fail(error, GL_ENULLPTR, -1);
    return end >= start ? width_of_values(start, end, error) : fail(error, GL_EENDBEFORE, -1);
}
