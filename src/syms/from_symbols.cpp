// From symbols to their characters.
#include "ext/error.h"
#include "syms/symbols.h"

#include <string.h>

using namespace qbgl;

namespace {

int too_small(gl_charmap *cm) {
    set_error(cm, GL_EBADARG);
    return -1;
}

void terminate_mb(char *out, int shortest) { memset(out, 0, static_cast<size_t>(shortest)); }

// Calls with every character of the symbols up to the zero byte, while `take` has room for them. Stops at what is no symbol.
// Returns whether all were taken; the input pointer stands behind the last.
template <class Take> bool for_each_symbol(gl_charmap *cm, const char **in, Take take) {
    while (**in != '\0') {
        gl_desc character;
        const int length = symbol_to_descriptor(*cm, *in, character);
        if (length < 0 || !take(character)) return false;
        *in += length;
    }
    return true;
}

} // namespace

int gl_symstombs(gl_charmap *cm, char *out, int outsize, const char **in) {
    if (cm->characters == nullptr) return -1;
    const int shortest = _gl_multi_min_length(cm->characters);
    if (outsize < shortest) return too_small(cm);
    int written = 0;
    const bool all = for_each_symbol(cm, in, [&](const gl_desc &character) {
        const auto length = static_cast<int>(character.count);
        if (length > outsize - shortest - written) {
            set_error(cm, GL_EBADARG);
            return false;
        }
        memcpy(out + written, character.bytes, character.count);
        written += length;
        return true;
    });
    terminate_mb(out + written, shortest);
    return all ? written + shortest : -1;
}

int gl_symstowcs(gl_charmap *cm, gl_wchar *out, int outsize, const char **in) {
    if (cm->characters == nullptr) return -1;
    if (outsize < 1) return too_small(cm);
    int written = 0;
    const bool all = for_each_symbol(cm, in, [&](const gl_desc &character) {
        if (written + 1 >= outsize) {
            set_error(cm, GL_EBADARG);
            return false;
        }
        out[written++] = _gl_desc_to_gl_wchar(&character);
        return true;
    });
    out[written] = 0;
    return all ? written + 1 : -1;
}
