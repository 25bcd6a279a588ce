// Trailing blanks of multibyte text.
#include "ext/error.h"
#include "len/text_walk.h"
#include "qbnxdl/entry_points.h"
#include "qbnxdl/served.h"

#include <algorithm>

using namespace qbgl;

namespace {

// A text without the blanks at its end.
struct Rest {
    const uint8_t *end;      // where the blanks begin
    int characters;          // before that
    const uint8_t *text_end; // the same place when there are no blanks
};

// Follows a text from one character to the next.
class BlankFinder {
  public:
    explicit BlankFinder(const uint8_t *begin) : rest_{begin, 0, begin} {}

    void take(const uint8_t *behind, bool is_blank) {
        ++characters_;
        rest_.text_end = behind;
        if (is_blank) return;
        rest_.end = behind;
        rest_.characters = characters_;
    }
    const Rest &rest() const { return rest_; }

  private:
    Rest rest_;
    int characters_ = 0;
};

Rest single_byte_rest(const uint16_t *classes, const uint8_t *begin, size_t length) {
    size_t rest = length;
    while (rest > 0 && (classes[begin[rest - 1]] & (GL_CLASS_BLANK | GL_CLASS_CNTRL)) == GL_CLASS_BLANK) --rest;
    return {begin + rest, static_cast<int>(rest), begin + length};
}

constexpr int TERMINATED = -1;

// False with the error number for bytes that are no character.
bool multibyte_rest(gl_locale *locale, const char *s, int len, Rest &rest) {
    return with_text_walk(locale, [=, &rest](const auto &text) {
        const uint8_t *at = as_bytes(s), *const end = len != TERMINATED ? at + len : nullptr;
        BlankFinder finder(at);
        const auto goes_on = [&](const uint8_t *place) { return end != nullptr ? place < end : !text.ends_at(place); };
        const auto take = [&](gl_wchar wc, const uint8_t *behind) {
            finder.take(behind, gl_iswblank(locale, wc) != 0 && gl_iswcntrl(locale, wc) == 0);
            return true;
        };
        const int walked = text.walk(at, end, goes_on, take);
        rest = finder.rest();
        if (walked > 0) return true;
        set_error(locale, walked == CUT ? GL_EINVAL : GL_EILSEQ);
        return false;
    });
}

// What a locale tells of characters that are not of its tables: `length_of` gives the bytes of the one at a place of which at most
// so many may be read.
template <class LengthOf> bool asked_rest(gl_locale *locale, const char *s, int len, Rest &rest, LengthOf length_of) {
    const char *at = s, *const end = len != TERMINATED ? s + len : nullptr;
    BlankFinder finder(as_bytes(s));
    while (end != nullptr ? at < end : gl_ismbsterm(locale, at) == 0) {
        const int length = length_of(at, end != nullptr ? static_cast<int>(end - at) : MAX_KEY);
        if (length < 0) return false;
        const int bytes = std::max(length, 1); // it may give none to a NUL character
        const auto is_in = [&](unsigned mask) { return _qbx_gl_im_ismctype(locale, at, bytes, mask) != 0; };
        const bool blank = is_in(GL_CLASS_BLANK) && !is_in(GL_CLASS_CNTRL);
        at += bytes;
        finder.take(as_bytes(at), blank);
    }
    rest = finder.rest();
    return true;
}

// Steps as text is stepped through: in a single-byte codeset by bytes, whatever they are.
bool rest_by_steps(gl_locale *locale, const char *s, Rest &rest) {
    if (locale->classes != nullptr) {
        rest = single_byte_rest(locale->classes, as_bytes(s), strlen(s));
        return true;
    }
    if (!served_by_extension(locale, GL_CAT_CTYPE)) return multibyte_rest(locale, s, TERMINATED, rest);
    return asked_rest(locale, s, TERMINATED, rest, [locale](const char *at, int) {
        if (locale->single_byte != 0) return 1;
        const char *next = gl_full_mbsnext(locale, at);
        return next != nullptr ? static_cast<int>(next - at) : -1;
    });
}

// Measures each character: what is none has no length, in terminated text of single bytes, too.
bool rest_by_lengths(gl_locale *locale, const char *s, int len, Rest &rest) {
    if (locale->classes != nullptr) {
        const CodesetMaps *maps = maps_of(locale);
        if (len != TERMINATED || (maps != nullptr && maps->all_single)) {
            rest = single_byte_rest(locale->classes, as_bytes(s), len != TERMINATED ? static_cast<size_t>(len) : strlen(s));
            return true;
        }
    }
    if (!served_by_extension(locale, GL_CAT_CTYPE)) return multibyte_rest(locale, s, len, rest);
    return asked_rest(locale, s, len, rest, [locale](const char *at, int limit) { return _qbx_gl_full_mblen(locale, at, limit); });
}

int rest_bytes(gl_locale *locale, const char *s, int len) {
    Rest rest;
    return rest_by_lengths(locale, s, len, rest) ? static_cast<int>(rest.end - as_bytes(s)) : -1;
}

} // namespace

int gl_mbsntslen(gl_locale *locale, const char *s) {
    if (s == nullptr) return fail(locale, GL_ENULLPTR, -1);
    Rest rest;
    return rest_by_steps(locale, s, rest) ? rest.characters : -1;
}

int gl_mbsntsbytes(gl_locale *locale, const char *s) {
    if (s == nullptr) return fail(locale, GL_ENULLPTR, -1);
    if (served_by_extension(locale, GL_CAT_CTYPE))
        return ask_extension(locale, GL_CAT_CTYPE, fn_glu_mbsntsbytes, -1, locale->glu_handle[GL_CAT_CTYPE], s, TERMINATED);
    return rest_bytes(locale, s, TERMINATED);
}

int _qbx_gl_mbsntsbytes(gl_locale *locale, const char *s, int len) {
    if (len < -1) return fail(locale, GL_EBADARG, -1);
    if (len == 0) return 0;
    return s != nullptr ? rest_bytes(locale, s, len) : fail(locale, GL_ENULLPTR, -1);
}

char *gl_mbsp(gl_locale *locale, const char *s) {
    if (s == nullptr) {
        set_error(locale, GL_ENULLPTR);
        return nullptr;
    }
    Rest rest;
    return rest_by_steps(locale, s, rest) && rest.end != rest.text_end ? as_text(rest.end) : nullptr;
}

char *gl_mbsntstrunc(gl_locale *locale, char *s) {
    char *blanks = gl_mbsp(locale, s);
    if (blanks != nullptr) gl_mbsterm(locale, blanks);
    return blanks;
}
