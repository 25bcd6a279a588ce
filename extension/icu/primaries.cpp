// Texts are in the order of the two characters at which they part if these have primary weights of their own, and neither's weights
// are the beginning of the other's. Of their own they are not for a character that may be the later part of a contraction, or whose
// weight depends on what is before it, nor for one that may begin such a thing, unless no later part of any follows.
#include "icu/primaries.h"

#include "icu/blocks.h"

#include <algorithm>
#include <cstring>
#include <unicode/uchar.h>
#include <unicode/utf16.h>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace qbgl::icu {
namespace {

constexpr UChar32 LAST = 0xFFFC; // behind it stand characters that ICU gives weights of its own

// Some rules have contractions of these, with letters behind them, for the headings of indexes.
bool is_heading(UChar32 value) { return value >= 0xFDD0 && value <= 0xFDEF; }
constexpr uint8_t HEADING = 0xEF; // with which they begin

constexpr int MOST_PARTS = 8; // of a character's decomposition, in UTF-16; four suffice

bool is_trail(uint8_t byte) { return (byte & 0xC0) == 0x80; }

// A character of up to three bytes that is well formed, or a length of 0.
struct Character {
    uint32_t value = 0;
    int length = 0;
};

inline Character character_at(const uint8_t *s, int32_t length) {
    if (length < 1) return {};
    if (s[0] < 0x80) return {s[0], 1};
    if (s[0] < 0xC2 || s[0] >= 0xF0 || length < 2 || !is_trail(s[1])) return {};
    if (s[0] < 0xE0) return {(s[0] & 0x1Fu) << 6 | (s[1] & 0x3Fu), 2};
    if (length < 3 || !is_trail(s[2])) return {};
    const uint32_t value = (s[0] & 0xFu) << 12 | (s[1] & 0x3Fu) << 6 | (s[2] & 0x3Fu);
    return value >= 0x800 && !U_IS_SURROGATE(value) ? Character{value, 3} : Character{};
}

// How many bytes two texts have in common.
int32_t common_prefix(const uint8_t *a, const uint8_t *b, int32_t length) {
    int32_t at = 0;
    for (size_t x, y; length - at >= static_cast<int32_t>(sizeof x); at += static_cast<int32_t>(sizeof x)) {
        memcpy(&x, a + at, sizeof x);
        memcpy(&y, b + at, sizeof y);
        if (x != y) break;
    }
    while (at < length && a[at] == b[at]) ++at;
    return at;
}

// The same, at most a block: BLOCK also where it cannot be told so.
#ifdef __SSE2__
__attribute__((no_sanitize("address"))) inline int32_t common_in_block(const uint8_t *a, const uint8_t *b, int32_t length) {
    if (length == 0) return 0;
    if (!in_page(a, BLOCK) || !in_page(b, BLOCK)) return BLOCK;
    const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i *>(a)),
                  y = _mm_loadu_si128(reinterpret_cast<const __m128i *>(b));
    return std::min(__builtin_ctz(~_mm_movemask_epi8(_mm_cmpeq_epi8(x, y))), length);
}
#else
int32_t common_in_block(const uint8_t *, const uint8_t *, int32_t) { return BLOCK; }
#endif

// Whether one of two weights that differ is the beginning of the other: what follows the one decides.
bool is_beginning(uint32_t x, uint32_t y) {
    const int differing = __builtin_clz(x ^ y) & ~7; // a byte's first bit
    return (std::min(x, y) << differing) >> 24 == 0;
}

} // namespace

Contexts::~Contexts() {
    uset_close(joined_);
    uset_close(joining_);
}

bool Contexts::open_root() {
    UErrorCode status = U_ZERO_ERROR;
    UCollator *const collator = ucol_open("root", &status);
    joined_ = uset_openEmpty();
    joining_ = uset_openEmpty();
    USet *const contractions = uset_openEmpty();
    const bool opened = U_SUCCESS(status) && joined_ != nullptr && joining_ != nullptr && contractions != nullptr;
    if (opened) ucol_getContractionsAndExpansions(collator, contractions, nullptr, true, &status);
    const bool done = opened && U_SUCCESS(status) && add(contractions);
    uset_close(contractions);
    if (collator != nullptr) ucol_close(collator);
    // A set is empty, and stays so, when memory is out.
    return done && !uset_isEmpty(joined_) && !uset_isEmpty(joining_);
}

