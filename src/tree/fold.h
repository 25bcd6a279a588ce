// The two kinds of keys of a string cache. Each folds the character at the position of a text and says where the text ends.
#pragma once

#include "tree/bytewise.h"

namespace qbgl {

// A folded character: its keys in order, and what it has in the text. None when `count` is 0: the text ends, or is no text.
struct Folded {
    uint32_t keys[4];
    int count;
    int length;
};

inline constexpr int LONGEST_CHARACTER = 4;

// Bytes of the character at `s`; 0 at the end, -1 for none.
inline int character_length(gl_locale *locale, const char *s) {
    return bytes_are_characters(locale) ? static_cast<int>(*s != '\0') : gl_full_mblen(locale, s, LONGEST_CHARACTER);
}

// Multibyte text by the bytes of its characters.
struct ByteKeys {
    static bool at_end(gl_locale *locale, const char *s) { return character_length(locale, s) == 0; }

    static Folded fold(gl_locale *locale, const char *s) {
        const int length = character_length(locale, s);
        if (length < 1) return {};
        if (locale->lower != nullptr) return {{locale->lower[static_cast<uint8_t>(*s)]}, 1, 1};
        char lower[256]; // what the packed result can say
        const unsigned packed = _gl_im_tomlower(locale, lower, s);
        const auto consumed = static_cast<int>(packed >> 8), written = static_cast<int>(packed & 0xFF);
        if (consumed < 1 || written < 1 || written > LONGEST_CHARACTER) return {};
        // Of a character that the case table lacks only the bytes up to there have been looked at: it stays as it is.
        const bool is_folded = consumed == length;
        Folded folded = {{}, is_folded ? written : length, length};
        for (int i = 0; i < folded.count; ++i) folded.keys[i] = static_cast<uint8_t>(is_folded ? lower[i] : s[i]);
        return folded;
    }
};

// A wide character by its value. What a single-byte locale cannot fold stays as it is, and is an error for the host to see.
inline Folded fold_wide(gl_locale *locale, gl_wchar wc, int length) {
    if (locale->lower == nullptr) return {{_gl_im_towlower(locale, wc)}, 1, length};
    if (wc < 256) return {{locale->lower[wc]}, 1, length};
    set_error(locale, GL_EILSEQ);
    return {{wc}, 1, length};
}

// Wide text.
struct WideKeys {
    static bool at_end(gl_locale *, const gl_wchar *s) { return *s == 0; }
    static Folded fold(gl_locale *locale, const gl_wchar *s) { return *s != 0 ? fold_wide(locale, *s, 1) : Folded{}; }
};

// Multibyte text by the wide values of its characters.
struct WidenedKeys {
    static bool at_end(gl_locale *locale, const char *s) { return character_length(locale, s) == 0; }

    static Folded fold(gl_locale *locale, const char *s) {
        gl_wchar wc = static_cast<uint8_t>(*s);
        const int length =
            bytes_are_characters(locale) ? static_cast<int>(wc != 0) : gl_full_mbtowc(locale, &wc, s, LONGEST_CHARACTER);
        return length > 0 ? fold_wide(locale, wc, length) : Folded{};
    }
};

} // namespace qbgl
