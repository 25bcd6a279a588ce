// Order and sort keys.
#undef U_SHOW_CPLUSPLUS_API
#define U_SHOW_CPLUSPLUS_API 1 // for one virtual function, which has the status that ucol_strcoll lacks

#include "icu/hash.h"
#include "icu/marks.h"
#include "icu/memory.h"
#include "icu/text.h"
#include "icu/utf8.h"

#include <cinttypes>
#include <cstdarg>
#include <unicode/coll.h>
#include <unicode/ustring.h>
#include <unicode/uversion.h>

using namespace qbgl::icu;

namespace {

constexpr int ALL_PASSES = -1;

int16_t error_of(UErrorCode status) { return status == U_MEMORY_ALLOCATION_ERROR ? GL_ENOMEM : GL_EILSEQ; }

// Tells whether memory was out while ICU was at work, which its status alone may not.
class Watch {
  public:
    bool memory_was_out() const { return refusals.load(std::memory_order_relaxed) != before_; }

  private:
    const unsigned before_ = refusals.load(std::memory_order_relaxed);
};

// The length of a text in a normalization form, or -1 when memory is out.
int32_t normalize(const UNormalizer2 *form, const UChar *units, int32_t length, Utf16 &out) {
    UErrorCode status = U_ZERO_ERROR;
    int32_t size = unorm2_normalize(form, units, length, out.data(), static_cast<int32_t>(out.capacity()), &status);
    if (status == U_BUFFER_OVERFLOW_ERROR && out.reserve(static_cast<size_t>(size))) {
        status = U_ZERO_ERROR;
        size = unorm2_normalize(form, units, length, out.data(), size, &status);
    }
    return U_SUCCESS(status) ? size : -1;
}

// The key with its zero byte, as far as it fits. Its size, or 0 when memory is out. A collator that normalizes gets texts with
// doubtful marks normalized.
int32_t write_key(const Locale &locale, int passes, const UChar *units, int32_t length, uint8_t *out, int32_t capacity) {
    const Watch watch;
    Utf16 normalized;
    if (locale.form() != nullptr && has_doubtful_marks(units, length)) {
        length = normalize(locale.form(), units, length, normalized);
        units = normalized.data();
        if (length < 0) return 0;
    }
    const int32_t size = ucol_getSortKey(locale.collator(passes), units, length, out, capacity);
    return watch.memory_was_out() ? 0 : size;
}

// The key of a text, with the zero byte that ICU puts behind it.
class SortKey {
  public:
    // False when memory is out.
    bool make(const Locale &locale, int passes, const UChar *units, int32_t length) {
        size_ = write(locale, passes, units, length);
        if (size_ <= static_cast<int32_t>(bytes_.capacity())) return size_ > 0;
        if (!bytes_.reserve(static_cast<size_t>(size_))) return false;
        size_ = write(locale, passes, units, length);
        return size_ > 0;
    }

    const uint8_t *bytes() { return bytes_.data(); }
    int32_t size() const { return size_; }

  private:
    int32_t write(const Locale &locale, int passes, const UChar *units, int32_t length) {
        return write_key(locale, passes, units, length, bytes_.data(), static_cast<int32_t>(bytes_.capacity()));
    }

