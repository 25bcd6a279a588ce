// Text one character at a time, for formats and what is read by them: multibyte or wide.
#pragma once

#include "multi/table.h"
#include "qbgl.h"

namespace qbgl {

// Whether bytes below 80 at the beginning of a character are the characters of ASCII, and ASCII characters these bytes.
inline bool has_plain_ascii(const gl_locale *locale) { return locale->ctype.codeset_table->min_length == 1; }

// Whether a text of the locale's is missing or has no characters.
inline bool is_empty(gl_locale *locale, const char *text) {
    return text == nullptr || (has_plain_ascii(locale) ? *text == '\0' : gl_ismbsterm(locale, text) != 0);
}
inline constexpr gl_wchar NO_ASCII = 0x80;
constexpr bool is_graph(gl_wchar wc) { return wc - '!' <= '~' - '!'; }

template <class Unit> class Text;

template <> class Text<char> {
  public:
    Text(gl_locale *locale, const char *at) : at_(at), locale_(locale), plain_(has_plain_ascii(locale)) {}

    // The character at the position; 0 at the end. False with GL_EILSEQ for bytes that are none.
    bool peek(gl_wchar &wc) {
        const auto byte = static_cast<uint8_t>(*at_);
        if (plain_ && byte < 0x80) {
            wc = byte;
            length_ = byte != 0;
            return true;
        }
        length_ = gl_mbtowc(locale_, &wc, at_, LONGEST);
        if (length_ == 0) wc = 0;
        return length_ >= 0;
    }
    // Goes behind the character that peek has given.
    void advance() { at_ += length_; }

    const char *at() const { return at_; }
    int length() const { return length_; }
    void go_to(const char *at) { at_ = at; }
    // Whether a unit below 80 at the beginning of a character is that of ASCII.
    bool is_plain() const { return plain_; }
    static gl_wchar value_of(char unit) { return static_cast<uint8_t>(unit); }
    // The ASCII character of one unit at the position; NO_ASCII for any other.
    gl_wchar ascii() const {
        const gl_wchar value = value_of(*at_);
        return plain_ && value < NO_ASCII ? value : NO_ASCII;
    }
    void skip_unit() { ++at_; }

  private:
    static constexpr int LONGEST = 4;
    const char *at_;
    gl_locale *locale_;
    int length_ = 0;
    bool plain_;
};

template <> class Text<gl_wchar> {
  public:
    Text(gl_locale *, const gl_wchar *at) : at_(at) {}

    bool peek(gl_wchar &wc) {
        wc = *at_;
        return true;
    }
    void advance() { at_ += *at_ != 0; }

    const gl_wchar *at() const { return at_; }
    int length() const { return *at_ != 0; }
    void go_to(const gl_wchar *at) { at_ = at; }
    static constexpr bool is_plain() { return true; }
    static gl_wchar value_of(gl_wchar unit) { return unit; }
    gl_wchar ascii() const { return *at_ < NO_ASCII ? *at_ : NO_ASCII; }
    void skip_unit() { ++at_; }

  private:
    const gl_wchar *at_;
};

constexpr bool is_digit(gl_wchar wc) { return wc - '0' <= 9; }

// The digits at the position, at most so many: how many there are, and their value.
template <class Unit, class Value> inline int take_digits(Text<Unit> &text, int most, Value &value) {
    int count = 0;
    value = 0;
    const auto add = [&](gl_wchar digit) { value = value * 10 + (digit - '0'); };
    if (text.is_plain()) {
        const Unit *const at = text.at();
        for (; count < most && is_digit(text.value_of(at[count])); ++count) add(text.value_of(at[count]));
        text.go_to(at + count);
        return count;
    }
    for (gl_wchar wc; count < most && text.peek(wc) && is_digit(wc); ++count, text.advance()) add(wc);
    return count;
}

// The number of the digits at the position, INT32_MAX for any that is larger; 0 without one.
template <class Unit> bool take_width(Text<Unit> &text, int32_t &width) {
    width = 0;
    gl_wchar wc;
    for (;;) {
        if (!text.peek(wc)) return false;
        if (!is_digit(wc)) return true;
        const auto digit = static_cast<int32_t>(wc - '0');
        width = width > (INT32_MAX - digit) / 10 ? INT32_MAX : width * 10 + digit;
        text.advance();
    }
}

} // namespace qbgl
