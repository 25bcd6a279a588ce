// Texts: where they end, and walks through them.
#pragma once

#include "icu/entry.h"
#include "icu/locale.h"

#include <climits>
#include <cstring>

namespace qbgl::icu {

// The bytes that a call may read at s: a text without a length ends with its terminator, and LONGEST suffices for its characters.
inline int readable(int length) { return length == TERMINATED ? Codeset::LONGEST : length; }

// What text calls check first: 0 or an error number.
inline int check_text(const void *locale, const void *text, int length) {
    if (locale == nullptr || text == nullptr) return GL_ENULLPTR;
    return length < TERMINATED ? GL_EBADARG : 0;
}

inline int bytes_of(const char *s, int length) {
    if (length != TERMINATED) return length;
    const size_t bytes = strlen(s);
    return bytes <= INT_MAX ? static_cast<int>(bytes) : INT_MAX;
}

// Calls visit(Decoded, place) with the characters of a text, the terminator not among them, until it returns false. 0, or
// GL_EILSEQ for bytes that are no character, or GL_ENOMEM.
template <class Visit> int walk(const Locale &locale, const char *s, int length, Visit visit) {
    Characters characters(locale.codeset());
    for (int at = 0; length == TERMINATED || at < length;) {
        const Decoded one = characters.decode(s + at, length == TERMINATED ? Codeset::LONGEST : length - at);
        if (!one) return one.error();
        if (length == TERMINATED && one.value == 0) return 0;
        if (!visit(one, at)) return 0;
        at += one.length;
    }
    return 0;
}

} // namespace qbgl::icu