    Scratch<uint8_t, 512> bytes_;
    int32_t size_ = 0;
};

// A text of a caller's in UTF-16: made from bytes or values, or the caller's own units. Its length is -1 after an error.
class Text {
  public:
    Text(const Locale &locale, const char *s, int len, int16_t &error) {
        Characters characters(locale.codeset());
        length_ = characters.to_utf16(s, bytes_of(s, len), made_, error);
        units_ = made_.data();
    }
    Text(const Locale &, const gl_wchar *s, int len, int16_t &error) {
        if (len == TERMINATED) len = glu_ucs32len(s, nullptr);
        length_ = -1;
        error = GL_ENOMEM;
        if (!made_.reserve(2 * static_cast<size_t>(len) + 1)) return;
        error = GL_EILSEQ;
        UChar *const units = made_.data();
        int32_t made = 0;
        for (int i = 0; i < len; ++i) {
            if (s[i] > UCHAR_MAX_VALUE || U_IS_SURROGATE(s[i])) return;
            U16_APPEND_UNSAFE(units, made, static_cast<UChar32>(s[i]));
        }
        units_ = units;
        length_ = made;
    }
    Text(const Locale &, const uint16_t *s, int len, int16_t &error) {
        static_assert(sizeof(UChar) == sizeof *s);
        units_ = reinterpret_cast<const UChar *>(s);
        length_ = len == TERMINATED ? u_strlen(units_) : len;
        for (int32_t i = 0; i < length_;) {
            UChar32 value;
            U16_NEXT(units_, i, length_, value);
            if (!U_IS_SURROGATE(value)) continue;
            error = GL_EILSEQ;
            length_ = -1;
        }
    }

    const UChar *units() const { return units_; }
    int32_t length() const { return length_; }

