// Formatted scanning.
#include "libn/grouping.h"
#include "print/arguments.h"
#include "print/real_digits.h"
#include "print/scan_set.h"
#include "print/sink.h"

#include <limits>

using namespace qbgl;

namespace {

// How a conversion ended. What does not fit, and the end of the text, end the call without an error.
enum class Outcome { READ, MISMATCH, END, BAD_FORMAT, BAD_TEXT, NO_MEMORY };

template <class Text> class Scanner {
  public:
    using Unit = typename Text::Unit;

    Scanner(gl_locale *locale, const Unit *s, ArgumentList &arguments) : text_(locale), in_(text_, s), arguments_(arguments) {}

    int scan(const Unit *format) {
        const Outcome outcome = scan_all(format);
        switch (outcome) {
        case Outcome::BAD_FORMAT: return fail(text_.locale(), GL_EINVAL, -1);
        case Outcome::BAD_TEXT: return fail(text_.locale(), GL_EILSEQ, -1);
        case Outcome::NO_MEMORY: return fail(text_.locale(), GL_ENOMEM, -1);
        case Outcome::END: return done_ == 0 ? fail(text_.locale(), GL_EEOF, -1) : assigned_;
        default: return assigned_;
        }
    }

  private:
    using Reader = FormatReader<Text>;

    bool is_space(gl_wchar wc) const {
        if (wc == ' ' || wc - '\t' <= '\r' - '\t') return true;
        const gl_locale *const locale = text_.locale();
        if (wc < 0x80 || wc == Reader::NONE) return false;
        if (locale->classes != nullptr) return wc <= UINT8_MAX && (locale->classes[wc] & GL_CLASS_SPACE) != 0;
        return gl_iswctype(text_.locale(), wc, GL_CLASS_SPACE) != 0;
    }
    void skip_spaces(Reader &reader) const {
        while (reader.length() > 0 && is_space(reader.value())) reader.advance();
    }
    // Why there is nothing to read on.
    Outcome stopped() const { return in_.is_bad() ? Outcome::BAD_TEXT : in_.ends() ? Outcome::END : Outcome::MISMATCH; }

    // The beginning of a field that is none: no end of the text, which the field has reached.
    Outcome mismatch() const { return in_.is_bad() ? Outcome::BAD_TEXT : Outcome::MISMATCH; }

    Outcome scan_all(const Unit *format) {
        Reader reader(text_, format);
        while (reader.length() > 0) {
            if (is_space(reader.value())) {
                skip_spaces(reader);
                skip_spaces(in_);
                continue;
            }
            const Unit *const place = reader.place();
            bool is_literal = reader.value() != '%';
            if (!is_literal) {
                reader.advance();
                is_literal = reader.value() == '%';
                if (is_literal) skip_spaces(in_);
            }
            if (is_literal) {
                if (in_.length() <= 0 || in_.value() != reader.value()) return stopped();
                in_.advance();
                reader.advance();
                continue;
            }
            FormatConversion conversion;
            const Unit *set = nullptr;
            if (const Outcome outcome = read(reader, conversion, set); outcome != Outcome::READ) return outcome;
            if (assigned_ == 0 && !positioned_ && conversion.position != 0) {
                positioned_ = true;
                if (const Outcome outcome = collect(place); outcome != Outcome::READ) return outcome;
            }
            if ((conversion.position != 0) != positioned_ && (conversion.flags & SUPPRESSED) == 0) return Outcome::BAD_FORMAT;
            if (const Outcome outcome = convert(conversion, set); outcome != Outcome::READ) return outcome;
            ++done_;
            if ((conversion.flags & SUPPRESSED) == 0) ++assigned_;
        }
        return reader.ends() ? Outcome::READ : Outcome::BAD_TEXT;
    }

    // A conversion behind its "%".
    Outcome read(Reader &reader, FormatConversion &conversion, const Unit *&set) const {
        int &width = conversion.width.value;
        const auto read_number = [&] {
            if (!reader.is_digit()) return true;
            return reader.number(width) && width > 0;
        };
        if (!read_number()) return Outcome::BAD_FORMAT;
        if (width > 0 && reader.skip('$')) conversion.position = std::exchange(width, -1);
        if (width < 0) {
            for (;;) {
                if (reader.skip('*'))
                    conversion.flags |= SUPPRESSED;
                else if (reader.skip('\''))
                    conversion.flags |= GROUPED;
                else
                    break;
            }
            if (!read_number()) return Outcome::BAD_FORMAT;
        }
        conversion.length = reader.modifier();
        if (reader.is_bad()) return Outcome::BAD_TEXT;
        if (reader.ends()) return Outcome::BAD_FORMAT;
        conversion.letter = reader.value();
        reader.advance();
        if (conversion.letter != '[') return Outcome::READ;
        set = reader.place();
        reader.skip('^');
        reader.skip(']'); // the first one is a member
        while (reader.length() > 0 && reader.value() != ']') reader.advance();
        return reader.skip(']') ? Outcome::READ : reader.is_bad() ? Outcome::BAD_TEXT : Outcome::BAD_FORMAT;
    }

    Outcome collect(const Unit *format) {
        Reader reader(text_, format);
        for (;;) {
            while (reader.length() > 0 && reader.value() != '%') reader.advance();
            if (reader.length() <= 0) break;
            reader.advance();
            if (reader.skip('%')) continue;
            FormatConversion conversion;
            const Unit *set = nullptr;
            if (const Outcome outcome = read(reader, conversion, set); outcome != Outcome::READ) return outcome;
            if ((conversion.flags & SUPPRESSED) != 0) continue;
            const int error = collected_.want(conversion.position, Kind::POINTER);
            if (error != 0) return error == GL_ENOMEM ? Outcome::NO_MEMORY : Outcome::BAD_FORMAT;
        }
        return reader.ends() && collected_.take(arguments_) == 0 ? Outcome::READ : Outcome::BAD_FORMAT;
    }

    void *argument(const FormatConversion &conversion) {
        if ((conversion.flags & SUPPRESSED) != 0) return nullptr;
        return positioned_ ? collected_.at(conversion.position).pointer : arguments_.next(Kind::POINTER).pointer;
    }

    Outcome convert(const FormatConversion &conversion, const Unit *set) {
        const gl_wchar letter = conversion.letter;
        left_ = conversion.width.value > 0 ? conversion.width.value : INT_MAX;
        switch (letter) {
        case 'c':
        case 'C':
        case '[': break;
        default: skip_spaces(in_);
        }
        switch (letter) {
        case 'd':
        case 'u': return integer(conversion, 10);
        case 'i': return integer(conversion, 0);
        case 'o': return integer(conversion, 8);
        case 'x':
        case 'X':
        case 'p': return integer(conversion, 16);
        case 'a':
        case 'A':
        case 'e':
        case 'E':
        case 'f':
        case 'F':
        case 'g':
        case 'G': return real(conversion);
        case 's':
        case 'S': return letters(conversion, true, [this](gl_wchar wc) { return !is_space(wc); });
        case '[': return letters_of_set(conversion, set);
        case 'c':
        case 'C':
            if (conversion.width.value < 0) left_ = takes_wide(conversion) ? 1 : text_.terminator_length();
            return letters(conversion, false, [](gl_wchar) { return true; });
        default: return Outcome::BAD_FORMAT;
        }
    }

    // Takes the next character of a field, as far as the width goes.
    bool take(gl_wchar wc) {
        if (left_ < in_.length() || in_.length() <= 0 || in_.value() != wc) return false;
        consume();
        return true;
    }
    gl_wchar next() const { return in_.length() > 0 && in_.length() <= left_ ? in_.value() : Reader::NONE; }
    void consume() {
        left_ -= in_.length();
        in_.advance();
    }
    bool take_either(char lower) { return take(static_cast<gl_wchar>(lower)) || take(static_cast<gl_wchar>(lower - 'a' + 'A')); }
    // All of a word, in either case.
    bool take_word(const char *word) {
        while (*word != '\0')
            if (!take_either(*word++)) return false;
        return true;
    }
    // A digit, or -1.
    static int digit_of(gl_wchar wc, int base) {
        const int digit = wc - '0' <= 9           ? static_cast<int>(wc - '0')
                          : (wc | 0x20) - 'a' < 6 ? static_cast<int>((wc | 0x20) - 'a') + 10
                                                  : INT_MAX;
        return digit < base ? digit : -1;
    }

    // A symbol of the locale, if it stands here as a whole and `behind` is true of what follows.
    template <class Behind> bool take_symbol(const gl_text &symbol, const char *otherwise, Behind behind) {
        Reader place = in_;
        int left = left_;
        if (symbol.bytes == nullptr) {
            if (*otherwise == '\0' || next() != static_cast<gl_wchar>(*otherwise)) return false;
            left -= place.length();
            place.advance();
        } else {
            const MultibyteString bytes(text_.locale());
            const char *at = symbol.bytes;
            if (bytes.step(at).length <= 0) return false;
            for (Step step; (step = bytes.step(at)).length > 0; at += step.length) {
                if (place.length() <= 0 || place.length() > left || place.value() != step.value) return false;
                left -= place.length();
                place.advance();
            }
        }
        if (!behind(place.length() > 0 && place.length() <= left ? place.value() : Reader::NONE)) return false;
        in_ = place;
        left_ = left;
        return true;
    }

    // Digits with separators, if they are asked for; false for groups that are not the locale's. As many digits are told to `add`
    // as there are.
    template <class Add> bool digits(int base, bool grouped, Add add) {
        int in_group = 0;
        bool has_separators = false;
        GroupCheck groups(text_.locale()->numeric.grouping);
        for (;;) {
            if (const int digit = digit_of(next(), base); digit >= 0) {
                consume();
                add(digit);
                ++in_group;
            } else if (grouped && in_group > 0 && take_symbol(text_.locale()->numeric.thousands_sep, "", [base](gl_wchar wc) {
                           return digit_of(wc, base) >= 0;
                       })) {
                groups.end(std::exchange(in_group, 0));
                has_separators = true;
            } else {
                return !has_separators || groups.fit(in_group);
            }
        }
    }

    // The sizes of a number's groups as they come, the last of which decide: as many as a locale lists, and what all before are.
    class GroupCheck {
      public:
        explicit GroupCheck(const gl_grouping &grouping) : grouping_(grouping) {}
        void end(int size) {
            if (count_ >= KEPT) check_older();
            sizes_[count_++ % KEPT] = size;
        }
        bool fit(int last) {
            end(last);
            GroupSizes sizes(grouping_);
            for (int i = 1; i <= count_ && i <= KEPT; ++i, sizes.advance()) {
                const int size = sizes_[(count_ - i) % KEPT];
                if (i == count_ ? size > sizes.current() : size != sizes.current()) return false;
            }
            return all_fit_;
        }

      private:
        static constexpr int KEPT = 16;

        // What falls out has all sizes of the list behind it.
        void check_older() {
            GroupSizes sizes(grouping_);
            for (int i = 1; i < grouping_.count; ++i) sizes.advance();
            const int size = sizes_[count_ % KEPT];
            if (count_ == KEPT ? size > sizes.current() : size != sizes.current()) all_fit_ = false;
        }

        const gl_grouping &grouping_;
        int sizes_[KEPT] = {}, count_ = 0;
        bool all_fit_ = true;
    };

    static int bits_of(Length length) {
        switch (length) {
        case Length::CHAR: return CHAR_BIT;
        case Length::SHORT: return sizeof(short) * CHAR_BIT;
        case Length::LONG: return sizeof(long) * CHAR_BIT;
        case Length::LONG_LONG:
        case Length::LONG_DOUBLE: return 64;
        default: return sizeof(int) * CHAR_BIT;
        }
    }

    Outcome integer(const FormatConversion &conversion, int base) {
        if (in_.length() <= 0) return stopped();
        const bool is_pointer = conversion.letter == 'p';
        const bool is_signed = conversion.letter == 'd' || conversion.letter == 'i';
        if (is_pointer && next() == '(') {
            take('(');
            if (!take_word("nil") || !take(')')) return mismatch();
            store(argument(conversion), sizeof(void *) * CHAR_BIT, 0);
            return Outcome::READ;
        }
        const bool negative = next() == '-';
        if (negative || next() == '+') consume();
        uint64_t magnitude = 0;
        bool any = false, too_large = false;
        if (next() == '0' && (base == 0 || base == 16)) {
            consume();
            any = true;
            if (take_either('x')) base = 16;
            if (base == 0) base = 8;
        }
        if (base == 0) base = 10;
        const bool grouped = (conversion.flags & GROUPED) != 0 && base == 10;
        const bool fits = digits(base, grouped, [&](int digit) {
            any = true;
            const auto factor = static_cast<unsigned>(base);
            if (magnitude > (UINT64_MAX - static_cast<unsigned>(digit)) / factor) too_large = true;
            magnitude = magnitude * factor + static_cast<unsigned>(digit);
        });
        if (!any) return mismatch();
        if (!fits) return Outcome::MISMATCH;
        const int bits = is_pointer ? static_cast<int>(sizeof(void *) * CHAR_BIT) : bits_of(conversion.length);
        const uint64_t most = UINT64_MAX >> (64 - bits), most_positive = most >> 1;
        uint64_t value = negative ? 0 - magnitude : magnitude;
        if (is_signed) {
            if (too_large || magnitude > most_positive + (negative ? 1 : 0)) value = negative ? most_positive + 1 : most_positive;
        } else if (too_large || magnitude > most) {
            value = most;
        }
        store(argument(conversion), bits, value);
        return Outcome::READ;
    }

    static void store(void *out, int bits, uint64_t value) {
        if (out == nullptr) return;
        switch (bits) {
        case 8: *static_cast<uint8_t *>(out) = static_cast<uint8_t>(value); break;
        case 16: *static_cast<uint16_t *>(out) = static_cast<uint16_t>(value); break;
        case 32: *static_cast<uint32_t *>(out) = static_cast<uint32_t>(value); break;
        default: *static_cast<uint64_t *>(out) = value;
        }
    }

    Outcome real(const FormatConversion &conversion) {
        if (in_.length() <= 0) return stopped();
        if (conversion.length == Length::LONG_DOUBLE) return real_into<RealDigits<MOST_LONG_DOUBLE>>(conversion);
        return real_into<RealDigits<MOST_DOUBLE>>(conversion);
    }

    template <class Digits> [[gnu::noinline]] Outcome real_into(const FormatConversion &conversion) {
        Digits number;
        number.negative = next() == '-';
        if (number.negative || next() == '+') consume();
        if (next() == 'i' || next() == 'I') {
            if (!take_word("inf")) return mismatch();
            if ((next() == 'i' || next() == 'I') && !take_word("inity")) return mismatch();
            number.special = Special::INFINITE;
        } else if (next() == 'n' || next() == 'N') {
            if (!take_word("nan")) return mismatch();
            number.special = Special::NOT_A_NUMBER;
        } else if (const Outcome outcome = read_digits(number, (conversion.flags & GROUPED) != 0); outcome != Outcome::READ) {
            return outcome;
        }
        void *const out = argument(conversion);
        if (out == nullptr) return Outcome::READ;
        if (conversion.length == Length::LONG_DOUBLE)
            *static_cast<long double *>(out) = number.long_double_value();
        else if (conversion.length == Length::LONG)
            *static_cast<double *>(out) = number.double_value();
        else
            *static_cast<float *>(out) = number.float_value();
        return Outcome::READ;
    }

    template <class Digits> Outcome read_digits(Digits &number, bool grouped) {
        bool any = false;
        if (next() == '0') {
            consume();
            any = true;
            number.hexadecimal = take_either('x');
            if (number.hexadecimal) any = false;
        }
        const int base = number.hexadecimal ? 16 : 10;
        const auto add = [&](int digit) {
            any = true;
            number.add(digit);
        };
        if (!digits(base, grouped && base == 10, add)) return Outcome::MISMATCH;
        const auto may_follow = [&](gl_wchar wc) { return any || digit_of(wc, base) >= 0; };
        if (take_symbol(text_.locale()->numeric.decimal_point, ".", may_follow)) {
            number.behind_point = true;
            digits(base, false, add);
        }
        if (!any) return mismatch();
        if (!take_either(number.hexadecimal ? 'p' : 'e')) return Outcome::READ;
        const bool negative = next() == '-';
        if (negative || next() == '+') consume();
        int64_t exponent = 0;
        bool has_exponent = false;
        digits(10, false, [&](int digit) {
            has_exponent = true;
            if (exponent < INT_MAX) exponent = exponent * 10 + digit;
        });
        number.exponent = negative ? -exponent : exponent;
        return has_exponent ? Outcome::READ : mismatch();
    }

    [[gnu::noinline]] Outcome letters_of_set(const FormatConversion &conversion, const Unit *set) {
        ScanSet members;
        if (!members.read(text_, set)) return Outcome::NO_MEMORY;
        return letters(conversion, true, [&members](gl_wchar wc) { return members.has(wc); });
    }

    static bool takes_wide(const FormatConversion &conversion) {
        return conversion.letter == 'C' || conversion.letter == 'S' || conversion.length == Length::LONG;
    }

    // Characters as long as `belongs` says so of them, into bytes or wide characters; with a terminator where they are a text. A
    // field of bytes never ends inside a character.
    template <class Belongs> Outcome letters(const FormatConversion &conversion, bool is_text, Belongs belongs) {
        const bool is_wide = takes_wide(conversion);
        if (in_.length() <= 0) return stopped();
        char *bytes = nullptr;
        gl_wchar *wide = nullptr;
        if (void *const out = argument(conversion); is_wide)
            wide = static_cast<gl_wchar *>(out);
        else
            bytes = static_cast<char *>(out);
        const MultibyteString encoding(text_.locale());
        const PrintSink<MultibyteString> encoder(encoding, nullptr, 0);
        int count = 0;
        while (left_ > 0 && in_.length() > 0 && (is_wide || in_.length() <= left_) && belongs(in_.value())) {
            char character[MAX_KEY];
            const int length = encoder.encode_character(in_.value(), character);
            if (length < 1) return Outcome::BAD_TEXT;
            if (bytes != nullptr) bytes = std::copy_n(character, length, bytes);
            if (wide != nullptr) *wide++ = in_.value();
            left_ -= is_wide ? 1 : in_.length();
            in_.advance();
            ++count;
        }
        if (in_.is_bad() && left_ > 0) return Outcome::BAD_TEXT;
        if (!is_text) return left_ == 0 ? Outcome::READ : mismatch();
        if (bytes != nullptr) encoding.put_terminator(bytes);
        if (wide != nullptr) *wide = 0;
        return count > 0 ? Outcome::READ : mismatch();
    }

    const Text text_;
    Reader in_;
    ArgumentList &arguments_;
    int left_ = 0; // units of the field's width
    int done_ = 0, assigned_ = 0;
    bool positioned_ = false;
    PositionedArguments collected_;
};

template <class Text, class Unit> int scan(gl_locale *locale, const Unit *s, const Unit *format, va_list list) {
    if (s == nullptr || format == nullptr) return fail(locale, GL_ENULLPTR, -1);
    ArgumentList arguments;
    va_copy(arguments.list, list);
    const int result = Scanner<Text>(locale, s, arguments).scan(format);
    va_end(arguments.list);
    return result;
}

} // namespace

int gl_vmbsscanf(gl_locale *locale, const char *text, const char *format, va_list list) {
    return scan<MultibyteString>(locale, text, format, list);
}
int gl_vwcsscanf(gl_locale *locale, const gl_wchar *text, const gl_wchar *format, va_list list) {
    return scan<WideString>(locale, text, format, list);
}

int gl_mbsscanf(gl_locale *locale, const char *text, const char *format, ...) {
    va_list list;
    va_start(list, format);
    const int result = gl_vmbsscanf(locale, text, format, list);
    va_end(list);
    return result;
}
int gl_wcsscanf(gl_locale *locale, const gl_wchar *text, const gl_wchar *format, ...) {
    va_list list;
    va_start(list, format);
    const int result = gl_vwcsscanf(locale, text, format, list);
    va_end(list);
    return result;
}
