// Formatted printing.
#include "libn/grouping.h"
#include "print/arguments.h"
#include "print/digits.h"
#include "print/sink.h"
#include "util/decimal_digits.h"

using namespace qbgl;

namespace {

// The kind of a conversion's argument; NONE for what is no conversion.
Kind kind_of(const FormatConversion &conversion) {
    switch (conversion.letter) {
    case 'd':
    case 'i':
    case 'o':
    case 'u':
    case 'x':
    case 'X':
        return conversion.length == Length::LONG                                                    ? Kind::LONG
               : conversion.length == Length::LONG_LONG || conversion.length == Length::LONG_DOUBLE ? Kind::LONG_LONG
                                                                                                    : Kind::INT;
    case 'a':
    case 'A':
    case 'e':
    case 'E':
    case 'f':
    case 'F':
    case 'g':
    case 'G': return conversion.length == Length::LONG_DOUBLE ? Kind::LONG_DOUBLE : Kind::DOUBLE;
    case 'c':
    case 'C': return Kind::INT;
    case 's':
    case 'S':
    case 'p': return Kind::POINTER;
    default: return Kind::NONE;
    }
}

template <class Text> class Printer {
  public:
    using Unit = typename Text::Unit;

    Printer(gl_locale *locale, Unit *out, int room, ArgumentList &arguments)
        : text_(locale), sink_(text_, out, room), arguments_(arguments) {}

    // 0, or the number of the failure; the output is terminated where there is room for that.
    int print(const Unit *format) {
        if (!sink_.has_room()) return GL_E2BIG;
        const int error = print_all(format);
        sink_.terminate();
        return error;
    }
    int written(const Unit *out) const { return sink_.written(out); }

  private:
    // By the positions of all arguments.
    [[gnu::noinline]] int print_positioned(const Unit *format) {
        PositionedArguments collected;
        collected_ = &collected;
        const int error = collect(format);
        const int result = error == 0 ? print_all(format) : error;
        collected_ = nullptr;
        return result;
    }

    int print_all(const Unit *format) {
        FormatReader<Text> in(text_, format);
        for (bool first = true;;) {
            for (; in.length() > 0 && in.value() != '%'; in.advance())
                if (!sink_.character(in.place(), in.length())) return GL_E2BIG;
            if (in.length() <= 0) return in.ends() ? 0 : GL_EILSEQ;
            const Unit *const begin = in.place();
            in.advance();
            if (in.value() == '%') {
                if (!sink_.character(in.place(), in.length())) return GL_E2BIG;
                in.advance();
                continue;
            }
            FormatConversion conversion;
            if (const int error = read_conversion(in, conversion); error != 0) return error;
            if (first && conversion.position != 0 && collected_ == nullptr) return print_positioned(begin);
            first = false;
            if (const int error = convert(conversion); error != 0) return error;
        }
    }

    // All arguments, by the rest of the format.
    int collect(const Unit *format) {
        FormatReader<Text> in(text_, format);
        for (;;) {
            while (in.length() > 0 && in.value() != '%') in.advance();
            if (in.length() <= 0) break;
            in.advance();
            if (in.skip('%')) continue;
            FormatConversion conversion;
            if (const int error = read_conversion(in, conversion); error != 0) return error;
            for (const FieldSize *amount : {&conversion.width, &conversion.precision})
                if (amount->is_argument)
                    if (const int error = collected_->want(amount->position, Kind::INT); error != 0) return error;
            const Kind kind = kind_of(conversion);
            if (kind == Kind::NONE) return GL_EINVAL;
            if (const int error = collected_->want(conversion.position, kind); error != 0) return error;
        }
        return in.ends() ? collected_->take(arguments_) : GL_EILSEQ;
    }

    Value argument(int position, Kind kind) { return collected_ != nullptr ? collected_->at(position) : arguments_.next(kind); }
    int int_argument(int position) {
        return collected_ != nullptr ? static_cast<int>(collected_->at(position).integer) : va_arg(arguments_.list, int);
    }
    void *pointer_argument(int position) {
        return collected_ != nullptr ? collected_->at(position).pointer : va_arg(arguments_.list, void *);
    }

    int convert(FormatConversion &conversion) {
        const Kind kind = kind_of(conversion);
        if (kind == Kind::NONE) return GL_EINVAL;
        const auto fits = [this](int position) { return (position != 0) == (collected_ != nullptr); };
        if (!fits(conversion.position) || (conversion.width.is_argument && !fits(conversion.width.position)) ||
            (conversion.precision.is_argument && !fits(conversion.precision.position)))
            return GL_EINVAL;
        if (conversion.width.is_argument) {
            const int width = int_argument(conversion.width.position);
            if (width == INT_MIN) return GL_EINVAL;
            if (width < 0) conversion.flags |= LEFT;
            conversion.width.value = width < 0 ? -width : width;
        }
        if (conversion.precision.is_argument)
            conversion.precision.value = std::max(int_argument(conversion.precision.position), -1);
        const int position = conversion.position;
        switch (kind) {
        case Kind::INT:
            if (conversion.letter == 'c' || conversion.letter == 'C') return print_character(conversion, int_argument(position));
            return print_int(conversion, int_argument(position));
        case Kind::LONG:
        case Kind::LONG_LONG: return print_long(conversion, kind, argument(position, kind).integer);
        case Kind::DOUBLE: return print_double(conversion, argument(position, kind).real);
        case Kind::LONG_DOUBLE: return print_long_double(conversion, argument(position, kind).long_real);
        default:
            return conversion.letter == 'p' ? print_pointer(conversion, pointer_argument(position))
                                            : print_string(conversion, pointer_argument(position));
        }
    }

    static bool is_signed(const FormatConversion &conversion) { return conversion.letter == 'd' || conversion.letter == 'i'; }

    int print_int(const FormatConversion &conversion, int value) {
        const bool with_sign = is_signed(conversion);
        if (conversion.length == Length::CHAR)
            value = with_sign ? static_cast<signed char>(value) : static_cast<unsigned char>(value);
        if (conversion.length == Length::SHORT) value = with_sign ? static_cast<short>(value) : static_cast<unsigned short>(value);
        const bool negative = with_sign && value < 0;
        const auto bits = static_cast<unsigned>(value);
        return print_integer(conversion, negative ? 0 - bits : bits, negative);
    }
    int print_long(const FormatConversion &conversion, Kind kind, long long value) {
        if (!is_signed(conversion) && kind == Kind::LONG) value = static_cast<long long>(static_cast<unsigned long>(value));
        const bool negative = is_signed(conversion) && value < 0;
        const auto bits = static_cast<uint64_t>(value);
        return print_integer(conversion, negative ? 0 - bits : bits, negative);
    }

    template <class Magnitude> int print_integer(const FormatConversion &conversion, Magnitude magnitude, bool negative) {
        IntegerText room;
        constexpr unsigned OTHERS = GROUPED | COLUMNS | ALTERNATE;
        if ((conversion.flags & OTHERS) == 0 && conversion.precision.value < 0 && conversion.letter != 'o') {
            char *const end = room + sizeof room, *begin;
            if (conversion.letter == 'x' || conversion.letter == 'X')
                begin = hexadecimal(end, magnitude, conversion.letter == 'X');
            else
                begin = decimal(end, magnitude);
            const bool with_sign = is_signed(conversion) && (negative || (conversion.flags & (SIGN | SPACE)) != 0);
            const char sign = negative ? '-' : (conversion.flags & SIGN) != 0 ? '+' : ' ';
            if (put_whole(conversion, with_sign ? &sign : nullptr, begin, static_cast<int>(end - begin))) return 0;
        }
        return print_number(conversion, integer_number(conversion, magnitude, negative, room),
                            is_signed(conversion) || conversion.letter == 'u');
    }

    // A field of ASCII characters that has its room, without asking for that at each part. False where nothing is written.
    bool put_whole(const FormatConversion &conversion, const char *sign, const char *digits, int count) {
        const int length = (sign != nullptr) + count, fill = std::max(conversion.width.value - length, 0);
        if (sink_.unit() != 1) return false;
        Unit *at = sink_.claim(length, fill);
        if (at == nullptr) return false;
        const auto repeat = [&at](char c, int times) {
            for (; times > 0; --times) *at++ = static_cast<Unit>(static_cast<unsigned char>(c));
        };
        const bool left = (conversion.flags & LEFT) != 0, zeros = (conversion.flags & ZEROS) != 0;
        if (!left && !zeros) repeat(' ', fill);
        if (sign != nullptr) *at++ = static_cast<Unit>(static_cast<unsigned char>(*sign));
        if (!left && zeros) repeat('0', fill);
        for (int i = 0; i < count; ++i) *at++ = static_cast<Unit>(static_cast<unsigned char>(digits[i]));
        if (left) repeat(' ', fill);
        return true;
    }

    [[gnu::noinline]] int print_double(const FormatConversion &conversion, double value) {
        DoubleText room;
        return print_number(conversion, real_number(conversion, value, room), true);
    }
    [[gnu::noinline]] int print_long_double(const FormatConversion &conversion, long double value) {
        LongDoubleText room;
        return print_number(conversion, real_number(conversion, value, room), true);
    }

    int print_pointer(FormatConversion &conversion, const void *pointer) {
        if (pointer == nullptr) {
            constexpr char NIL[] = "(nil)";
            Number text;
            text.digits = NIL;
            text.may_fill = false;
            return print_number(conversion, text, false);
        }
        conversion.flags |= ALTERNATE;
        conversion.letter = 'x';
        IntegerText room;
        Number number = integer_number(conversion, reinterpret_cast<uintptr_t>(pointer), false, room);
        return print_number(conversion, number, false);
    }

    // The units that a width leaves to fill, or the columns.
    int64_t padding(const FormatConversion &conversion, const Extent &extent) const {
        const int64_t width = conversion.width.value;
        if ((conversion.flags & COLUMNS) != 0) return std::max<int64_t>(width - extent.columns, 0);
        return width > extent.units ? static_cast<int>(width - extent.units) / sink_.unit() : 0;
    }

    int print_number(const FormatConversion &conversion, const Number &number, bool groups) {
        const bool with_columns = (conversion.flags & COLUMNS) != 0;
        const gl_numeric_info &conventions = text_.locale()->numeric;
        const int digits = static_cast<int>(number.digits.size());
        const bool is_number = digits == 0 || number.digits[0] <= '9';
        const int separators =
            groups && is_number && (conversion.flags & GROUPED) != 0 ? count_separators(conventions.grouping, digits) : 0;
        const int64_t ascii = number.prefix_length + number.zeros + digits + static_cast<int64_t>(number.fraction.size()) +
                              number.more_zeros + static_cast<int64_t>(number.exponent.size());
        Extent extent = {ascii * sink_.unit(), ascii};
        Symbol separator, point;
        if (separators > 0) separator = symbol(conventions.thousands_sep, with_columns, "");
        if (number.has_point) point = symbol(conventions.decimal_point, with_columns, ".");
        if (separator.extent.error != 0 || point.extent.error != 0) return GL_EILSEQ;
        extent.units += separators * separator.extent.units + point.extent.units;
        extent.columns += separators * separator.extent.columns + point.extent.columns;
        const int64_t fill = padding(conversion, extent);
        const bool left = (conversion.flags & LEFT) != 0, zeros = !left && (conversion.flags & ZEROS) != 0 && number.may_fill;
        if (!left && !zeros && fill > 0 && !sink_.fill(' ', fill)) return GL_E2BIG;
        if (!put({number.prefix, static_cast<size_t>(number.prefix_length)})) return GL_E2BIG;
        if (const int64_t count = number.zeros + (zeros ? fill : 0); count > 0 && !sink_.fill('0', count)) return GL_E2BIG;
        if (separators > 0 ? !put_groups(number.digits, separators, separator) : !put(number.digits)) return GL_E2BIG;
        if (number.has_point && !put(point)) return GL_E2BIG;
        if (!put(number.fraction)) return GL_E2BIG;
        if (number.more_zeros > 0 && !sink_.fill('0', number.more_zeros)) return GL_E2BIG;
        if (!put(number.exponent)) return GL_E2BIG;
        return !left || fill == 0 || sink_.fill(' ', fill) ? 0 : GL_E2BIG;
    }

    // A separator or the point.
    struct Symbol {
        const char *bytes = nullptr, *otherwise = ""; // the second where the locale has none
        Extent extent;
    };

    Symbol symbol(const gl_text &text, bool with_columns, const char *otherwise) const {
        Symbol symbol;
        if (text.bytes == nullptr) {
            symbol.otherwise = otherwise;
            symbol.extent = {*otherwise != '\0' ? sink_.unit() : 0, *otherwise != '\0' ? 1 : 0};
        } else {
            symbol.bytes = text.bytes;
            symbol.extent = sink_.measure(text.bytes, INT_MAX, with_columns);
        }
        return symbol;
    }
    bool put(const Symbol &symbol) {
        return symbol.bytes != nullptr ? sink_.write(symbol.bytes, symbol.extent.units) : put(std::string_view(symbol.otherwise));
    }
    bool put(std::string_view ascii) { return ascii.empty() || sink_.ascii(ascii.data(), static_cast<int>(ascii.size())); }

    // The sizes go from the last group to the first; where the digits of each group begin is found from the front by counting.
    bool put_groups(std::string_view digits, int separators, const Symbol &separator) {
        const gl_grouping &grouping = text_.locale()->numeric.grouping;
        size_t begin = 0;
        for (int behind = separators; behind >= 0; --behind) {
            size_t rest = 0; // digits of the `behind` groups behind this one
            GroupSizes sizes(grouping);
            // All but the first sizes of the list are alike.
            int listed = std::min(behind, static_cast<int>(grouping.count));
            for (int i = 0; i < listed; ++i, sizes.advance()) rest += static_cast<size_t>(sizes.current());
            if (behind > listed) rest += static_cast<size_t>(behind - listed) * static_cast<size_t>(sizes.current());
            const size_t end = digits.size() - rest;
            if (!put({digits.data() + begin, end - begin}) || (behind > 0 && !put(separator))) return false;
            begin = end;
        }
        return true;
    }

    template <class Source> int print_text(const FormatConversion &conversion, const Source *s, const Extent &extent) {
        const int64_t fill = padding(conversion, extent);
        const bool left = (conversion.flags & LEFT) != 0;
        if (!left && fill > 0 && !sink_.fill(' ', fill)) return GL_E2BIG;
        if (!sink_.write(s, extent.units)) return GL_E2BIG;
        if (extent.error != 0) return extent.error;
        return !left || fill == 0 || sink_.fill(' ', fill) ? 0 : GL_E2BIG;
    }

    // A text of no other characters that has its room. False where nothing is written.
    bool put_single_bytes(const FormatConversion &conversion, const char *s, int limit) {
        const int count = text_.single_bytes(s, limit), fill = std::max(conversion.width.value - count, 0);
        if (sink_.unit() != 1 || (count < limit && s[count] != '\0')) return false;
        char *const at = sink_.claim(count, fill);
        if (at == nullptr) return false;
        const bool left = (conversion.flags & LEFT) != 0;
        if (fill > 0) memset(left ? at + count : at, ' ', static_cast<size_t>(fill));
        if (count > 0) memcpy(left ? at : at + fill, s, static_cast<size_t>(count));
        return true;
    }

    int print_string(const FormatConversion &conversion, const void *string) {
        const bool with_columns = (conversion.flags & COLUMNS) != 0;
        const int limit = conversion.precision.value >= 0 ? conversion.precision.value : INT_MAX;
        if (string == nullptr) {
            constexpr char NONE[] = "(null)";
            Number text;
            text.digits = conversion.precision.value < 0 || limit >= static_cast<int>(sizeof NONE) - 1 ? NONE : "";
            text.may_fill = false;
            return print_number(conversion, text, false);
        }
        if (conversion.letter == 'S' || conversion.length == Length::LONG) {
            const auto *ws = static_cast<const gl_wchar *>(string);
            return print_text(conversion, ws, sink_.measure(ws, limit, with_columns));
        }
        const auto *s = static_cast<const char *>(string);
        if constexpr (sizeof(Unit) == 1)
            if (!with_columns && put_single_bytes(conversion, s, limit)) return 0;
        return print_text(conversion, s, sink_.measure(s, limit, with_columns));
    }

    int print_character(const FormatConversion &conversion, int value) {
        const bool is_wide = conversion.letter == 'C' || conversion.length == Length::LONG;
        auto wc = is_wide ? static_cast<gl_wchar>(value) : static_cast<unsigned char>(value);
        if (!is_wide && served_by_extension(text_.locale(), GL_CAT_CTYPE)) { // which has values of its own
            const char byte[] = {static_cast<char>(value), '\0'};
            const Step step = MultibyteString(text_.locale()).step(byte, 1);
            if (step.length < 0) return GL_EILSEQ;
            wc = step.value;
        }
        Unit units[MAX_KEY];
        Extent extent;
        if (const int error = sink_.encoded(wc, (conversion.flags & COLUMNS) != 0, units, extent); error != 0) return error;
        const int64_t fill = padding(conversion, extent);
        const bool left = (conversion.flags & LEFT) != 0;
        if (!left && fill > 0 && !sink_.fill(' ', fill)) return GL_E2BIG;
        if (!sink_.character(units, static_cast<int>(extent.units))) return GL_E2BIG;
        return !left || fill == 0 || sink_.fill(' ', fill) ? 0 : GL_E2BIG;
    }

    const Text text_;
    PrintSink<Text> sink_;
    ArgumentList &arguments_;
    PositionedArguments *collected_ = nullptr; // none unless they have positions
};

template <class Text, class Unit> int print(gl_locale *locale, Unit *out, int room, const Unit *format, va_list list) {
    if (out == nullptr || format == nullptr) return fail(locale, GL_ENULLPTR, -1);
    ArgumentList arguments;
    va_copy(arguments.list, list);
    Printer<Text> printer(locale, out, room, arguments);
    const int error = printer.print(format);
    va_end(arguments.list);
    return error == 0 ? printer.written(out) : fail(locale, error, -1);
}

} // namespace

int gl_vmbsprintf(gl_locale *locale, char *out, int room, const char *format, va_list list) {
    return print<MultibyteString>(locale, out, room, format, list);
}
int gl_vwcsprintf(gl_locale *locale, gl_wchar *out, int room, const gl_wchar *format, va_list list) {
    return print<WideString>(locale, out, room, format, list);
}

int gl_mbsprintf(gl_locale *locale, char *out, int room, const char *format, ...) {
    va_list list;
    va_start(list, format);
    const int result = gl_vmbsprintf(locale, out, room, format, list);
    va_end(list);
    return result;
}
int gl_wcsprintf(gl_locale *locale, gl_wchar *out, int room, const gl_wchar *format, ...) {
    va_list list;
    va_start(list, format);
    const int result = gl_vwcsprintf(locale, out, room, format, list);
    va_end(list);
    return result;
}