  private:
    Utf16 made_;
    const UChar *units_ = nullptr;
    int32_t length_;
};

int check_pair(const void *locale, const void *s1, int len1, const void *s2, int len2) {
    if (locale == nullptr || s1 == nullptr || s2 == nullptr) return GL_ENULLPTR;
    if (len1 < TERMINATED || len2 < TERMINATED) return GL_EBADARG;
    return (len1 == TERMINATED) != (len2 == TERMINATED) ? GL_EMIXEDLEN : 0;
}

int compare_keys(const Locale &locale, int passes, const UChar *s1, int32_t len1, const UChar *s2, int32_t len2, int16_t *error) {
    SortKey first, second;
    if (!first.make(locale, passes, s1, len1) || !second.make(locale, passes, s2, len2)) return fail(error, GL_ENOMEM, 0);
    const int order = strcmp(reinterpret_cast<const char *>(first.bytes()), reinterpret_cast<const char *>(second.bytes()));
    return (order > 0) - (order < 0);
}

int compare_units(const Locale &locale, int passes, const UChar *s1, int32_t len1, const UChar *s2, int32_t len2, int16_t *error) {
    if (locale.compares_by_keys() || has_doubtful_marks(s1, len1) || has_doubtful_marks(s2, len2))
        return compare_keys(locale, passes, s1, len1, s2, len2, error);
    const Watch watch;
    UErrorCode status = U_ZERO_ERROR;
    // ucol_strcoll calls it, too, but keeps the status to itself: any order comes of it when memory is out.
    const int order = ::icu::Collator::fromUCollator(locale.collator(passes))->compare(s1, len1, s2, len2, status);
    return U_SUCCESS(status) && !watch.memory_was_out() ? order : fail(error, GL_ENOMEM, 0);
}

template <class Unit> int compare(void *handle, const Unit *s1, int len1, const Unit *s2, int len2, int16_t *error) {
    if (const int wrong = check_pair(handle, s1, len1, s2, len2)) return fail(error, wrong, 0);
    const Locale &locale = *as_locale(handle);
    int16_t number = 0;
    const Text first(locale, s1, len1, number);
    if (first.length() < 0) return fail(error, number, 0);
    const Text second(locale, s2, len2, number);
    if (second.length() < 0) return fail(error, number, 0);
    return compare_units(locale, ALL_PASSES, first.units(), first.length(), second.units(), second.length(), error);
}

bool holds_utf8(const Locale &locale) { return locale.codeset().kind() == Codeset::Kind::UTF8; }

// The order of texts in UTF-8 without ICU, or Primaries::UNDECIDED.
int decide(const Locale &locale, const char *s1, int len1, const char *s2, int len2) {
    const Primaries *const primaries = locale.primaries();
    return primaries != nullptr ? primaries->compare(s1, len1, s2, len2) : Primaries::UNDECIDED;
}

// Whether ICU orders texts in UTF-8 as their keys do.
bool has_whole_order(const Locale &locale, const char *s1, int len1, const char *s2, int len2) {
    return !locale.compares_by_keys() && !has_doubtful_marks(s1, len1) && !has_doubtful_marks(s2, len2);
}

// Without a copy in UTF-16.
int compare_utf8(const UCollator *collator, const char *s1, int len1, const char *s2, int len2, int16_t *error) {
    const Watch watch;
    UErrorCode status = U_ZERO_ERROR;
    const int order = ucol_strcollUTF8(collator, s1, len1, s2, len2, &status);
    if (watch.memory_was_out()) return fail(error, GL_ENOMEM, 0);
    return U_SUCCESS(status) ? order : fail(error, error_of(status), 0);
}

// ICU counts the zero byte behind the key.
int key_of(const Locale &locale, int passes, const UChar *units, int32_t length, char *out, int capacity, int16_t *error) {
    const int32_t size = write_key(locale, passes, units, length, reinterpret_cast<uint8_t *>(out), capacity > 0 ? capacity : 0);
    return size > 0 ? size - 1 : fail(error, GL_ENOMEM, -1);
}

template <class Unit> int make_key(void *handle, char *out, const Unit *s, int capacity, int16_t *error) {
    if (handle == nullptr || s == nullptr || (out == nullptr && capacity > 0)) return fail(error, GL_ENULLPTR, -1);
    const Locale &locale = *as_locale(handle);
    int16_t number = 0;
    const Text text(locale, s, TERMINATED, number);
    if (text.length() < 0) return fail(error, number, -1);
    return key_of(locale, ALL_PASSES, text.units(), text.length(), out, capacity, error);
}

// The bound made from a key of `size` bytes with its zero byte.
int make_bound(char *out, const uint8_t *key, int size, int bound, int passes, int capacity, int16_t *error) {
    constexpr int LONGEST_TAIL = 3; // of what comes behind the passes, with the zero byte
    Scratch<uint8_t, 512> made;
    if (!made.reserve(static_cast<size_t>(size) + LONGEST_TAIL)) return fail(error, GL_ENOMEM, -1);
    UErrorCode status = U_ZERO_ERROR;
    // It looks at the byte behind the key, too, and must not take it for one of a pass.
    const int32_t whole = ucol_getBound(key, size - 1, static_cast<UColBoundMode>(bound), static_cast<uint32_t>(passes),
                                        made.data(), static_cast<int32_t>(made.capacity()), &status);
    if (U_FAILURE(status) || whole < 1) return fail(error, GL_EBADARG, -1);
    if (capacity > 0) memcpy(out, made.data(), static_cast<size_t>(whole < capacity ? whole : capacity));
    return whole - 1;
}

bool is_bound(int bound, int passes) { return bound >= GLU_BOUND_LOWER && bound <= GLU_BOUND_UPPER_LONG && passes >= 1; }

// What stands behind the names and versions: data of the same version can have other rules.
class OrderHash : public Hash {
  public:
    // False when memory is out. ICU makes another copy of the rules where it is refused some, and does not tell.
    bool add_order(const Locale &locale) {
        const Provision provision;
        const Watch watch;
        return provision && add_rules(locale.collator()) && add_keys(locale) && !watch.memory_was_out();
    }