// What its rules change has contractions among it that ICU finds sooner than all of the order; some may be lifted there.
bool Contexts::open(const Contexts &root, const UCollator *collator) {
    UErrorCode status = U_ZERO_ERROR;
    joined_ = uset_clone(root.joined_);
    joining_ = uset_clone(root.joining_);
    USet *const tailored = ucol_getTailoredSet(collator, &status);
    bool done = U_SUCCESS(status) && joined_ != nullptr && joining_ != nullptr && tailored != nullptr && add(tailored);
    if (done) {
        uset_add(tailored, 'a'); // which a set without memory refuses
        done = uset_contains(tailored, 'a') && !uset_isEmpty(joined_) && !uset_isEmpty(joining_);
    }
    uset_close(tailored);
    return done;
}

bool Contexts::add(const USet *strings) {
    UErrorCode status = U_ZERO_ERROR;
    for (int32_t i = 0; U_SUCCESS(status) && i < uset_getItemCount(strings); ++i) {
        UChar units[64];
        UChar32 from, to;
        const int32_t length = uset_getItem(strings, i, &from, &to, units, 64, &status);
        if (U_FAILURE(status) || length == 0 || is_heading(units[0])) continue;
        int32_t at = 0;
        for (USet *set = joining_; at < length; set = joined_) {
            UChar32 value;
            U16_NEXT(units, at, length, value);
            uset_add(set, value);
        }
    }
    return U_SUCCESS(status);
}

Primaries::~Primaries() {
    for (const std::atomic<Page *> &page : pages_) Owned<Page>(page.load(std::memory_order_relaxed)).reset();
}

bool Primaries::open(const UCollator *letters, const Contexts &root) {
    letters_ = letters;
    UErrorCode status = U_ZERO_ERROR;
    normalizes_ = ucol_getAttribute(letters, UCOL_NORMALIZATION_MODE, &status) == UCOL_ON;
    numeric_ = ucol_getAttribute(letters, UCOL_NUMERIC_COLLATION, &status) == UCOL_ON;
    forms_ = unorm2_getNFCInstance(&status); // without which all combining classes are 0, too
    if (U_FAILURE(status) || !contexts_.open(root, letters)) return false;
    for (uint32_t i = 0; i < 0x80; ++i) {
        const Page *const page = page_of(i);
        if (page == nullptr) return false;
        const uint32_t weight = page->weights[i % PAGE];
        if ((weight & ~WEIGHT) == 0) ascii_[i] = weight | (page->needs_next >> i % PAGE & 1) * NEEDS_NEXT;
        if (weight != 0) ascii_[i] |= MAY_FOLLOW;
    }
    return true;
}

uint32_t Primaries::weight_of(UChar32 value) const {
    if (value > LAST || U_IS_SURROGATE(value) || is_heading(value) ||
        u_getIntPropertyValue(value, UCHAR_LEAD_CANONICAL_COMBINING_CLASS) != 0 || (numeric_ && u_charDigitValue(value) >= 0))
        return 0;
    constexpr uint8_t SEPARATOR = 1;
    const UChar unit = static_cast<UChar>(value);
    uint8_t key[64];
    const int32_t size = ucol_getSortKey(letters_, &unit, 1, key, sizeof key);
    uint32_t weight = 0;
    for (int i = 0, shift = 24; shift >= 0 && i < size && key[i] > SEPARATOR; ++i, shift -= 8)
        weight |= static_cast<uint32_t>(key[i]) << shift;
    return weight;
}

