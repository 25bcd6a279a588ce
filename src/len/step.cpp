// From one character to the next, and to the one before.
#include "ext/error.h"
#include "len/text_walk.h"
#include "qbnxdl/entry_points.h"
#include "qbnxdl/served.h"

using namespace qbgl;

namespace {

int error_of(int walked) { return walked == CUT ? GL_EINVAL : GL_EILSEQ; }

char *ask_for_next(gl_locale *locale, const char *s, int n) {
    return ask_extension(locale, GL_CAT_CTYPE, fn_glu_mbsnext, static_cast<char *>(nullptr), locale->glu_handle[GL_CAT_CTYPE], s,
                         n);
}

char *next_by_nodes(gl_locale *locale, const char *s, int limit) {
    if (s == nullptr) return fail(locale, GL_ENULLPTR, nullptr);
    const Decoded character = decode(locale->ctype.codeset_table->root, as_bytes(s), limit);
    return character.length > 0 ? as_text(as_bytes(s) + character.length) : fail(locale, error_of(character.length), nullptr);
}

[[gnu::noinline]] char *next_slowly(gl_locale *locale, const char *s) {
    return served_by_extension(locale, GL_CAT_CTYPE) ? ask_for_next(locale, s, -1) : next_by_nodes(locale, s, MAX_KEY + 1);
}

[[gnu::noinline]] char *next_continued(gl_locale *locale, const char *s) {
    int taken;
    const auto take = [&](gl_wchar, int length) { taken = length; };
    const bool is_plain = take_plain<TextShape::CONTINUATION>(maps_of(locale)->plain, as_bytes(s), MAX_KEY, take);
    return is_plain ? const_cast<char *>(s) + taken : next_slowly(locale, s);
}

} // namespace

char *gl_full_mbsnext(gl_locale *locale, const char *s) {
    const CodesetMaps *maps = maps_of(locale);
    if (maps == nullptr || served_by_extension(locale, GL_CAT_CTYPE) || s == nullptr) return next_slowly(locale, s);
    const unsigned first = as_bytes(s)[0];
    if (maps->single[first] != 0) return const_cast<char *>(s) + 1;
    if (maps->pairs != nullptr) {
        if (maps->pairs[first << 8 | as_bytes(s)[1]] != 0) return const_cast<char *>(s) + 2;
    } else if (maps->triples != nullptr) {
        return next_continued(locale, s);
    }
    return next_slowly(locale, s);
}

char *_qbx_gl_full_mbsnext(gl_locale *locale, const char *s, int n) {
    if (served_by_extension(locale, GL_CAT_CTYPE)) return ask_for_next(locale, s, n);
    return n < 1 ? fail(locale, GL_EINVAL, nullptr) : next_by_nodes(locale, s, n);
}

char *gl_full_mbsprev(gl_locale *locale, const char *start, const char *pos) {
    if (pos <= start) return fail(locale, GL_EENDBEFORE, nullptr);
    if (served_by_extension(locale, GL_CAT_CTYPE)) {
        return ask_extension(locale, GL_CAT_CTYPE, fn_glu_mbsprev, static_cast<char *>(nullptr), locale->glu_handle[GL_CAT_CTYPE],
                             start, pos);
    }
    if (locale->single_byte != 0) return const_cast<char *>(pos) - 1;
    return with_text_walk(locale, [=](const auto &text) {
        const uint8_t *at = as_bytes(start), *last = at, *const end = as_bytes(pos);
        const auto goes_on = [&](const uint8_t *place) {
            if (place == end) return false;
            last = place;
            return true;
        };
        const int walked = text.walk(at, end, goes_on, [](gl_wchar, const uint8_t *) { return true; });
        return walked > 0 ? as_text(last) : fail(locale, error_of(walked), nullptr);
    });
}
