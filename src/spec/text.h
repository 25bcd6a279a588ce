// What the functions over locale specifications share: a bounded copy of the input, a cursor to parse it, a writer for the output,
// and how they report.
#pragma once

#include "ext/error.h"
#include "util/ascii.h"
#include "util/search.h"

#include <algorithm>
#include <string.h>
#include <string_view>

namespace qbgl {

// The outcome of a core: DONE, the number of an error, or SILENT for a failure that leaves the error number as it is.
inline constexpr int DONE = 0;
inline constexpr int SILENT = -1;

inline constexpr std::string_view EQUALS = " = ";
inline constexpr std::string_view SEPARATOR = " ; ";
inline constexpr int PLACE_LENGTH = 5; // ll_TT

class Cursor {
  public:
    explicit Cursor(const char *text = "") : at_(text) {}

    const char *position() const { return at_; }
    char peek() const { return *at_; }
    bool at_end() const { return *at_ == '\0'; }
    bool begins_with(std::string_view text) const { return strncmp(at_, text.data(), text.size()) == 0; }
    // Whether a clause's value ends here.
    bool at_value_end() const { return at_end() || begins_with(SEPARATOR); }

    bool skip(char c) {
        if (*at_ != c) return false;
        ++at_;
        return true;
    }
    bool skip(std::string_view text) {
        if (!begins_with(text)) return false;
        at_ += text.size();
        return true;
    }
    // The next `count` characters; fewer when the text ends before.
    std::string_view take(size_t count) {
        const std::string_view taken(at_, strnlen(at_, count));
        at_ += taken.size();
        return taken;
    }
    template <class Predicate> std::string_view take_while(Predicate belongs) {
        const char *start = at_;
        while (belongs(*at_)) ++at_;
        return {start, static_cast<size_t>(at_ - start)};
    }

  private:
    const char *at_;
};

// The first `count` characters, and what follows them; substr would need the C++ run-time library for its range check.
constexpr std::string_view head_of(std::string_view text, size_t count) { return {text.data(), std::min(count, text.size())}; }
constexpr std::string_view tail_of(std::string_view text, size_t count) {
    return {text.data() + std::min(count, text.size()), text.size() - std::min(count, text.size())};
}

// A run of these is a codeset name where ";" has no meaning of its own.
constexpr bool is_codeset_char(char c) { return ascii::is_graph(c) && c != '@'; }

// Takes "ll_TT", the case as written. Without a letter where one belongs it fails silently, without the underscore with GL_EINVAL;
// most callers make the same of both.
int take_place(Cursor &at, std::string_view &place);

// Takes one to four hexadecimal digits; false when there is none.
bool take_hex4(Cursor &at, uint16_t &number);

// Appends to a buffer of the caller's; each use has a documented upper bound.
class Writer {
  public:
    explicit Writer(char *out) : at_(out) {}

    char *position() const { return at_; }
    void put(char c) { *at_++ = c; }
    void put(std::string_view text) { at_ = std::copy(text.begin(), text.end(), at_); }
    void put_lower(std::string_view text) {
        for (const char c : text) put(ascii::to_lower(c));
    }
    void put_upper(std::string_view text) {
        for (const char c : text) put(ascii::to_upper(c));
    }
    void put_decimal(uint16_t number) {
        if (number >= 10) put_decimal(number / 10);
        put(static_cast<char>('0' + number % 10));
    }
    void put_hex4(uint16_t number) {
        for (int shift = 12; shift >= 0; shift -= 4) put("0123456789abcdef"[number >> shift & 0xF]);
    }
    void terminate() { *at_ = '\0'; }

  private:
    char *at_;
};

// Copies a directory and the separator mark, or nothing for a null or empty one, with a terminator. Returns where that stands.
char *pathcat_mark(char *buffer, const char *directory);

// The input of a function: at most 284 characters. It is a copy, so that the output may overwrite the original.
class WorkingCopy {
  public:
    explicit WorkingCopy(const char *text) {
        const size_t length = text != nullptr ? strnlen(text, sizeof text_) : sizeof text_;
        fits_ = length < sizeof text_;
        if (fits_) memcpy(text_, text, length + 1);
    }
    explicit operator bool() const { return fits_; }
    const char *get() const { return text_; }

  private:
    bool fits_;
    char text_[285];
};

inline int report(void *ctx, int outcome) {
    if (outcome > DONE) set_error(ctx, outcome);
    return outcome == DONE ? 0 : -1;
}

// Runs a core over the working copy of a text. A null or too long text and a null output are GL_EINVAL.
template <class Core> int over_copy(void *ctx, const char *text, const void *output, Core core) {
    const WorkingCopy copy(text);
    return report(ctx, copy && output != nullptr ? core(copy.get()) : static_cast<int>(GL_EINVAL));
}

} // namespace qbgl
