// Formatted printing.
#include "libn/grouping.h"
#include "print/arguments.h"
#include "print/digits.h"
#include "print/sink.h"

using namespace qbgl;

namespace {

// The kind of a conversion's argument; NONE for what is no conversion.
Kind kind_of(const Conversion &conversion) {
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
            Conversion conversion;
            if (const int error = read_conversion(in, conversion); error != 0) return error;
            if (first && conversion.position != 0) {
                positioned_ = true;
                if (const int error = collect(begin); error != 0) return error;
            }
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
            Conversion conversion;
            if (const int error = read_conversion(in, conversion); error != 0) return error;
            for (const Amount *amount : {&conversion.width, &conversion.precision})
                if (amount->is_argument)
                    if (const int error = collected_.want(amount->position, Kind::INT); error != 0) return error;
            const Kind kind = kind_of(conversion);
            if (kind == Kind::NONE) return GL_EINVAL;
            if (const int error = collected_.want(conversion.position, kind); error != 0) return error;
        }
        return in.ends() ? collected_.take(arguments_) : GL_EILSEQ;
    }

    Value argument(int position, Kind kind) { return positioned_ ? collected_.at(position) : arguments_.next(kind); }

    int convert(Conversion &conversion) {
        const Kind kind = kind_of(conversion);
        if (kind == Kind::NONE) return GL_EINVAL;
        for (const int position :
             {conversion.position, conversion.width.is_argument ? conversion.width.position : conversion.position,
              conversion.precision.is_argument ? conversion.precision.position : conversion.position})
            if ((position != 0) != positioned_) return GL_EINVAL;
        if (conversion.width.is_argument) {
            const auto width = static_cast<int>(argument(conversion.width.position, Kind::INT).integer);
            if (width == INT_MIN) return GL_EINVAL;
            if (width < 0) conversion.flags |= LEFT;
            conversion.width.value = width < 0 ? -width : width;
        }
        if (conversion.precision.is_argument)
            conversion.precision.value = std::max(static_cast<int>(argument(conversion.precision.position, Kind::INT).integer), -1);
        const Value value = argument(conversion.position, kind);
        switch (kind) {
        case Kind::INT:
            if (conversion.letter == 'c' || conversion.letter == 'C') return print_character(conversion, value);
            [[fallthrough]];
        case Kind::LONG:
        case Kind::LONG_LONG: return print_integer(conversion, kind, value.integer);
        case Kind::DOUBLE: return print_double(conversion, value.real);
        case Kind::LONG_DOUBLE: return print_long_double(conversion, value.long_real);
        default:
            return conversion.letter == 'p' ? print_pointer(conversion, value.pointer) : print_string(conversion, value.pointer);
        }
    }

    int print_integer(const Conversion &conversion, Kind kind, long long value) {
        const bool is_signed = conversion.letter == 'd' || conversion.letter == 'i';
        switch (conversion.length) {
        case Length::CHAR: value = is_signed ? static_cast<signed char>(value) : static_cast<unsigned char>(value); break;
        case Length::SHORT: value = is_signed ? static_cast<short>(value) : static_cast<unsigned short>(value); break;
        default:
            if (!is_signed && kind == Kind::INT) value = static_cast<unsigned>(value);
            if (!is_signed && kind == Kind::LONG) value = static_cast<long long>(static_cast<unsigned long>(value));
        }
        const bool negative = is_signed && value < 0;
        const auto bits = static_cast<uint64_t>(value);
        IntegerText room;
        const bool groups = is_signed || conversion.letter == 'u';
        if (groups && conversion.flags == 0 && conversion.width.value < 0 && conversion.precision.value < 0) {
            char *const end = room + sizeof room, *begin = decimal(end, negative ? 0 - bits : bits);
            if (negative) *--begin = '-';
            return put({begin, static_cast<size_t>(end - begin)}) ? 0 : GL_E2BIG;
        }
        return print_number(conversion, integer_number(conversion, negative ? 0 - bits : bits, negative, room), groups);
    }

    [[gnu::noinline]] int print_double(const Conversion &conversion, double value) {
        DoubleText room;
        return print_number(conversion, real_number(conversion, value, room), true);
    }
    [[gnu::noinline]] int print_long_double(const Conversion &conversion, long double value) {
        LongDoubleText room;
        return print_number(conversion, real_number(conversion, value, room), true);
    }

    int print_pointer(Conversion &conversion, const void *pointer) {
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
    int64_t padding(const Conversion &conversion, const Extent &extent) const {
        const int64_t width = conversion.width.value;
        if ((conversion.flags & COLUMNS) != 0) return std::max<int64_t>(width - extent.columns, 0);
        return std::max<int64_t>((width - extent.units) / sink_.unit(), 0);
    }

    int print_number(const Conversion &conversion, const Number &number, bool groups) {
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

    template <class Source> int print_text(const Conversion &conversion, const Source *s, const Extent &extent) {
        const int64_t fill = padding(conversion, extent);
        const bool left = (conversion.flags & LEFT) != 0;
        if (!left && fill > 0 && !sink_.fill(' ', fill)) return GL_E2BIG;
        if (!sink_.write(s, extent.units)) return GL_E2BIG;
        if (extent.error != 0) return extent.error;
        return !left || fill == 0 || sink_.fill(' ', fill) ? 0 : GL_E2BIG;
    }

    int print_string(const Conversion &conversion, const void *string) {
        const bool with_columns = (conversion.flags & COLUMNS) != 0;
        const int64_t limit = conversion.precision.value >= 0 ? conversion.precision.value : INT_MAX;
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
        return print_text(conversion, s, sink_.measure(s, limit, with_columns));
    }

    int print_character(const Conversion &conversion, Value value) {
        const bool is_wide = conversion.letter == 'C' || conversion.length == Length::LONG;
        const auto wc = is_wide ? static_cast<gl_wchar>(value.integer) : static_cast<unsigned char>(value.integer);
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
    Sink<Text> sink_;
    ArgumentList &arguments_;
    bool positioned_ = false;
    PositionedArguments collected_;
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
    return print<MultibyteText>(locale, out, room, format, list);
}
int gl_vwcsprintf(gl_locale *locale, gl_wchar *out, int room, const gl_wchar *format, va_list list) {
    return print<WideText>(locale, out, room, format, list);
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
