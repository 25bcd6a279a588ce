// Characters by their index.
#include "ext/error.h"
#include "len/text_walk.h"
#include "qbnxdl/entry_points.h"
#include "qbnxdl/served.h"

using namespace qbgl;

namespace {

enum class AtTerminator { GOES_ON, STOPS };

char *ask_for_character(gl_locale *locale, const char *s, int i, AtTerminator terminator) {
    for (; i > 0 && s != nullptr; --i) {
        if (terminator == AtTerminator::STOPS && gl_ismbsterm(locale, s) != 0) break;
        s = gl_full_mbsnext(locale, s);
    }
    return const_cast<char *>(s);
}

char *single_byte_character(const char *s, int i, AtTerminator terminator) {
    return const_cast<char *>(s) +
           (terminator == AtTerminator::STOPS ? strnlen(s, static_cast<size_t>(i)) : static_cast<size_t>(i));
}

char *find_character(gl_locale *locale, const char *s, int i, AtTerminator terminator) {
    if (i < 0) return fail(locale, GL_ENEGCOUNT, nullptr);
    if (s == nullptr) return fail(locale, GL_ENULLPTR, nullptr);
    if (locale->single_byte != 0) return single_byte_character(s, i, terminator);
    if (served_by_extension(locale, GL_CAT_CTYPE)) return ask_for_character(locale, s, i, terminator);
    return with_text_walk(locale, [=](const auto &text) {
        const uint8_t *at = as_bytes(s);
        int left = i;
        const auto goes_on = [&](const uint8_t *place) {
            return left-- > 0 && !(terminator == AtTerminator::STOPS && text.ends_at(place));
        };
        const int walked = text.walk(at, nullptr, goes_on, [](gl_wchar, const uint8_t *) { return true; });
        return walked > 0 ? as_text(at) : fail(locale, GL_EILSEQ, nullptr);
    });
}

} // namespace

char *gl_full_getmbsi(gl_locale *locale, const char *s, int i) { return find_character(locale, s, i, AtTerminator::GOES_ON); }
char *gl_getmbsinull(gl_locale *locale, const char *s, int i) { return find_character(locale, s, i, AtTerminator::STOPS); }

char *gl_full_putmbsi(gl_locale *locale, char *s, int i, const char *new_char) {
    if (served_by_extension(locale, GL_CAT_CTYPE)) {
        return ask_extension(locale, GL_CAT_CTYPE, fn_glu_putmbsi, static_cast<char *>(nullptr), locale->glu_handle[GL_CAT_CTYPE],
                             s, i, new_char);
    }
    char *place = find_character(locale, s, i, AtTerminator::GOES_ON);
    return place != nullptr && gl_mbcreplace(locale, place, new_char) != nullptr ? s : nullptr;
}
