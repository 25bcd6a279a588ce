#include "coll/wide_order.h"

#include "coll/by_maps.h"
#include "coll/by_tables.h"
#include "coll/code_values.h"
#include "coll/multibyte_text.h"
#include "coll/thai.h"
#include "ext/error.h"
#include "multi/walk.h"
#include "qbnxdl/entry_points.h"
#include "qbnxdl/served.h"

#include <string.h>

using namespace qbgl;

namespace {

bool is_thai(const gl_locale *locale) { return locale->collate.kind == GL_COLLATION_THAI; }

// Of what the codeset can express, as what was converted from it can.
int key_as_thai(gl_locale *locale, char *out, WideSpan span, int capacity) {
    MultibyteText text;
    return is_half_served(locale) || text.convert(locale, span) ? thai_key(thai_layout(locale), out, span, capacity) : -1;
}

// The same of values of the codeset that LC_CTYPE does not take for such.
int key_of_foreign_values(gl_locale *locale, char *out, WideSpan span, int capacity) {
    const gl_multi &table = *locale->ctype.codeset_table;
    int64_t length = 0;
    const auto put = [&](const uint8_t *character, int bytes) {
        if (length + bytes <= capacity) memcpy(out + length, character, static_cast<size_t>(bytes));
        length += bytes;
    };
    uint8_t character[MAX_KEY] = {};
    for (const gl_wchar *wc = span.text; wc != span.text + span.length; ++wc) {
        const int bytes = encode(table, character, *wc);
        if (bytes == 0) return fail(locale, GL_EILSEQ, -1);
        put(character, bytes);
    }
    const auto whole = static_cast<int>(std::min<int64_t>(length, INT32_MAX));
    const uint8_t nul[MAX_KEY] = {};
    put(nul, table.min_length);
    return whole;
}

// The key of an order by code values is the text itself. Returns its whole length, however much of it there was room for.
int key_of_code_values(gl_locale *locale, char *out, WideSpan span, int capacity) {
    if (is_half_served(locale)) return key_of_foreign_values(locale, out, span, capacity);
    int64_t length = 0;
    for (const gl_wchar *wc = span.text; wc != span.text + span.length; ++wc) {
        const int bytes = gl_wclen(locale, *wc);
        if (bytes < 0) return -1;
        length += bytes;
    }
    // With a length of 0 one character would be taken all the same.
    if (span.length > 0 && _qbx_gl_full_wcstombs(locale, out, span.text, span.length, capacity) < 0) return -1;
    const int32_t shortest = locale->ctype.codeset_table->min_length;
    if (length + shortest <= capacity) memset(out + length, 0, static_cast<size_t>(shortest));
    return static_cast<int>(std::min<int64_t>(length, INT32_MAX));
}

// The extension takes terminated text only.
int ask_for_key_of_counted(gl_locale *locale, char *out, WideSpan span, int capacity) {
    if (std::find(span.text, span.text + span.length, gl_wchar{0}) != span.text + span.length) return fail(locale, GL_EINVAL, -1);
    const Owned<gl_wchar> text = Owned<gl_wchar>::allocate(static_cast<uint32_t>(span.length) + 1);
    if (!text) return fail(locale, GL_ENOMEM, -1);
    *std::copy_n(span.text, span.length, text.get()) = 0;
    return ask_for_key(locale, out, text.get(), capacity);
}

} // namespace

int qbgl::ask_to_compare(gl_locale *locale, const gl_wchar *s1, int len1, const gl_wchar *s2, int len2) {
    return ask_extension(locale, GL_CAT_COLLATE, fn_glu_ucs32coll, 0, locale->glu_handle[GL_CAT_COLLATE], s1, len1, s2, len2);
}

int qbgl::ask_for_key(gl_locale *locale, char *out, const gl_wchar *s, int capacity) {
    return ask_extension(locale, GL_CAT_COLLATE, fn_glu_ucs32xfrm, -1, locale->glu_handle[GL_CAT_COLLATE], out, s, capacity);
}

int qbgl::compare_wide(gl_locale *locale, WideSpan a, WideSpan b) {
    if (served_by_extension(locale, GL_CAT_COLLATE)) return ask_to_compare(locale, a.text, a.length, b.text, b.length);
    if (is_thai(locale)) return compare_as_multibyte(locale, a, b, _qbx_gl_thaismoncoll);
    if (locale->coll_extras != 0) return _qbx_gl_wcfscmp(locale, a.text, a.length, b.text, b.length);
    return locale->collate.maps != nullptr ? compare_by_maps(locale, a, b) : compare_by_tables(locale, a, b);
}

int qbgl::key_of_wide(gl_locale *locale, char *out, WideSpan span, int capacity) {
    if (served_by_extension(locale, GL_CAT_COLLATE)) return ask_for_key_of_counted(locale, out, span, capacity);
    if (is_thai(locale)) return key_as_thai(locale, out, span, capacity);
    if (locale->coll_extras != 0) return key_of_code_values(locale, out, span, capacity);
    return locale->collate.maps != nullptr ? key_by_maps(locale, out, span, capacity) : key_by_tables(locale, out, span, capacity);
}