// ICU may take a character for those that it is made of, and does so with Hangul.
void Primaries::fill(Page &page, UChar32 first) const {
    for (int i = 0; i < PAGE; ++i) {
        UChar32 value = first + i;
        UChar parts[MOST_PARTS];
        UErrorCode status = U_ZERO_ERROR;
        const int32_t length = unorm2_getDecomposition(forms_, value, parts, MOST_PARTS, &status);
        bool joined = U_FAILURE(status) || contexts_.may_be_joined(value), joining = normalizes_ || contexts_.may_join(value);
        for (int32_t at = 0; !joined && at < length;) {
            const bool is_first = at == 0;
            U16_NEXT(parts, at, length, value);
            joined = is_first && contexts_.may_be_joined(value);
            joining |= contexts_.may_join(value);
        }
        page.weights[i] = joined ? 0 : weight_of(first + i);
        if (joining) page.needs_next |= uint64_t{1} << i;
    }
}

// Null when memory is out.
const Primaries::Page *Primaries::page_of(uint32_t value) const {
    std::atomic<Page *> &place = pages_[value / PAGE];
    Page *known = place.load(std::memory_order_acquire);
    if (known != nullptr) [[likely]]
        return known;
    Owned<Page> page = make<Page>();
    if (!page) return nullptr;
    fill(*page, static_cast<UChar32>(value / PAGE * PAGE));
    // Another thread may have been quicker.
    return place.compare_exchange_strong(known, page.get(), std::memory_order_acq_rel) ? page.release() : known;
}

inline uint32_t Primaries::weight_at(const uint8_t *s, int32_t length) const {
    const Character one = character_at(s, length);
    if (one.length == 0) return 0;
    const Page *const page = page_of(one.value);
    if (page == nullptr) return 0;
    const uint32_t weight = page->weights[one.value % PAGE];
    if ((page->needs_next >> one.value % PAGE & 1) == 0 || one.length == length) return weight;
    const Character next = character_at(s + one.length, length - one.length);
    const Page *const page_of_next = next.length != 0 ? page_of(next.value) : nullptr;
    return page_of_next != nullptr && page_of_next->weights[next.value % PAGE] != 0 ? weight : 0;
}

// Most often the texts part at letters of ASCII.
inline int Primaries::compare_ascii(const uint8_t *a, int32_t left_of_a, const uint8_t *b, int32_t left_of_b) const {
    const uint32_t x = ascii_[a[0]], y = ascii_[b[0]];
    const uint32_t next_x = ascii_[a[left_of_a > 1]], next_y = ascii_[b[left_of_b > 1]]; // at the end itself: that may follow
    const uint32_t lacking = (x & ~(next_x / MAY_FOLLOW)) | (y & ~(next_y / MAY_FOLLOW));
    if (x <= ~WEIGHT || y <= ~WEIGHT || (lacking & NEEDS_NEXT) != 0 || ((x ^ y) & WEIGHT) == 0 ||
        is_beginning(x & WEIGHT, y & WEIGHT))
        return UNDECIDED;
    return (x > y) - (x < y);
}

int Primaries::compare(const char *s1, int32_t length1, const char *s2, int32_t length2) const {
    const auto *const a = reinterpret_cast<const uint8_t *>(s1), *const b = reinterpret_cast<const uint8_t *>(s2);
    const int32_t shorter = std::min(length1, length2);
    int32_t at = common_in_block(a, b, shorter);
    if (at == BLOCK) [[unlikely]]
        at = common_prefix(a, b, shorter);
    if (at < shorter && a[std::max(at - 3, 0)] != HEADING) [[likely]] {
        const int order = compare_ascii(a + at, length1 - at, b + at, length2 - at);
        if (order != UNDECIDED) [[likely]]
            return order;
    }
    return compare_at(a, length1, b, length2, at);
}

int Primaries::compare_at(const uint8_t *a, int32_t length1, const uint8_t *b, int32_t length2, int32_t at) const {
    if (at == length1 && at == length2) return 0;
    while (at > 0 && ((at < length1 && is_trail(a[at])) || (at < length2 && is_trail(b[at])))) --at;
    if (at >= 3 && a[at - 3] == HEADING) return UNDECIDED;
    const uint32_t x = weight_at(a + at, length1 - at), y = weight_at(b + at, length2 - at);
    if (x == y) return UNDECIDED;
    const bool settled = x != 0 && y != 0 ? !is_beginning(x, y) : x != 0 ? at == length2 : at == length1;
    if (!settled) return UNDECIDED;
    return x < y ? -1 : 1;
}

} // namespace qbgl::icu
