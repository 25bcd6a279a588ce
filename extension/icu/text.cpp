// Whole texts: to and from Unicode, lengths, searches.
#include "icu/text.h"
#include "icu/classes.h"

#include <unicode/utf16.h>

using namespace qbgl::icu;

namespace {

// Units of Unicode, 32 or 16 bits wide: how many a value has, and how it is stored.
int units_of(gl_wchar, UChar32) { return 1; }
int units_of(uint16_t, UChar32 value) { return U16_LENGTH(value); }
void put(gl_wchar *dst, UChar32 value) { *dst = static_cast<gl_wchar>(value); }
void put(uint16_t *dst, UChar32 value) {
    int32_t at = 0;
    U16_APPEND_UNSAFE(dst, at, value);
}

// A text in such units: gives its values one after the other. -1 is no value.
template <class Unit> class Units {
  public:
    Units(const Unit *s, int length) : at_(s), left_(length) {}

    bool at_end() const { return left_ == 0; }
    UChar32 next() {
        const Unit unit = take();
        if constexpr (sizeof(Unit) == sizeof(gl_wchar)) {
            return unit <= UCHAR_MAX_VALUE && !U_IS_SURROGATE(unit) ? static_cast<UChar32>(unit) : -1;
        } else {
            if (!U16_IS_SURROGATE(unit)) return unit;
            if (!U16_IS_SURROGATE_LEAD(unit) || left_ == 0 || !U16_IS_TRAIL(*at_)) return -1;
            return U16_GET_SUPPLEMENTARY(unit, take());
        }
    }

  private:
    Unit take() {
        if (left_ > 0) --left_;
        return *at_++;
    }

    const Unit *at_;
    int left_; // TERMINATED stays
};

// The characters of multibyte text in the same way.
class Bytes {
  public:
    Bytes(const Locale &locale, const char *s, int length) : characters_(locale.codeset()), at_(s), left_(length) {}

    bool at_end() const { return left_ == 0; }
    UChar32 next() {
        const Decoded one = characters_.decode(at_, readable(left_));
        if (!one) return one.length == NO_MEMORY ? NO_MEMORY : -1;
        at_ += one.length;
        if (left_ > 0) left_ -= one.length;
        return one.value;
    }

  private:
    Characters characters_;
    const char *at_;
    int left_;
};

template <class Unit, class Source> int to_units(Source source, Unit *dst, int n, bool terminated, int16_t *error) {
    int stored = 0;
    for (n = n > 0 ? n : 0; !source.at_end();) {
        if (stored == n) return terminated ? n : n + 1;
        const UChar32 value = source.next();
        if (value < 0) return fail(error, value == NO_MEMORY ? GL_ENOMEM : GL_EILSEQ, -1);
        if (units_of(Unit(), value) > n - stored) return terminated ? n : n + 1;
        put(dst + stored, value);
        if (terminated && value == 0) return stored;
        stored += units_of(Unit(), value);
    }
    return stored;
}

template <class Unit> int decode_text(void *locale, Unit *dst, int n, const char *src, int len, int16_t *error) {
    if (const int wrong = check_text(locale, src, len)) return fail(error, wrong, -1);
    if (dst == nullptr && n > 0) return fail(error, GL_ENULLPTR, -1);
    return to_units(Bytes(*as_locale(locale), src, len), dst, n, len == TERMINATED, error);
}

template <class Unit> int encode_text(void *locale, char *dst, int n, const Unit *src, int len, int16_t *error) {
    if (const int wrong = check_text(locale, src, len)) return fail(error, wrong, -1);
    if (dst == nullptr && n > 0) return fail(error, GL_ENULLPTR, -1);
    if (n < 0) n = 0;
    Characters characters(as_locale(locale)->codeset());
    int written = 0;
    for (Units<Unit> source(src, len); written < n && !source.at_end();) {
        const UChar32 value = source.next();
        char bytes[Codeset::LONGEST];
        const int length = value >= 0 ? characters.encode(bytes, value) : NO_CHARACTER;
        if (length <= 0) return fail(error, length == NO_MEMORY ? GL_ENOMEM : GL_EILSEQ, -1);
        if (length > n - written) break;
        memcpy(dst + written, bytes, static_cast<size_t>(length));
        if (len == TERMINATED && value == 0) break;
        written += length;
    }
    return written;
}

} // namespace