  private:
    // The rules in force, with their settings. False when memory is out.
    bool add_rules(const UCollator *collator) {
        UErrorCode status = U_ZERO_ERROR;
        const int32_t size = ucol_cloneBinary(collator, nullptr, 0, &status);
        Scratch<uint8_t, 1> binary;
        if (status != U_BUFFER_OVERFLOW_ERROR || !binary.reserve(static_cast<size_t>(size))) return false;
        memset(binary.data(), 0, static_cast<size_t>(size)); // it leaves gaps
        status = U_ZERO_ERROR;
        ucol_cloneBinary(collator, binary.data(), size, &status);
        add(binary.data(), static_cast<size_t>(size));
        return U_SUCCESS(status);
    }
    // The order that the rules start from is not among them: the keys of characters of all scripts tell it. False when
    // memory is out.
    bool add_keys(const Locale &locale) {
        constexpr int WHOLE = 0x180, SCRIPTS = 0x3400, STEP = 0x10, WIDE_STEP = 0x400;
        UChar units[WHOLE + SCRIPTS / STEP + 0x10000 / WIDE_STEP];
        int32_t count = 0;
        for (int value = 0; value < 0x10000; value += value < WHOLE ? 1 : value < SCRIPTS ? STEP : WIDE_STEP)
            if (!U_IS_SURROGATE(value)) units[count++] = static_cast<UChar>(value);
        SortKey key;
        if (!key.make(locale, ALL_PASSES, units, count)) return false;
        add(key.bytes(), static_cast<size_t>(key.size()));
        return true;
    }
};

// Appends to a text of which `room` bytes are kept.
class Words {
  public:
    Words(char *out, int room) : out_(out), room_(out != nullptr && room > 0 ? room : 0) {}

    [[gnu::format(printf, 2, 3)]] void add(const char *format, ...) {
        const int kept = length_ < room_ ? length_ : room_;
        va_list arguments;
        va_start(arguments, format);
        const int added = vsnprintf(room_ > kept ? out_ + kept : nullptr, static_cast<size_t>(room_ - kept), format, arguments);
        va_end(arguments);
        if (added > 0) length_ += added;
    }
    void add_version(const char *name, const UVersionInfo &version) {
        add("%s %d.%d.%d.%d ", name, version[0], version[1], version[2], version[3]);
    }
    int length() const { return length_; }

  private:
    char *out_;
    int room_, length_ = 0;
};

} // namespace

int glu_mbscoll(void *locale, const char *s1, int len1, const char *s2, int len2, int16_t *error) {
    if (locale == nullptr || !holds_utf8(*as_locale(locale))) return compare(locale, s1, len1, s2, len2, error);
    if (s1 == nullptr || s2 == nullptr || (len1 | len2) < 0) [[unlikely]] {
        if (const int wrong = check_pair(locale, s1, len1, s2, len2)) return fail(error, wrong, 0);
        len1 = bytes_of(s1, len1);
        len2 = bytes_of(s2, len2);
    }
    const Locale &own = *as_locale(locale);
    if (!are_utf8(s1, len1, s2, len2)) return fail(error, GL_EILSEQ, 0);
    const int order = decide(own, s1, len1, s2, len2);
    if (order != Primaries::UNDECIDED) [[likely]]
        return order;
    return has_whole_order(own, s1, len1, s2, len2) ? compare_utf8(own.collator(), s1, len1, s2, len2, error)
                                                    : compare(locale, s1, len1, s2, len2, error);
}
int glu_ucs32coll(void *locale, const gl_wchar *s1, int len1, const gl_wchar *s2, int len2, int16_t *error) {
    return compare(locale, s1, len1, s2, len2, error);
}
int glu_ucscoll(void *locale, const uint16_t *s1, int len1, const uint16_t *s2, int len2, int16_t *error) {
    return compare(locale, s1, len1, s2, len2, error);
}

int glu_mbsxfrm(void *locale, char *out, const char *s, int capacity, int16_t *error) {
    return make_key(locale, out, s, capacity, error);
}
int glu_ucs32xfrm(void *locale, char *out, const gl_wchar *s, int capacity, int16_t *error) {
    return make_key(locale, out, s, capacity, error);
}
int glu_ucsxfrm(void *locale, char *out, const uint16_t *s, int capacity, int16_t *error) {
    return make_key(locale, out, s, capacity, error);
}

int glu_mbsCollBound(void *locale, char *out, const char *s, int len, int bound, int passes, int capacity, int16_t *error) {
    if (const int wrong = check_text(locale, s, len)) return fail(error, wrong, -1);
    if (out == nullptr && capacity > 0) return fail(error, GL_ENULLPTR, -1);
    if (!is_bound(bound, passes)) return fail(error, GL_EBADARG, -1);
    const Locale &own = *as_locale(locale);
    int16_t number = 0;
    const Text text(own, s, len, number);
    if (text.length() < 0) return fail(error, number, -1);
    SortKey key;
    if (!key.make(own, ALL_PASSES, text.units(), text.length())) return fail(error, GL_ENOMEM, -1);
    return make_bound(out, key.bytes(), key.size(), bound, passes, capacity, error);
}

