// Amounts of money from text.
#include "ext/error.h"
#include "form/text.h"
#include "mbwc/maps.h"
#include "qbnxdl/served.h"
#include "setlc/handle.h"

#include <string.h>

using namespace qbgl;

namespace {

template <class Unit> class MoneyReader {
  public:
    MoneyReader(gl_locale *locale, const Unit *text, char *out, int room)
        : locale_(locale), info_(locale->monetary), text_(locale, text), out_(out), room_(room) {}

    // The length of the decimal, or -1 with the error.
    int read(const Unit **end) {
        take_around();
        gl_wchar wc;
        if (!text_.peek(wc)) return fail(locale_, GL_EILSEQ, -1);
        length_ = 1; // room for the sign
        if (!whole()) return fail(locale_, GL_EILSEQ, -1);
        fraction();
        end_ = text_.at();
        take_around();
        if (parentheses_) {
            if (!closed_) return fail(locale_, GL_EILSEQ, -1);
            negative_ = true;
        }
        if (end != nullptr) *end = end_;
        return finish();
    }

  private:
    // Sign, symbol and parenthesis on one side of the digits, each of them once altogether. Blanks count only before one of them.
    void take_around() {
        const bool behind = length_ > 0;
        for (bool found = true; found;) {
            const Unit *const begin = text_.at();
            skip_blanks();
            found = (!signed_ && !parentheses_ && take_sign(behind)) || (!symbol_ && take_symbol()) ||
                    (behind ? parentheses_ && !closed_ && (closed_ = take(')'))
                            : !signed_ && !parentheses_ && (parentheses_ = take('(')));
            if (found)
                end_ = text_.at();
            else if (behind)
                text_.go_to(begin);
        }
    }
    // Before another number it is not this one's: "10-20".
    bool take_sign(bool behind) {
        const Unit *const begin = text_.at();
        const bool minus = take_text(info_.negative_sign.bytes) || take('-');
        if (!minus && !take_text(info_.positive_sign.bytes) && !take('+')) return false;
        if (behind) {
            const Unit *const end = text_.at();
            skip_blanks();
            gl_wchar wc;
            const bool is_another = text_.peek(wc) && is_digit(wc);
            text_.go_to(is_another ? begin : end);
            if (is_another) return false;
        }
        negative_ = minus;
        return signed_ = true;
    }
    // The international symbol's fourth character separates it.
    bool take_symbol() { return symbol_ = take_text(info_.currency_symbol.bytes) || take_text(info_.int_curr_symbol.bytes, 3); }

    bool take(gl_wchar expected) {
        gl_wchar wc;
        if (!text_.peek(wc) || wc != expected) return false;
        text_.advance();
        return true;
    }
    // A text of the locale's, or its first characters. An empty one is never there.
    bool take_text(const char *other, int most = INT32_MAX) {
        if (other == nullptr) return false;
        const Unit *const begin = text_.at();
        Text<char> expected(locale_, other);
        int count = 0;
        for (gl_wchar a, b; expected.peek(b); expected.advance(), text_.advance(), ++count) {
            if (b == 0 || count == most) {
                if (count > 0) return true;
                break;
            }
            if (!text_.peek(a) || a == 0 || (a != b && !(is_blank(a) && is_blank(b)))) break;
        }
        text_.go_to(begin);
        return false;
    }
    // Any space, no-break ones too, stands for any other.
    bool is_blank(gl_wchar wc) {
        if (wc == ' ' || wc == '\t') return true;
        if (wc < 0x80) return false;
        return is_no_break(wc);
    }
    bool is_no_break(gl_wchar wc) {
        if (served_by_extension(locale_, GL_CAT_CTYPE)) return wc == 0xA0 || wc == 0x202F || wc == 0x2009;
        const CodesetMaps *const maps = maps_of(locale_);
        if (maps != nullptr && maps->shape == TextShape::CONTINUATION) // UTF-8, whose values are its bytes
            return wc == 0xC2A0 || wc == 0xE280AF || wc == 0xE28089;
        if (wc != 0xA0 || locale_->single_byte == 0) return false;
        const char *codeset = locale_->codeset_name[GL_CAT_MONETARY];
        if (strncmp(codeset, "8859-", 5) == 0 || strncmp(codeset, "cp125", 5) == 0) return true;
        const char *separator = info_.mon_thousands_sep.bytes; // another codeset may have a letter there
        return separator != nullptr && *separator == '\xA0';
    }
    void skip_blanks() {
        for (gl_wchar wc; text_.peek(wc) && wc != 0 && is_blank(wc);) text_.advance();
    }

    // Digits with separators, if these stand where the locale has them; otherwise those before the first.
    bool whole() {
        int64_t digits = 0, separators = 0;
        const Unit *const begin = text_.at(), *first = nullptr;
        for (;;) {
            const Unit *const at = text_.at();
            gl_wchar wc;
            if (digits > 0 && take_text(info_.mon_thousands_sep.bytes)) {
                if (!text_.peek(wc) || !is_digit(wc)) {
                    text_.go_to(at);
                    break;
                }
                if (first == nullptr) first = at;
                ++separators;
                continue;
            }
            if (!text_.peek(wc) || !is_digit(wc)) break;
            ++digits;
            text_.advance();
        }
        const Unit *end = text_.at();
        text_.go_to(begin);
        if (separators > 0 && !stand_right(end, digits)) end = first;
        text_.go_to(begin);
        bool leading = true;
        for (gl_wchar wc; text_.at() < end && text_.peek(wc);) {
            if (!is_digit(wc)) {
                if (!take_text(info_.mon_thousands_sep.bytes)) break; // of one that has digits in it, the rest
                continue;
            }
            leading = leading && wc == '0';
            if (!leading) put(static_cast<char>(wc));
            text_.advance();
        }
        if (leading) put('0');
        return digits > 0 || begins_with_point();
    }
    bool begins_with_point() {
        const Unit *const begin = text_.at();
        gl_wchar wc;
        const bool found = take_point() && text_.peek(wc) && is_digit(wc);
        text_.go_to(begin);
        return found;
    }
    bool stand_right(const Unit *end, int64_t digits) {
        while (text_.at() < end) {
            gl_wchar wc;
            if (text_.peek(wc) && is_digit(wc)) {
                --digits;
                text_.advance();
            } else if (!take_text(info_.mon_thousands_sep.bytes) || !may_separate(digits)) {
                return false;
            }
        }
        return true;
    }
    bool may_separate(int64_t behind) const {
        const gl_grouping &grouping = info_.mon_grouping;
        int64_t sum = 0;
        int32_t size = 0;
        for (int i = 0; i < grouping.count; ++i) {
            size = grouping.sizes[i];
            if (size < 1) return false;
            if ((sum += size) == behind) return true;
        }
        return size > 0 && behind > sum && (behind - sum) % size == 0;
    }

    bool take_point() {
        const char *point = info_.mon_decimal_point.bytes;
        if (is_empty(locale_, point)) point = locale_->numeric.decimal_point.bytes;
        return is_empty(locale_, point) ? take('.') : take_text(point);
    }
    // A point that no digit follows is the end of a sentence.
    void fraction() {
        const Unit *const begin = text_.at();
        gl_wchar wc;
        if (!take_point() || !text_.peek(wc) || !is_digit(wc)) return text_.go_to(begin);
        put('.');
        for (; text_.peek(wc) && is_digit(wc); text_.advance()) put(static_cast<char>(wc));
    }

    // The place of the sign is kept free until it is known.
    void put(char c) {
        if (length_ < room_) out_[length_] = c;
        ++length_;
    }
    int finish() {
        const int64_t length = negative_ ? length_ : length_ - 1;
        if (length_ >= room_ + int64_t{!negative_}) {
            if (room_ > 0) out_[0] = '\0';
            return fail(locale_, GL_E2BIG, -1);
        }
        if (negative_)
            out_[0] = '-';
        else
            memmove(out_, out_ + 1, static_cast<size_t>(length));
        out_[length] = '\0';
        return static_cast<int>(length);
    }

    gl_locale *locale_;
    const gl_monetary_info &info_;
    Text<Unit> text_;
    char *out_;
    int room_;
    int64_t length_ = 0;
    const Unit *end_ = nullptr;
    bool signed_ = false, negative_ = false, symbol_ = false, parentheses_ = false, closed_ = false;
};

template <class Unit> int read_money(gl_locale *locale, const Unit *text, const Unit **end, char *decimal, int room) {
    if (is_canned(locale)) return -1;
    if (text == nullptr || decimal == nullptr) return fail(locale, GL_ENULLPTR, -1);
    return MoneyReader<Unit>(locale, text, decimal, room).read(end);
}

} // namespace

int gl_mbspmon(gl_locale *locale, const char *text, const char **end, char *decimal, int room) {
    return read_money(locale, text, end, decimal, room);
}
int gl_wcspmon(gl_locale *locale, const gl_wchar *text, const gl_wchar **end, char *decimal, int room) {
    return read_money(locale, text, end, decimal, room);
}