int glu_mbstoucs32(void *locale, gl_wchar *dst, int n, const char *src, int len, int16_t *error) {
    return decode_text(locale, dst, n, src, len, error);
}
int glu_mbstoucs(void *locale, uint16_t *dst, int n, const char *src, int len, int16_t *error) {
    return decode_text(locale, dst, n, src, len, error);
}
int glu_ucs32tombs(void *locale, char *dst, int n, const gl_wchar *src, int len, int16_t *error) {
    return encode_text(locale, dst, n, src, len, error);
}
int glu_ucstombs(void *locale, char *dst, int n, const uint16_t *src, int len, int16_t *error) {
    return encode_text(locale, dst, n, src, len, error);
}

int glu_ucstoucs32(void *locale, gl_wchar *dst, int n, const uint16_t *src, int len, int16_t *error) {
    if (const int wrong = check_text(locale, src, len)) return fail(error, wrong, -1);
    if (dst == nullptr && n > 0) return fail(error, GL_ENULLPTR, -1);
    return to_units(Units<uint16_t>(src, len), dst, n, len == TERMINATED, error);
}
int glu_ucs32toucs(void *locale, uint16_t *dst, int n, const gl_wchar *src, int len) {
    if (check_text(locale, src, len) != 0 || (dst == nullptr && n > 0)) return -1;
    return to_units(Units<gl_wchar>(src, len), dst, n, len == TERMINATED, static_cast<int16_t *>(nullptr));
}

int glu_mbslen(void *locale, const char *s, int len, int16_t *error) {
    if (const int wrong = check_text(locale, s, len)) return fail(error, wrong, -1);
    int count = 0;
    const int wrong = walk(*as_locale(locale), s, len, [&](Decoded, int) {
        ++count;
        return true;
    });
    return wrong == 0 ? count : fail(error, wrong, -1);
}

int glu_mbsbytes(void *locale, const char *s, int16_t *error) {
    if (s == nullptr) return 0;
    if (locale == nullptr) return fail(error, GL_ENULLPTR, 0);
    int bytes = 0;
    const int wrong = walk(*as_locale(locale), s, TERMINATED, [&](Decoded one, int at) {
        bytes = at + one.length;
        return true;
    });
    return wrong == 0 ? bytes + as_locale(locale)->codeset().shortest() : fail(error, wrong, 0);
}

int glu_ucs32len(const gl_wchar *s, int16_t *error) {
    if (s == nullptr) return fail(error, GL_ENULLPTR, -1);
    int count = 0;
    while (s[count] != 0) ++count;
    return count;
}

gl_wchar *glu_ucs32uc32(const gl_wchar *s, gl_wchar wc, int16_t *error) {
    if (s == nullptr) return fail<int16_t, gl_wchar *>(error, GL_ENULLPTR, nullptr);
    for (;; ++s) {
        if (*s == wc) return const_cast<gl_wchar *>(s);
        if (*s == 0) return nullptr;
    }
}

char *glu_mbschr(void *locale, const char *s, const char *c, int16_t *error) {
    if (locale == nullptr || s == nullptr || c == nullptr) return fail<int16_t, char *>(error, GL_ENULLPTR, nullptr);
    Characters characters(as_locale(locale)->codeset());
    const Decoded wanted = characters.decode(c, Codeset::LONGEST);
    if (!wanted) return fail<int16_t, char *>(error, wanted.error(), nullptr);
    for (;;) {
        const Decoded one = characters.decode(s, Codeset::LONGEST);
        if (!one) return fail<int16_t, char *>(error, one.error(), nullptr);
        if (one.value == wanted.value) return const_cast<char *>(s);
        if (one.value == 0) return nullptr;
        s += one.length;
    }
}

int glu_mbsntsbytes(void *locale, const char *s, int len, int16_t *error) {
    if (const int wrong = check_text(locale, s, len)) return fail(error, wrong, -1);
    int bytes = 0; // up to the last character that is no blank
    const int wrong = walk(*as_locale(locale), s, len, [&](Decoded one, int at) {
        if (classes_of(one.value, GL_CLASS_BLANK | GL_CLASS_CNTRL) != GL_CLASS_BLANK) bytes = at + one.length;
        return true;
    });
    return wrong == 0 ? bytes : fail(error, wrong, -1);
}
