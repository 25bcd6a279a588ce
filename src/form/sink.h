// Where formatted text is written: a room of the caller's, never filled beyond its end, nor with a part of a character.
#pragma once

#include "ext/error.h"
#include "form/text.h"
#include "util/digit_pairs.h"

#include <algorithm>
#include <stddef.h>
#include <stdint.h>
#include <string.h>

namespace qbgl {

enum class Letters { AS_THEY_ARE, UPPER, LOWER };

// Once something did not fit, nothing more is written.
template <class Unit> class Sink {
  public:
    Sink(gl_locale *locale, Unit *out, int room) : locale_(locale), begin_(out), at_(out), plain_(has_plain_ascii(locale)) {
        const int terminator = IS_WIDE ? 1 : locale->ctype.codeset_table->min_length;
        full_ = room < terminator;
        // No more than there are addresses: a host may say that any room is enough.
        const size_t most = std::min<size_t>(PTRDIFF_MAX, UINTPTR_MAX - reinterpret_cast<uintptr_t>(out)) / sizeof(Unit);
        end_ = full_ ? out : out + (std::min(static_cast<size_t>(room), most) - static_cast<size_t>(terminator));
        for (int i = 0; i < terminator && !full_; ++i) out[i] = Unit{};
    }

    // Units of an ASCII character.
    int unit() const { return IS_WIDE || plain_ ? 1 : locale_->ctype.codeset_table->min_length; }
    bool full() const { return full_; }
    int length() const { return static_cast<int>(at_ - begin_); }
    // Ends the text, for which there is always room: the length, or -1 with GL_E2BIG.
    int finish(int room) {
        const int terminator = IS_WIDE ? 1 : locale_->ctype.codeset_table->min_length;
        if (room >= terminator) std::fill_n(at_, terminator, Unit{});
        return full_ ? fail(locale_, GL_E2BIG, -1) : length();
    }

    // False when it does not fit, as of all that follow.
    bool ascii(char c) {
        if (IS_WIDE || plain_) {
            if (at_ == end_ || full_) return is_full();
            *at_++ = static_cast<Unit>(static_cast<uint8_t>(c));
            return true;
        }
        return character(static_cast<uint8_t>(c));
    }
    bool two_digits(unsigned value) {
        if (!(IS_WIDE || plain_) || end_ - at_ < 2 || full_)
            return ascii(static_cast<char>('0' + value / 10)) && ascii(static_cast<char>('0' + value % 10));
        at_[0] = static_cast<Unit>(DIGIT_PAIRS.of[value][0]);
        at_[1] = static_cast<Unit>(DIGIT_PAIRS.of[value][1]);
        at_ += 2;
        return true;
    }
    bool ascii(const char *text, int length) {
        if ((IS_WIDE || plain_) && end_ - at_ >= length && !full_) {
            for (int i = 0; i < length; ++i) at_[i] = static_cast<Unit>(static_cast<uint8_t>(text[i]));
            at_ += length;
            return true;
        }
        for (; length > 0; --length)
            if (!ascii(*text++)) return false;
        return true;
    }
    bool repeat(char c, int64_t count) {
        for (; count > 0; --count)
            if (!ascii(c)) return false;
        return true;
    }

    bool character(gl_wchar wc) {
        if constexpr (IS_WIDE) {
            if (at_ == end_ || full_) return is_full();
            *at_++ = wc;
            return true;
        } else {
            if (plain_ && wc != 0 && wc < NO_ASCII) return ascii(static_cast<char>(wc));
            char bytes[LONGEST];
            const int length = gl_wctomb(locale_, bytes, wc);
            if (length < 0) return false;
            return units(bytes, std::max(length, 1));
        }
    }
    // One character, as its bytes.
    bool units(const Unit *from, int count) {
        if (count > end_ - at_ || full_) return is_full();
        at_ = std::copy_n(from, count, at_);
        return true;
    }
    // Where the next unit goes and where the last one may, for ASCII characters that the caller writes; there is no room where they
    // are not single units, or once something did not fit.
    Unit *at() const { return at_; }
    Unit *end() const { return (IS_WIDE || plain_) && !full_ ? end_ : at_; }
    void go_to(Unit *at) { at_ = at; }

    // A text of the locale's.
    bool text(const char *from, Letters letters = Letters::AS_THEY_ARE) {
        if (from == nullptr) return true;
        if constexpr (!IS_WIDE)
            if (letters == Letters::AS_THEY_ARE && plain_ && !full_) {
                const size_t length = strnlen(from, static_cast<size_t>(end_ - at_) + 1);
                if (length <= static_cast<size_t>(end_ - at_)) {
                    memcpy(at_, from, length);
                    at_ += length;
                    return true;
                }
            }
        Text<char> characters(locale_, from);
        for (gl_wchar wc;; characters.advance()) {
            if (!characters.peek(wc)) return false;
            if (wc == 0) return true;
            if (letters != Letters::AS_THEY_ARE) wc = letters == Letters::UPPER ? upper(wc) : lower(wc);
            if (!character(wc)) return false;
        }
    }

    // Puts characters before what has been written since it had `start` units, so that it has `width`.
    bool pad(int start, int32_t width, char with) {
        const int written = length() - start;
        if (written >= width) return true;
        const int unit = this->unit();
        const int64_t count = (int64_t{width} - written) / unit, room = (end_ - at_) / unit;
        if (count > room || full_) { // what is there counts from the front
            at_ = begin_ + start;
            repeat(with, count);
            return is_full();
        }
        memmove(static_cast<void *>(begin_ + start + count * unit), begin_ + start, static_cast<size_t>(written) * sizeof(Unit));
        at_ = begin_ + start;
        repeat(with, count);
        at_ += written;
        return true;
    }

    gl_wchar upper(gl_wchar wc) const {
        if (locale_->upper != nullptr) return wc < 256 ? locale_->upper[wc] : wc;
        return gl_towupper(locale_, wc);
    }
    gl_wchar lower(gl_wchar wc) const {
        if (locale_->lower != nullptr) return wc < 256 ? locale_->lower[wc] : wc;
        return gl_towlower(locale_, wc);
    }

  private:
    static constexpr bool IS_WIDE = sizeof(Unit) == sizeof(gl_wchar);
    static constexpr int LONGEST = 4;

    bool is_full() {
        full_ = true;
        return false;
    }

    gl_locale *locale_;
    Unit *begin_, *at_, *end_;
    bool plain_, full_;
};

} // namespace qbgl
