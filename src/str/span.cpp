// Texts and the characters of a set.
#include "str/text.h"
#include "util/owned.h"

#include <algorithm>

using namespace qbgl;

namespace {

// A set of characters by their values: a bit for each of the low ones, the others sorted.
template <class Text> class CharacterSet {
  public:
    using Unit = typename Text::Unit;

    // False with the error number for bytes that are no character, or when memory is out, which a set of many asks for.
    bool read(const Text &text, const Unit *set) {
        uint32_t many = 0;
        for (const Unit *at = set;;) {
            const Step step = text.step(at);
            if (step.length < 0) return fail(text.locale(), GL_EILSEQ, false);
            if (step.length == 0) break;
            if (step.value <= UINT8_MAX)
                low_[step.value / 32] |= 1U << step.value % 32;
            else
                ++many;
            at += step.length;
        }
        if (many == 0) return true;
        if (many > FEW) {
            more_ = Owned<gl_wchar>::allocate(many);
            if (!more_) return fail(text.locale(), GL_ENOMEM, false);
            values_ = more_.get();
        }
        for (const Unit *at = set;;) {
            const Step step = text.step(at);
            if (step.length == 0) break;
            if (step.value > UINT8_MAX) values_[count_++] = step.value;
            at += step.length;
        }
        std::sort(values_, values_ + count_);
        return true;
    }

    bool has_low(gl_wchar value) const { return (low_[value / 32] >> value % 32 & 1) != 0; }
    bool has_others() const { return count_ != 0; }
    bool has(gl_wchar value) const {
        if (value <= UINT8_MAX) return has_low(value);
        return count_ != 0 && std::binary_search(values_, values_ + count_, value);
    }

  private:
    static constexpr uint32_t FEW = 32;

    uint32_t low_[8] = {};
    gl_wchar few_[FEW], *values_ = few_;
    uint32_t count_ = 0;
    Owned<gl_wchar> more_;
};

// Passes over the characters that a set of one-byte characters does not have, by the codeset's arrays, which tell most; stops at
// what they do not tell, too.
const char *pass_plain(const MultibyteString &text, const char *s, const CharacterSet<MultibyteString> &set) {
    const CodesetMaps *const maps = text.maps();
    if (maps == nullptr || text.terminator_length() != 1 || set.has_others()) return s;
    const auto continues = [](uint8_t byte) { return static_cast<int8_t>(byte) < -0x40; }; // 80 to BF
    const uint8_t *at = as_bytes(s);
    for (;;) {
        const unsigned first = *at;
        if (first == 0) break;
        if (maps->single[first] != 0) {
            if (set.has_low(first)) break;
            ++at;
        } else if (maps->pairs != nullptr) {
            if (maps->pairs[first << 8 | at[1]] == 0) break;
            at += 2;
        } else {
            if (maps->shape != TextShape::CONTINUATION) break;
            const bool of_three =
                maps->whole_plane && first - 0xE1 <= 0xEF - 0xE1 && first != 0xED; // no surrogates, and none too long
            const auto pass = [&at](gl_wchar, int length) { at += length; };
            if (of_three ? !continues(at[1]) || !continues(at[2])
                         : !take_plain<TextShape::CONTINUATION>(maps->plain, at, MAX_KEY, pass))
                break;
            if (of_three) at += 3;
        }
    }
    return as_text(at);
}
const gl_wchar *pass_plain(const WideString &, const gl_wchar *s, const CharacterSet<WideString> &) { return s; }

// Passes over the characters that are in the set, or that are not: the place behind them, or null with the error number.
template <class Text, class Unit = typename Text::Unit>
const Unit *pass(const Text &text, const Unit *s, const CharacterSet<Text> &set, bool are_in) {
    for (;;) {
        if (!are_in) s = pass_plain(text, s, set);
        const Step step = text.step(s);
        if (step.length < 0) return fail(text.locale(), GL_EILSEQ, nullptr);
        if (step.length == 0 || set.has(step.value) != are_in) return s;
        s += step.length;
    }
}

template <class Text, class Unit> int span(gl_locale *locale, const Unit *s, const Unit *of, bool are_in) {
    if (s == nullptr || of == nullptr) return fail(locale, GL_ENULLPTR, -1);
    const Text text(locale);
    if constexpr (sizeof(Unit) == 1)
        if (text.is_single_byte()) return static_cast<int>(are_in ? strspn(s, of) : strcspn(s, of));
    CharacterSet<Text> set;
    if (!set.read(text, of)) return -1;
    const Unit *const end = pass(text, s, set, are_in);
    return end != nullptr ? static_cast<int>(end - s) : -1;
}

template <class Text, class Unit> Unit *first_of(gl_locale *locale, const Unit *s, const Unit *of) {
    const int length = span<Text>(locale, s, of, false);
    return length >= 0 && Text(locale).step(s + length).length != 0 ? const_cast<Unit *>(s) + length : nullptr;
}

template <class Text, class Unit> Unit *token(gl_locale *locale, Unit *s, const Unit *of, Unit **state) {
    if (of == nullptr || state == nullptr) return fail(locale, GL_ENULLPTR, nullptr);
    if (s == nullptr) s = *state;
    *state = s;
    if (s == nullptr) return nullptr; // there was no more
    const Text text(locale);
    CharacterSet<Text> set;
    if (!set.read(text, of)) return nullptr;
    auto *begin = const_cast<Unit *>(pass(text, s, set, true));
    if (begin == nullptr) return nullptr;
    *state = nullptr;
    if (text.step(begin).length == 0) return nullptr;
    auto *end = const_cast<Unit *>(pass(text, begin, set, false));
    if (end == nullptr) {
        *state = begin;
        return nullptr;
    }
    if (const int length = text.step(end).length; length > 0) {
        text.put_terminator(end);
        *state = end + length;
    }
    return begin;
}

} // namespace

int gl_mbsspn(gl_locale *locale, const char *s, const char *set) { return span<MultibyteString>(locale, s, set, true); }
int gl_mbscspn(gl_locale *locale, const char *s, const char *set) { return span<MultibyteString>(locale, s, set, false); }
char *gl_mbspbrk(gl_locale *locale, const char *s, const char *set) { return first_of<MultibyteString>(locale, s, set); }
char *gl_mbstok(gl_locale *locale, char *s, const char *set, char **state) { return token<MultibyteString>(locale, s, set, state); }

int gl_wcsspn(gl_locale *locale, const gl_wchar *s, const gl_wchar *set) { return span<WideString>(locale, s, set, true); }
int gl_wcscspn(gl_locale *locale, const gl_wchar *s, const gl_wchar *set) { return span<WideString>(locale, s, set, false); }
gl_wchar *gl_wcspbrk(gl_locale *locale, const gl_wchar *s, const gl_wchar *set) { return first_of<WideString>(locale, s, set); }
gl_wchar *gl_wcstok(gl_locale *locale, gl_wchar *s, const gl_wchar *set, gl_wchar **state) {
    return token<WideString>(locale, s, set, state);
}