int glu_mbsSortKeyCollBound(void *locale, char *out, const char *key, int bound, int passes, int capacity, int16_t *error) {
    if (locale == nullptr || key == nullptr || (out == nullptr && capacity > 0)) return fail(error, GL_ENULLPTR, -1);
    if (!is_bound(bound, passes)) return fail(error, GL_EBADARG, -1);
    return make_bound(out, reinterpret_cast<const uint8_t *>(key), bytes_of(key, TERMINATED) + 1, bound, passes, capacity, error);
}

int glu_order_version(void *locale, char *out, int room) {
    if (locale == nullptr) return -1;
    const Locale &own = *as_locale(locale);
    const UCollator *const collator = own.collator();
    Words words(out, room);
    UVersionInfo version;
    u_getVersion(version);
    words.add_version("ICU", version);
    u_getUnicodeVersion(version);
    words.add_version("Unicode", version);
    ucol_getUCAVersion(collator, version);
    words.add_version("UCA", version);
    ucol_getVersion(collator, version);
    words.add_version("collator", version);
    OrderHash hash;
    if (!hash.add_order(own) || !own.codeset().hash_mapping(hash)) return -1;
    words.add("contents %016" PRIx64 " ", hash.value());
    UErrorCode status = U_ZERO_ERROR;
    const char *const rules = ucol_getLocaleByType(collator, ULOC_ACTUAL_LOCALE, &status);
    words.add("locale %s rules %s codeset %s attributes", own.name(), U_SUCCESS(status) && rules != nullptr ? rules : "root",
              own.codeset().name());
    for (int i = UCOL_FRENCH_COLLATION; i <= UCOL_NUMERIC_COLLATION; ++i) {
        status = U_ZERO_ERROR;
        const UColAttributeValue value = ucol_getAttribute(collator, static_cast<UColAttribute>(i), &status);
        words.add(" %d", U_SUCCESS(status) ? static_cast<int>(value) : -1);
    }
    return words.length();
}

int glu_order_compare(void *locale, const char *s1, int len1, const char *s2, int len2, int passes, int16_t *error) {
    if (locale == nullptr) return fail(error, GL_ENULLPTR, 0);
    const Locale &own = *as_locale(locale);
    len1 = bytes_of(s1, len1);
    len2 = bytes_of(s2, len2);
    if (holds_utf8(own)) {
        const int order = decide(own, s1, len1, s2, len2); // in the first pass, which all orders have
        if (order != Primaries::UNDECIDED) [[likely]]
            return order;
        if (has_whole_order(own, s1, len1, s2, len2)) return compare_utf8(own.collator(passes), s1, len1, s2, len2, error);
    }
    Characters characters(own.codeset());
    Utf16 first, second;
    int16_t number = 0;
    const int units1 = characters.to_utf16_leniently(s1, len1, first, number);
    if (units1 < 0) return fail(error, number, 0);
    const int units2 = characters.to_utf16_leniently(s2, len2, second, number);
    if (units2 < 0) return fail(error, number, 0);
    return compare_units(own, passes, first.data(), units1, second.data(), units2, error);
}

int glu_order_key(void *locale, const char *s, int len, int passes, unsigned char *key, int room, int16_t *error) {
    if (locale == nullptr) return fail(error, GL_ENULLPTR, -1);
    const Locale &own = *as_locale(locale);
    Characters characters(own.codeset());
    Utf16 text;
    int16_t number = 0;
    const int units = characters.to_utf16_leniently(s, bytes_of(s, len), text, number);
    if (units < 0) return fail(error, number, -1);
    return key_of(own, passes, text.data(), units, reinterpret_cast<char *>(key), room, error);
}
