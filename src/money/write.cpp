// Amounts of money as text.
#include "form/sink.h"
#include "libn/grouping.h"
#include "money/amount.h"
#include "setlc/handle.h"

using namespace qbgl;

namespace {

constexpr int DEFAULT_FRACTION = 2;

struct Conversion {
    gl_wchar fill = ' ';
    bool grouped = true, with_symbol = true, left = false, international = false;
    char signs = 0; // + ( or none
    int32_t width = 0, least_digits = -1, fraction = -1;
};

// Where symbol and sign of an amount stand, as POSIX numbers it.
struct Layout {
    bool symbol_first;
    int space, place;
    const char *sign; // the locale's, or null
    bool minus;       // a "-" in its place
};

// What a locale does not say, or says that means nothing, is otherwise.
constexpr int32_t known(int32_t value, int32_t most, int32_t otherwise) { return value < 0 || value > most ? otherwise : value; }
constexpr int32_t MOST_FRACTION_OF_LOCALE = INT32_MAX - 1, MOST_SPACE = 2, MOST_PLACE = 4;
static_assert(GL_NOT_AVAILABLE > MOST_FRACTION_OF_LOCALE);

template <class Unit, class Value> class MoneyWriter {
  public:
    MoneyWriter(gl_locale *locale, Unit *out, int room, Value value)
        : locale_(locale), info_(locale->monetary), value_(value), sink_(locale, out, room) {}

    bool write(Text<Unit> format) {
        for (gl_wchar wc;;) {
            if (!format.peek(wc)) return fail(locale_, GL_EILSEQ, false);
            if (wc == 0) return true;
            format.advance();
            if (wc == '%') {
                Conversion one;
                if (!format.peek(wc)) return fail(locale_, GL_EILSEQ, false);
                if (wc == '%') {
                    format.advance();
                    if (!sink_.ascii('%')) return false;
                } else if (!read_conversion(format, one) || !convert(one)) {
                    return false;
                }
            } else if (!sink_.character(wc)) {
                return false;
            }
        }
    }

    int finish(int room, bool written) {
        const int length = sink_.finish(room);
        return written || sink_.full() ? length : -1;
    }

  private:
    bool refuse() { return fail(locale_, GL_EINVAL, false); }

    bool read_conversion(Text<Unit> &format, Conversion &one) {
        gl_wchar wc;
        for (;; format.advance()) {
            if (!format.peek(wc)) return fail(locale_, GL_EILSEQ, false);
            if (wc == '=') {
                format.advance();
                if (!format.peek(wc)) return fail(locale_, GL_EILSEQ, false);
                if (wc == 0) return refuse();
                one.fill = wc;
            } else if (wc == '^') {
                one.grouped = false;
            } else if (wc == '!') {
                one.with_symbol = false;
            } else if (wc == '-') {
                one.left = true;
            } else if (wc == '+' || wc == '(') {
                if (one.signs != 0) return refuse();
                one.signs = static_cast<char>(wc);
            } else {
                break;
            }
        }
        if (!take_width(format, one.width)) return fail(locale_, GL_EILSEQ, false);
        const auto number_behind = [&](char mark, int32_t &number) {
            if (!format.peek(wc)) return fail(locale_, GL_EILSEQ, false);
            if (wc != static_cast<uint8_t>(mark)) return true;
            format.advance();
            if (!format.peek(wc)) return fail(locale_, GL_EILSEQ, false);
            if (!is_digit(wc)) return refuse();
            return take_width(format, number) || fail(locale_, GL_EILSEQ, false);
        };
        if (!number_behind('#', one.least_digits) || !number_behind('.', one.fraction)) return false;
        if (!format.peek(wc)) return fail(locale_, GL_EILSEQ, false);
        if (wc != 'n' && wc != 'i') return refuse();
        one.international = wc == 'i';
        format.advance();
        return true;
    }

    Layout layout(const Conversion &one, bool negative) const {
        const gl_money_layout &other = locale_->int_money;
        const auto choose = [&](int32_t of_other, int32_t own, int32_t most, int32_t otherwise) {
            own = known(own, most, otherwise);
            return one.international ? known(of_other, most, own) : own;
        };
        Layout result{};
        if (negative)
            result = {choose(other.n_cs_precedes, info_.n_cs_precedes, 1, 1) != 0,
                      choose(other.n_sep_by_space, info_.n_sep_by_space, MOST_SPACE, 0),
                      choose(other.n_sign_posn, info_.n_sign_posn, MOST_PLACE, 1), info_.negative_sign.bytes, false};
        else
            result = {choose(other.p_cs_precedes, info_.p_cs_precedes, 1, 1) != 0,
                      choose(other.p_sep_by_space, info_.p_sep_by_space, MOST_SPACE, 0),
                      choose(other.p_sign_posn, info_.p_sign_posn, MOST_PLACE, 1), info_.positive_sign.bytes, false};
        if (one.signs == '(') result.place = 0;
        if (result.place == 0) result.sign = nullptr;
        result.minus = negative && result.place != 0 && is_empty(locale_, result.sign);
        // Sign and symbol are not beside each other, so that there is nothing to be separated.
        const bool apart = result.place == 0 || result.place == (result.symbol_first ? 2 : 1);
        if (result.space == 2 && apart) result.space = 0;
        return result;
    }

    int units_of(const char *text) const {
        if (text == nullptr) return 0;
        Text<char> characters(locale_, text);
        if (sizeof(Unit) == 1 && characters.is_plain()) return static_cast<int>(strlen(text));
        int count = 0;
        for (gl_wchar wc; characters.peek(wc) && wc != 0; characters.advance()) ++count;
        return sizeof(Unit) == 1 ? static_cast<int>(characters.at() - text) : count;
    }
    int units_of_sign(const Layout &layout) const { return layout.minus ? sink_.unit() : units_of(layout.sign); }
    // What stands before the digits.
    int units_before(const Layout &layout, bool negative, int symbol) const {
        int units = layout.symbol_first ? symbol + (layout.space != 0 ? sink_.unit() : 0) : 0;
        if (layout.place == 0) return units + (negative ? sink_.unit() : 0);
        const bool first = layout.place == 1 || (layout.symbol_first && layout.place >= 3);
        return first ? units + units_of_sign(layout) : units;
    }

    bool convert(const Conversion &one) {
        const int fraction = one.fraction >= 0 ? one.fraction
                                               : known(one.international ? info_.int_frac_digits : info_.frac_digits,
                                                       MOST_FRACTION_OF_LOCALE, DEFAULT_FRACTION);
        Amount amount;
        if (!amount.read(value_, fraction)) return fail(locale_, GL_ERANGE, false);
        const bool negative = amount.negative();
        const Layout own = layout(one, negative);
        symbol_ = one.international ? info_.int_curr_symbol.bytes : info_.currency_symbol.bytes;
        symbol_length_ = -1;
        separator_ = ' ';
        if (one.international && symbol_ != nullptr) take_separator();
        if (!one.with_symbol) symbol_ = nullptr;
        const int start = sink_.length();
        if (one.least_digits >= 0) {
            const int symbol = symbol_length_ >= 0 ? symbol_length_ : units_of(symbol_);
            const int missing = units_before(layout(one, !negative), !negative, symbol) - units_before(own, negative, symbol);
            if (!sink_.repeat(' ', missing / sink_.unit())) return false;
        }
        if (!put(one, own, amount, fraction)) return false;
        if (one.width == 0) return true;
        if (!one.left) return sink_.pad(start, one.width, ' ');
        return sink_.repeat(' ', (int64_t{one.width} - (sink_.length() - start)) / sink_.unit());
    }

    // The fourth character of the international symbol separates it.
    void take_separator() {
        Text<char> characters(locale_, symbol_);
        gl_wchar wc = 0;
        for (int i = 0; i < 3 && characters.peek(wc) && wc != 0; ++i) characters.advance();
        international_end_ = characters.at();
        if (characters.peek(wc) && wc != 0) separator_ = wc;
        symbol_length_ = sizeof(Unit) == 1 ? static_cast<int>(international_end_ - symbol_) : 3;
    }
    bool put_symbol() {
        if (symbol_ == nullptr) return true;
        if (symbol_length_ < 0) return sink_.text(symbol_);
        Text<char> characters(locale_, symbol_);
        for (gl_wchar wc; characters.at() < international_end_ && characters.peek(wc) && wc != 0; characters.advance())
            if (!sink_.character(wc)) return false;
        return true;
    }

    bool put_sign(const Layout &layout) { return layout.minus ? sink_.ascii('-') : sink_.text(layout.sign); }

    bool put(const Conversion &one, const Layout &layout, const Amount &amount, int fraction) {
        const int space = layout.space, place = layout.place;
        const bool parentheses = place == 0 && amount.negative(), symbol = symbol_ != nullptr;
        const auto blank_if = [&](bool wanted) { return !wanted || sink_.ascii(' '); };
        const auto separator_if = [&](bool wanted) { return !wanted || sink_.character(separator_); };
        if (parentheses && !sink_.ascii('(')) return false;
        if (layout.symbol_first) {
            if (place == 1 || place == 3)
                if (!put_sign(layout) || !blank_if(space == 2)) return false;
            if (!put_symbol()) return false;
            if (place == 4) {
                if (!separator_if(symbol && space == 2) || !put_sign(layout) || !blank_if(space == 1)) return false;
            } else if (!separator_if(symbol && space == 1)) {
                return false;
            }
        } else if (place == 1 && !put_sign(layout)) {
            return false;
        }
        if (!put_number(one, amount, fraction)) return false;
        if (!layout.symbol_first) {
            if (place == 3 && (!blank_if(space == 1) || !put_sign(layout))) return false;
            if (!separator_if(symbol && (place == 3 ? space == 2 : space == 1)) || !put_symbol()) return false;
            if (place == 4 && (!blank_if(space == 2) || !put_sign(layout))) return false;
        }
        if (place == 2 && (!blank_if(space == 2) || !put_sign(layout))) return false;
        return !parentheses || sink_.ascii(')');
    }

    bool put_number(const Conversion &one, const Amount &amount, int fraction) {
        const gl_grouping none = {}, &grouping = one.grouped ? info_.mon_grouping : none;
        const char *separator = info_.mon_thousands_sep.bytes;
        const bool separated = !is_empty(locale_, separator);
        const int digits = amount.whole_digits(), separators = separated ? count_separators(grouping, digits) : 0;
        if (one.least_digits >= 0) {
            // A separator is counted for every group of the least digits, which may be any number.
            const int64_t fill = int64_t{one.least_digits} + separators_of(grouping, one.least_digits) - digits - separators;
            for (int64_t i = 0; i < fill; ++i)
                if (!sink_.character(one.fill)) return false;
        }
        const GroupPlaces places(separated ? grouping : none);
        for (int i = 0; i < digits; ++i) {
            if (i > 0 && places.ends_before(digits - i) && !sink_.text(separator)) return false;
            if (!sink_.ascii(amount.whole_digit(i))) return false;
        }
        if (fraction == 0) return true;
        const char *point = info_.mon_decimal_point.bytes;
        if (is_empty(locale_, point)) point = locale_->numeric.decimal_point.bytes;
        if (!(is_empty(locale_, point) ? sink_.ascii('.') : sink_.text(point))) return false;
        for (int i = 0; i < fraction; ++i)
            if (!sink_.ascii(amount.fraction_digit(i))) return false;
        return true;
    }

    // Where separators stand, told by the digits behind them.
    class GroupPlaces {
      public:
        explicit GroupPlaces(const gl_grouping &grouping) : grouping_(grouping) {
            for (int i = 0; i < grouping.count; ++i) {
                if (grouping.sizes[i] < 1) {
                    last_ = 0;
                    break;
                }
                sum_ += last_ = grouping.sizes[i];
                ++count_;
            }
        }
        bool ends_before(int behind) const {
            if (behind > sum_) return last_ > 0 && (behind - sum_) % last_ == 0;
            int64_t at = 0;
            for (int i = 0; i < count_; ++i)
                if ((at += grouping_.sizes[i]) == behind) return true;
            return false;
        }

      private:
        const gl_grouping &grouping_;
        int count_ = 0, last_ = 0;
        int64_t sum_ = 0;
    };
    static int64_t separators_of(const gl_grouping &grouping, int32_t digits) {
        constexpr int32_t MANY = 1 << 20; // more than any room has use for is not counted
        return count_separators(grouping, std::min(digits, MANY));
    }

    gl_locale *locale_;
    const gl_monetary_info &info_;
    Value value_;
    Sink<Unit> sink_;
    const char *symbol_ = nullptr, *international_end_ = nullptr;
    int symbol_length_ = -1;
    gl_wchar separator_ = ' ';
};

template <class Unit, class Value> int write_money(gl_locale *locale, Unit *out, int room, const Unit *format, Value value) {
    if (is_canned(locale)) return -1;
    if (out == nullptr || format == nullptr) return fail(locale, GL_ENULLPTR, -1);
    MoneyWriter<Unit, Value> writer(locale, out, room, value);
    const bool written = writer.write(Text<Unit>(locale, format));
    return writer.finish(room, written);
}

template <class Unit> int write_text(gl_locale *locale, Unit *out, int room, const Unit *format, const char *decimal) {
    if (is_canned(locale)) return -1;
    if (decimal == nullptr) return fail(locale, GL_ENULLPTR, -1);
    return write_money(locale, out, room, format, std::string_view(decimal));
}

} // namespace

int gl_mbsfmon(gl_locale *locale, char *out, int room, const char *format, double amount) {
    return write_money(locale, out, room, format, amount);
}
int gl_wcsfmon(gl_locale *locale, gl_wchar *out, int room, const gl_wchar *format, double amount) {
    return write_money(locale, out, room, format, amount);
}
int gl_mbsfmon_text(gl_locale *locale, char *out, int room, const char *format, const char *decimal) {
    return write_text(locale, out, room, format, decimal);
}
int gl_wcsfmon_text(gl_locale *locale, gl_wchar *out, int room, const gl_wchar *format, const char *decimal) {
    return write_text(locale, out, room, format, decimal);
}
