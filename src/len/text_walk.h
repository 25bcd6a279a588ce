// Walking over multibyte text by the codeset's tables.
#pragma once

#include "mbwc/decode_plain.h"
#include "mbwc/maps.h"
#include "multi/walk.h"

#include <string.h>

namespace qbgl {

inline const uint8_t *as_bytes(const char *s) { return reinterpret_cast<const uint8_t *>(s); }
inline char *as_text(const uint8_t *at) { return const_cast<char *>(reinterpret_cast<const char *>(at)); }

// Whether a terminator of the given length stands there; one of length 0 does nowhere.
inline bool is_terminator(const uint8_t *at, int length) {
    constexpr uint8_t ZEROS[MAX_KEY] = {};
    return length > 0 && length <= MAX_KEY && memcmp(at, ZEROS, static_cast<size_t>(length)) == 0;
}

// Apart from the loops, which it would cost registers.
[[gnu::noinline]] inline Decoded decode_by_nodes(const MultiNode *root, const uint8_t *at, ptrdiff_t limit) {
    return decode(root, at, limit);
}

template <TextShape SHAPE> class TextWalk {
  public:
    explicit TextWalk(const gl_locale *locale)
        : root_(locale->ctype.codeset_table->root), plain_(SHAPE != TextShape::OTHER ? maps_of(locale)->plain : nullptr),
          shortest_(locale->ctype.codeset_table->min_length) {}

    bool ends_at(const uint8_t *at) const { return SHAPE != TextShape::OTHER ? *at == 0 : is_terminator(at, shortest_); }

    // Hands the characters from `at` on to `take`, each as its value and the place behind it, as long as that answers true and so
    // does `goes_on`, which is asked with the place before each. Nothing is read behind `end` unless that is null. INVALID, CUT, or
    // 1; `at` is behind the last character taken.
    template <class GoesOn, class Take>
    [[gnu::always_inline]] int walk(const uint8_t *&at, const uint8_t *end, GoesOn goes_on, Take take) const {
        const uint8_t *const plain = plain_;
        const uint8_t *in = at;
        int result = 1;
        bool more = true;
        const auto step = [&](gl_wchar value, int length) {
            in += length;
            more = take(value, in);
        };
        while (more && goes_on(in)) {
            const ptrdiff_t limit = end != nullptr ? end - in : MAX_KEY + 1;
            if (SHAPE != TextShape::OTHER && take_plain<SHAPE>(plain, in, limit, step)) continue;
            const Decoded character = decode_by_nodes(root_, in, limit);
            if (character.length <= 0) {
                result = character.length;
                break;
            }
            step(character.value, character.length);
        }
        at = in;
        return result;
    }

  private:
    const MultiNode *root_;
    const uint8_t *plain_;
    int32_t shortest_;
};

// Calls `work` with the walk for a locale's codeset.
template <class Work> auto with_text_walk(const gl_locale *locale, Work work) {
    const CodesetMaps *maps = maps_of(locale);
    switch (maps != nullptr ? maps->shape : TextShape::OTHER) {
    case TextShape::ONE_OR_TWO: return work(TextWalk<TextShape::ONE_OR_TWO>(locale));
    case TextShape::CONTINUATION: return work(TextWalk<TextShape::CONTINUATION>(locale));
    default: return work(TextWalk<TextShape::OTHER>(locale));
    }
}

} // namespace qbgl
