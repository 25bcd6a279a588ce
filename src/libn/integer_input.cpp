// Integers of wide text.
#include "libn/grouping.h"
#include "libn/number_text.h"
#include "libn/symbol.h"

#include <errno.h>
#include <limits>
#include <stddef.h>
#include <stdlib.h>

using namespace qbgl;

namespace {

// What the three types differ in, apart from the standard's function: who knows signs, and who counts characters. REFUSED is the
// value for text that is not read at all.
struct SignedLong {
    using Value = long;
    static constexpr bool KNOWS_SIGNS = true;
    static constexpr Value REFUSED = 0x7fffffff;
    static Value convert(const char *text, char **end, int base) { return strtol(text, end, base); }
};

struct UnsignedLong {
    using Value = unsigned long;
    static constexpr bool KNOWS_SIGNS = false;
    static constexpr Value REFUSED = 0x7fffffff;
    static Value convert(const char *text, char **end, int base) { return strtoul(text, end, base); }
};

struct UnsignedLongLong {
    using Value = unsigned long long;
    static constexpr bool KNOWS_SIGNS = false;
    static constexpr Value REFUSED = 0x7fffffffffffffff;
    static Value convert(const char *text, char **end, int base) { return strtoull(text, end, base); }
};

// The characters of a text, or limit when it has no fewer.
int length_below(const gl_wchar *s, int limit) {
    int length = 0;
    while (length < limit && s[length] != 0) ++length;
    return length;
}

// Moves behind the sign: '-', '+' or 0.
char take_sign(const gl_numeric_info &numeric, const gl_wchar *&at) {
    if (const int length = sign_length(numeric.negative_sign, at); length > 0) {
        at += length;
        return '-';
    }
    if (const int length = sign_length(numeric.positive_sign, at); length > 0) {
        at += length;
        return '+';
    }
    return *at == '-' || *at == '+' ? static_cast<char>(*at++) : '\0';
}

// The characters that are taken as they stand: up to one above 255, and no more than there is room for.
int plain_length(gl_locale *locale, const gl_wchar *s, int room) {
    int length = 0;
    for (; s[length] != 0 && s[length] <= 0xFF; ++length) {
        if (length < room) continue;
        set_error(locale, GL_E2BIG);
        break;
    }
    return length;
}

// Takes all of a text, without the separators between its groups. Returns the number of their characters, or -1 where one is
// missing. Of any other character the low byte is taken.
int take_groups(gl_locale *locale, const gl_wchar *begin, int length, NumberText &text) {
    const Symbol separator(locale, locale->numeric.thousands_sep, Overlong::EMPTY);
    GroupSizes sizes(locale->numeric.grouping);
    int in_group = 0, skipped = 0;
    for (const gl_wchar *at = begin + length; at != begin;) {
        if (in_group < sizes.current()) {
            text.prepend(static_cast<char>(*--at));
            ++in_group;
            continue;
        }
        sizes.advance();
        in_group = 0;
        const int passed = separator.ending_before(at, begin);
        if (passed == 0) return -1;
        at -= passed;
        skipped += passed;
    }
    return skipped;
}

// Decimal digits that fit the type whatever they are; the standard's function is asked about all else. Returns how many there are,
// or 0.
template <class Value, class Unit> int read_few_digits(const Unit *s, int base, Value &value) {
    value = 0;
    if (base != 10 && (base != 0 || s[0] == '0')) return 0;
    constexpr int MOST = std::numeric_limits<Value>::digits10;
    const int count = read_digits(s, MOST, value);
    return is_ascii_digit(s[count]) ? 0 : count;
}

// A text behind its spaces and its sign, of which the place of the end goes without saying: hosts know a sign of several characters
// to count as one.
template <class Rules> struct IntegerText {
    using Value = typename Rules::Value;

    gl_locale *locale;
    const gl_wchar *begin, *digits; // behind the spaces, behind the sign
    char sign;

    Reading<Value> refuse() const {
        set_error(locale, GL_EINVAL);
        return {Rules::REFUSED, nullptr};
    }

    Reading<Value> done(Value magnitude, int count, int skipped) const {
        errno = 0;
        return {sign == '-' ? 0 - magnitude : magnitude, begin + (sign != 0) + count + skipped};
    }

    Reading<Value> convert(NumberText &text, int base, int skipped) const {
        if (sign != 0) text.prepend(sign);
        errno = 0;
        char *end;
        const Value value = Rules::convert(text.terminated(), &end, base);
        const ptrdiff_t consumed = errno == EINVAL ? 0 : end - text.begin(); // no such base: the end is not told
        return {value, begin + consumed + skipped, errno == ERANGE};
    }

    bool is_overlong() const { return !Rules::KNOWS_SIGNS && length_below(begin, MOST_INTEGER + 1) > MOST_INTEGER; }
};

// `few` is what read_few_digits made of it.
template <class Rules>
[[gnu::noinline]] Reading<typename Rules::Value> read_plain(const IntegerText<Rules> &in, int base, int few,
                                                            typename Rules::Value value) {
    if (in.is_overlong()) return in.refuse();
    const int length = plain_length(in.locale, in.digits, MOST_INTEGER - (in.sign != 0));
    if (few > 0) return in.done(value, few, 0);
    NumberText text;
    for (int i = 0; i < length; ++i) text.append(static_cast<char>(in.digits[i]));
    return in.convert(text, base, 0);
}

template <class Rules> [[gnu::noinline]] Reading<typename Rules::Value> read_grouped(const IntegerText<Rules> &in, int base) {
    const int length = length_below(in.digits, MOST_GROUPED + 1);
    if (length > MOST_GROUPED || in.is_overlong()) return in.refuse();
    NumberText text;
    const int skipped = take_groups(in.locale, in.digits, length, text);
    if (skipped < 0) return in.refuse();
    typename Rules::Value value;
    if (const int count = read_few_digits(text.terminated(), base, value); count > 0) return in.done(value, count, skipped);
    return in.convert(text, base, skipped);
}

template <class Rules>
[[gnu::always_inline]] inline Reading<typename Rules::Value> read_integer(gl_locale *locale, const gl_wchar *s, int base,
                                                                          bool grouped) {
    const gl_wchar *const begin = skip_spaces(locale, s);
    const gl_wchar *digits = begin;
    const char sign = Rules::KNOWS_SIGNS ? take_sign(locale->numeric, digits) : '\0';
    const IntegerText<Rules> in = {locale, begin, digits, sign};
    if (grouped) return read_grouped(in, base);
    typename Rules::Value value;
    const int count = read_few_digits(digits, base, value);
    return count > 0 && digits[count] == 0 ? in.done(value, count, 0) : read_plain(in, base, count, value);
}

template <class Rules>
typename Rules::Value read_integer(gl_locale *locale, const gl_wchar *s, gl_wchar **end, int base, int grouping) {
    if (s == nullptr) {
        set_error(locale, GL_ENULLPTR);
        return Rules::REFUSED;
    }
    const auto reading = read_integer<Rules>(locale, s, base, grouping != 0);
    if (end != nullptr && reading.end != nullptr) *end = const_cast<gl_wchar *>(reading.end);
    return reading.value;
}

} // namespace

Reading<long> qbgl::read_long(gl_locale *locale, const gl_wchar *s, int base, bool grouped) {
    return read_integer<SignedLong>(locale, s, base, grouped);
}

Reading<unsigned long> qbgl::read_unsigned_long(gl_locale *locale, const gl_wchar *s, int base, bool grouped) {
    return read_integer<UnsignedLong>(locale, s, base, grouped);
}

long gl_wcstol(gl_locale *locale, const gl_wchar *s, gl_wchar **end, int base, int grouping) {
    return read_integer<SignedLong>(locale, s, end, base, grouping);
}

unsigned long gl_wcstoul(gl_locale *locale, const gl_wchar *s, gl_wchar **end, int base, int grouping) {
    return read_integer<UnsignedLong>(locale, s, end, base, grouping);
}

unsigned long long gl_wcstoull(gl_locale *locale, const gl_wchar *s, gl_wchar **end, int base, int grouping) {
    return read_integer<UnsignedLongLong>(locale, s, end, base, grouping);
}
