// Multibyte and wide text behind one face, so that each function of texts is written once.
//
// A text hands out its characters by step(): the value and the units that it takes, no units at the terminator, BAD for bytes that
// are no character, ENDS_EARLY for the beginning of one that the limit cuts. Nothing behind a terminator is read.
#pragma once

#include "ext/error.h"
#include "len/text_walk.h"
#include "qbnxdl/served.h"

namespace qbgl {

struct Step {
    gl_wchar value;
    int length; // units, 0 at the terminator
};
inline constexpr int BAD = -1, ENDS_EARLY = -2;

class MultibyteString {
  public:
    using Unit = char;

    explicit MultibyteString(gl_locale *locale)
        : locale_(locale), maps_(served_by_extension(locale, GL_CAT_CTYPE) ? nullptr : maps_of(locale)),
          terminator_(locale->ctype.codeset_table->min_length),
          single_byte_(locale->single_byte != 0 && !served_by_extension(locale, GL_CAT_CTYPE)) {}

    gl_locale *locale() const { return locale_; }
    int terminator_length() const { return terminator_; }
    bool is_single_byte() const { return single_byte_; }
    const CodesetMaps *maps() const { return maps_; } // null where they do not tell
    // Not more than `limit` units are read, of which there is one at least.
    Step step(const char *s, ptrdiff_t limit = MAX_KEY) const {
        const uint8_t *const at = as_bytes(s);
        if (single_byte_) return {*at, *at != 0 ? 1 : 0};
        if (maps_ != nullptr) {
            if (maps_->single[*at] != 0) return {*at, *at != 0 ? 1 : 0};
            if (maps_->pairs != nullptr && limit > 1) {
                const unsigned pair = static_cast<unsigned>(*at) << 8 | at[1];
                if (maps_->pairs[pair] != 0) return {pair, 2};
            } else if (maps_->shape == TextShape::CONTINUATION) {
                Step step;
                const auto take = [&](gl_wchar value, int length) { step = {value, length}; };
                if (take_plain<TextShape::CONTINUATION>(maps_->plain, at, limit, take)) return step;
            }
        }
        return step_slowly(at, limit);
    }
    // How many characters of one byte the text begins with, at most so many. Nothing behind a terminator is read.
    int single_bytes(const char *s, int limit) const {
        int count = 0;
        if (single_byte_)
            while (count < limit && s[count] != '\0') ++count;
        else if (maps_ != nullptr)
            while (count < limit && s[count] != '\0' && maps_->single[*as_bytes(s + count)] != 0) ++count;
        return count;
    }
    void put_terminator(char *s) const { memset(s, 0, static_cast<size_t>(terminator_)); }
    // Whether the bytes of a character stand nowhere but where one begins.
    bool is_self_synchronising() const {
        return single_byte_ || (maps_ != nullptr && maps_->shape == TextShape::CONTINUATION && terminator_ == 1);
    }
    // Whether a byte may have another one behind it, and no character has more.
    bool has_leads() const { return maps_ != nullptr && maps_->shape == TextShape::ONE_OR_TWO && terminator_ == 1; }
    bool is_lead(char byte) const { return is_in(maps_->leads[0], byte) || is_in(maps_->leads[1], byte); }

  private:
    static bool is_in(LeadRange range, char c) {
        const auto byte = static_cast<uint8_t>(c);
        return range.first <= byte && byte <= range.last;
    }
    Step step_slowly(const uint8_t *at, ptrdiff_t limit) const;

    gl_locale *const locale_;
    const CodesetMaps *const maps_; // null: the tables alone, or the extension
    const int terminator_;
    const bool single_byte_; // then each byte is a character, and its value; the extension has values of its own
};

// Wide values are taken as they are.
class WideString {
  public:
    using Unit = gl_wchar;

    explicit WideString(gl_locale *locale) : locale_(locale) {}

    gl_locale *locale() const { return locale_; }
    static int terminator_length() { return 1; }
    static Step step(const gl_wchar *at, ptrdiff_t = 1) { return {*at, *at != 0 ? 1 : 0}; }
    static void put_terminator(gl_wchar *at) { *at = 0; }

  private:
    gl_locale *const locale_;
};

} // namespace qbgl
