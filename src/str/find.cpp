#include "str/find.h"

#include "mbwc/ranges.h"
#include "str/two_way.h"

#include <emmintrin.h>

namespace qbgl {

namespace {

// Which bytes are the first of a character, asked from the text's beginning to its end. The bytes are told apart as far as is
// asked.
class Boundaries {
  public:
    Boundaries(const MultibyteString &text, const char *s) : text_(text), known_(s) {}

    // Bytes that are no character are told, and then nothing begins behind them.
    bool has(const char *place) {
        if (text_.has_leads()) return has_by_leads(place);
        while (known_ < place && !bad_) {
            const int length = text_.step(known_).length;
            if (length <= 0) {
                bad_ = true;
                set_error(text_.locale(), GL_EILSEQ);
            } else {
                known_ += length;
            }
        }
        return known_ == place && !bad_;
    }
    const char *known() const { return known_; }
    bool bad() const { return bad_; }

  private:
    // Behind a byte that leads none a character begins, and the leads behind it go in pairs.
    bool has_by_leads(const char *place) {
        const char *at = place;
        while (at > known_ && text_.is_lead(at[-1])) --at;
        const bool begins = (place - at) % 2 == 0;
        known_ = begins ? place : place + 1;
        return begins;
    }

    const MultibyteString &text_;
    const char *known_; // a character begins here
    bool bad_ = false;
};

// The end of a text, told character by character; null with the error number for bytes that are none.
const char *end_of_text(const MultibyteString &text, const char *s) {
    if (text.terminator_length() == 1) return s + strlen(s);
    for (;;) {
        const int length = text.step(s).length;
        if (length == 0) return s;
        if (length < 0) return fail(text.locale(), GL_EILSEQ, nullptr);
        s += length;
    }
}

const char *find_from(const MultibyteString &text, Boundaries &boundaries, const char *from, const char *needle, size_t length) {
    const char *const end = end_of_text(text, from);
    if (end == nullptr) return nullptr;
    const auto *found = Needle<uint8_t>(as_bytes(needle), length).find_in(as_bytes(from), as_bytes(end), [&](const uint8_t *at) {
        return boundaries.has(as_text(at)) || boundaries.bad();
    });
    return found != nullptr && !boundaries.bad() ? as_text(found) : nullptr;
}

// The platform's searches are the fastest. Its strstr may take the product of the lengths; what is long is looked for in windows,
// so that what follows an early find is not looked at.
const char *find_bytes(const char *from, const char *needle, size_t length) {
    constexpr size_t SHORT = 64, WINDOW = 1 << 14;
    if (length == 1) return strchr(from, *needle);
    if (length <= SHORT) return strstr(from, needle);
    const size_t window = std::max(WINDOW, length), most = window + length;
    for (;; from += window) {
        const size_t size = strnlen(from, most);
        const void *const found = memmem(from, size, needle, length);
        if (found != nullptr || size < most) return static_cast<const char *>(found);
    }
}

} // namespace

const char *find(const MultibyteString &text, const char *s, const char *needle, size_t length) {
    if (length == 0) return s;
    Boundaries boundaries(text, s);
    if (text.terminator_length() != 1) return find_from(text, boundaries, s, needle, length);
    // The search begins anew behind a place within a character, which must not happen often.
    int restarts = length <= MAX_KEY ? INT32_MAX : 16;
    for (const char *from = s;; ++from) {
        from = find_bytes(from, needle, length);
        if (from == nullptr || text.is_self_synchronising() || boundaries.has(from)) return from;
        if (boundaries.bad()) return nullptr;
        if (--restarts == 0) return find_from(text, boundaries, from + 1, needle, length);
    }
}

namespace {

__m128i load(const gl_wchar *at) { return _mm_loadu_si128(reinterpret_cast<const __m128i *>(at)); }

// The first place in [at, end) whose character is `first`, with `second` behind it unless that is 0; `end` when there is none. The
// character at `end` may be read.
const gl_wchar *find_pair(const gl_wchar *at, const gl_wchar *end, gl_wchar first, gl_wchar second) {
    constexpr int LANES = 4;
    const __m128i firsts = _mm_set1_epi32(static_cast<int>(first)), seconds = _mm_set1_epi32(static_cast<int>(second));
    const __m128i any = second == 0 ? _mm_set1_epi32(-1) : _mm_setzero_si128();
    for (; end - at >= LANES; at += LANES) {
        const __m128i pairs =
            _mm_and_si128(_mm_cmpeq_epi32(load(at), firsts), _mm_or_si128(_mm_cmpeq_epi32(load(at + 1), seconds), any));
        if (const int lanes = _mm_movemask_epi8(pairs); lanes != 0) return at + __builtin_ctz(static_cast<unsigned>(lanes)) / LANES;
    }
    while (at < end && (at[0] != first || (second != 0 && at[1] != second))) ++at;
    return at;
}

} // namespace

// Window by window, so that what follows an early find is not looked at. Comparisons that go far without finding anything are the
// work of periodic texts, for which there is the other way.
const gl_wchar *find(const WideString &, const gl_wchar *s, const gl_wchar *needle, size_t length) {
    if (length == 0) return s;
    constexpr ptrdiff_t WINDOW = 1024;
    size_t compared = 0;
    for (const gl_wchar *from = s;;) {
        const gl_wchar *const end = find_zero(from, WINDOW);
        while ((from = find_pair(from, end, needle[0], length > 1 ? needle[1] : 0)) != end) {
            size_t same = 1;
            while (same < length && from[same] == needle[same]) ++same;
            if (same == length) return from;
            compared += same;
            ++from;
            if (compared > static_cast<size_t>(from - s) + 2 * WINDOW)
                return Needle<gl_wchar>(needle, length).find_in(from, find_zero(from, INT32_MAX), [](auto) { return true; });
        }
        if (*end == 0) return nullptr;
    }
}

} // namespace qbgl
