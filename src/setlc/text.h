// The texts of a locale object: string lines, grouping lines, and the wide forms of texts.
#pragma once

#include "util/tokens.h"

namespace qbgl {

// A text has four zero bytes behind its last one, which terminate it in any codeset. The memory behind them is zero as well: a
// damaged text may end inside a character, whose last bytes are then these.
inline constexpr uint32_t TEXT_PADDING = 8;

// Room for a text of `size` bytes, all zero. Null when memory is out.
char *allocate_text(uint32_t size);

// "N HEX": a text of N bytes. "N SIZES": a grouping. False with the number in `error`, which a grouping leaves alone when there is
// one already.
bool str_readallc(ByteReader &in, char *&text, int32_t &error);
bool read_group(ByteReader &in, gl_grouping &grouping, int32_t &error);

// What a section reader of the C face returns for the number that it came to.
int section_result(int32_t number, int32_t *error);

// The characters of a text, and its bytes without the terminator; -1 with GL_EILSEQ for one that is not in the codeset.
int text_characters(gl_locale *locale, const char *text);
int text_bytes(gl_locale *locale, const char *text);

// Replaces `wide` by the wide form of a text, null for null. False with the handle's error, and null.
bool alloc_wc_from_mb(gl_locale *locale, const char *text, gl_wchar *&wide);
bool make_wide(gl_locale *locale, gl_text &text);

void free_text(gl_text &text);

// Whether the codeset of a handle is there and its functions chosen, as everything with texts needs: 1; otherwise what the set-up
// is to return.
int ready_for_texts(gl_locale *locale);

} // namespace qbgl
