// Where printing writes: the caller's room, in whole characters, a terminator kept free.
#pragma once

#include "ctype/case.h"
#include "info/traits.h"
#include "mbwc/ranges.h"
#include "str/text.h"

#include <algorithm>

namespace qbgl {

// What a text comes to in the output.
struct Extent {
    int64_t units = 0, columns = 0; // columns only where they are asked for
    int error = 0;
};

inline int columns_of(gl_locale *locale, gl_wchar wc) {
    if (served_by_extension(locale, GL_CAT_CTYPE)) return std::max(gl_wcwidth(locale, wc), 0);
    const uint8_t traits = WideTraits(locale).of(wc);
    return (traits & HAS_WIDTH) == 0 ? 0 : (traits & HAS_TWO_COLUMNS) != 0 ? 2 : 1;
}

template <class Text> class PrintSinkBase {
  public:
    using Unit = typename Text::Unit;

    PrintSinkBase(const Text &text, Unit *out, int room) : text_(text), out_(out), left_(room - text.terminator_length()) {}

    const Text &text() const { return text_; }
    bool has_room() const { return left_ >= 0; }
    int written(const Unit *begin) const { return static_cast<int>(out_ - begin); }
    void terminate() { text_.put_terminator(out_); }

    // Room for two parts of so many units, which the caller fills; null where there is less left.
    Unit *claim(int length, int more) {
        if (length > left_ || more > left_ - length) return nullptr;
        Unit *const begin = out_;
        advance(length + more);
        return begin;
    }

    // False when the room ends; what fits is there.
    bool character(const Unit *s, int length) {
        if (length > left_) return false;
        out_[0] = s[0];
        for (int i = 1; i < length; ++i) out_[i] = s[i];
        advance(length);
        return true;
    }

  protected:
    void advance(int length) {
        out_ += length;
        left_ -= length;
    }

    const Text &text_;
    Unit *out_;
    int left_;
};

template <class Text> class PrintSink;

template <> class PrintSink<MultibyteString> : public PrintSinkBase<MultibyteString> {
  public:
    using PrintSinkBase::PrintSinkBase;

    int unit() const { return std::max(text_.terminator_length(), 1); } // bytes of an ASCII character

    bool ascii(const char *s, int length) {
        if (unit() == 1) {
            const int fits = std::min(length, left_);
            memcpy(out_, s, static_cast<size_t>(fits));
            advance(fits);
            return fits == length;
        }
        for (int i = 0; i < length; ++i)
            if (!fill(s[i], 1)) return false;
        return true;
    }
    bool fill(char c, int64_t count) {
        const auto fits = static_cast<int>(std::min<int64_t>(count, left_ / unit()));
        memset(out_, unit() == 1 ? c : 0, static_cast<size_t>(fits) * static_cast<size_t>(unit()));
        if (unit() > 1)
            for (int i = 1; i <= fits; ++i) out_[i * unit() - 1] = c;
        advance(fits * unit());
        return fits == count;
    }

    // The characters of a text of at most `limit` bytes.
    Extent measure(const char *s, int limit, bool with_columns) const {
        Extent extent;
        if (!with_columns) extent.units = text_.single_bytes(s, limit);
        while (extent.units < limit) {
            const Step step =
                text_.step(s + extent.units, static_cast<ptrdiff_t>(std::min<int64_t>(limit - extent.units, MAX_KEY + 1)));
            if (step.length == BAD) extent.error = GL_EILSEQ;
            if (step.length <= 0) break;
            extent.units += step.length;
            if (with_columns) extent.columns += columns_of(text_.locale(), step.value);
        }
        return extent;
    }
    bool write(const char *s, int64_t units) {
        if (units <= left_) {
            memcpy(out_, s, static_cast<size_t>(units));
            advance(static_cast<int>(units));
            return true;
        }
        for (int length; (length = text_.step(s).length) <= left_; s += length) character(s, length);
        return false;
    }
    Extent measure(const gl_wchar *ws, int limit, bool with_columns) const {
        Extent extent;
        char bytes[MAX_KEY];
        for (; extent.units < limit && *ws != 0; ++ws) {
            const int length = encode_character(*ws, bytes);
            if (length < 1) {
                extent.error = GL_EILSEQ;
                break;
            }
            if (extent.units + length > limit) break;
            extent.units += length;
            if (with_columns) extent.columns += columns_of(text_.locale(), *ws);
        }
        return extent;
    }
    bool write(const gl_wchar *ws, int64_t units) {
        char bytes[MAX_KEY];
        for (int length; units > 0; units -= length) {
            length = encode_character(*ws++, bytes);
            if (!character(bytes, length)) return false;
        }
        return true;
    }

    int encode_character(gl_wchar wc, char *bytes) const {
        gl_locale *const locale = text_.locale();
        if (wc == 0) return text_.put_terminator(bytes), text_.terminator_length();
        if (served_by_extension(locale, GL_CAT_CTYPE)) return gl_full_wctomb(locale, bytes, wc);
        if (locale->single_byte != 0) {
            *bytes = static_cast<char>(wc);
            return wc <= UINT8_MAX ? 1 : BAD;
        }
        return encode(*locale->ctype.codeset_table, reinterpret_cast<uint8_t *>(bytes), wc);
    }
    // A value that is a character; false with the error number otherwise.
    int encoded(gl_wchar wc, bool with_columns, char (&bytes)[MAX_KEY], Extent &extent) const {
        const int length = encode_character(wc, bytes);
        if (length < 1) return GL_EILSEQ;
        extent.units = length;
        if (with_columns) extent.columns = columns_of(text_.locale(), wc);
        return 0;
    }
};

template <> class PrintSink<WideString> : public PrintSinkBase<WideString> {
  public:
    using PrintSinkBase::PrintSinkBase;

    static int unit() { return 1; }

    bool ascii(const char *s, int length) {
        const int fits = std::min(length, left_);
        for (int i = 0; i < fits; ++i) out_[i] = static_cast<unsigned char>(s[i]);
        advance(fits);
        return fits == length;
    }
    bool fill(char c, int64_t count) {
        const auto fits = static_cast<int>(std::min<int64_t>(count, left_));
        std::fill_n(out_, fits, static_cast<unsigned char>(c));
        advance(fits);
        return fits == count;
    }

    // At most `limit` characters.
    Extent measure(const char *s, int limit, bool with_columns) const {
        Extent extent;
        const MultibyteString bytes(text_.locale());
        for (; extent.units < limit; ++extent.units) {
            const Step step = bytes.step(s);
            if (step.length < 0) extent.error = GL_EILSEQ;
            if (step.length <= 0) break;
            s += step.length;
            if (with_columns) extent.columns += columns_of(text_.locale(), step.value);
        }
        return extent;
    }
    bool write(const char *s, int64_t units) {
        const MultibyteString bytes(text_.locale());
        for (; units > 0; --units) {
            const Step step = bytes.step(s);
            if (!character(&step.value, 1)) return false;
            s += step.length;
        }
        return true;
    }
    Extent measure(const gl_wchar *ws, int limit, bool with_columns) const {
        Extent extent;
        for (; extent.units < limit && ws[extent.units] != 0; ++extent.units)
            if (with_columns) extent.columns += columns_of(text_.locale(), ws[extent.units]);
        return extent;
    }
    bool write(const gl_wchar *ws, int64_t units) {
        const auto fits = static_cast<int>(std::min<int64_t>(units, left_));
        if (fits > 0) memcpy(out_, ws, static_cast<size_t>(fits) * sizeof *ws);
        advance(fits);
        return fits == units;
    }
    int encoded(gl_wchar wc, bool with_columns, gl_wchar (&units)[MAX_KEY], Extent &extent) const {
        units[0] = wc;
        extent.units = 1;
        if (with_columns) extent.columns = columns_of(text_.locale(), wc);
        return 0;
    }
};

} // namespace qbgl
