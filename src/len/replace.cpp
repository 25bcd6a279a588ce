// Replacing a character in place.
#include "ext/error.h"
#include "multi/table.h"
#include "qbnxdl/served.h"
#include "util/owned.h"

#include <string.h>

using namespace qbgl;

char *gl_mbcreplace(gl_locale *locale, char *pos, const char *new_char) {
    if (pos == nullptr || new_char == nullptr) return fail(locale, GL_ENULLPTR, nullptr);
    const char *tail = locale->single_byte != 0 ? pos + 1 : gl_full_mbsnext(locale, pos);
    if (tail == nullptr) return nullptr;
    const int new_length = served_by_extension(locale, GL_CAT_CTYPE)
                               ? _qbx_gl_full_mblen(locale, new_char, MAX_KEY)
                               : _gl_retrieve_text_multi_nv(new_char, locale->ctype.codeset_table, locale);
    if (new_length < 1) return nullptr;
    const auto tail_length = static_cast<uint32_t>(gl_mbsbytes(locale, tail));
    if (tail_length == 0) return nullptr;
    // The new character may stand in the tail itself.
    const Owned<char> text = Owned<char>::allocate(tail_length + MAX_KEY);
    if (!text) return fail(locale, GL_ENOMEM, nullptr);
    memcpy(text.get(), new_char, static_cast<size_t>(new_length));
    memcpy(text.get() + new_length, tail, tail_length);
    memcpy(pos, text.get(), static_cast<size_t>(new_length) + tail_length);
    return pos;
}
