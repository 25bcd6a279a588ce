// Trailing white space of wide text.
#include "ctype/wide_class.h"
#include "mbwc/ranges.h"

using namespace qbgl;

namespace {

// Where the characters that `trails` has at the text's end begin. Asks for each character, for the errors.
template <class Trails> const gl_wchar *begin_of_trail(const gl_wchar *ws, const gl_wchar *end, Trails trails) {
    const gl_wchar *begin = ws;
    for (; ws != end; ++ws)
        if (!trails(*ws)) begin = ws + 1;
    return begin;
}

} // namespace

int _qbx_gl_wcsntslen(gl_locale *locale, const gl_wchar *ws, int len) {
    if (len < -1 || ws == nullptr) {
        set_error(locale, len < -1 ? GL_EBADARG : GL_ENULLPTR);
        return -1;
    }
    const gl_wchar *const end = len == -1 ? find_zero(ws, INT32_MAX) : ws + len;
    const auto trails = [locale](gl_wchar wc) {
        return is_in_class(locale, wc, GL_CLASS_SPACE) && !is_in_class(locale, wc, GL_CLASS_CNTRL);
    };
    return static_cast<int>(begin_of_trail(ws, end, trails) - ws);
}

int gl_wcsntslen(gl_locale *locale, const gl_wchar *ws) { return _qbx_gl_wcsntslen(locale, ws, -1); }

gl_wchar *gl_wcsntstrunc(gl_locale *locale, gl_wchar *ws) {
    if (ws == nullptr) {
        set_error(locale, GL_ENULLPTR);
        return nullptr;
    }
    const gl_wchar *const end = find_zero(ws, INT32_MAX);
    const gl_wchar *begin = begin_of_trail(ws, end, [locale](gl_wchar wc) { return is_in_class(locale, wc, GL_CLASS_SPACE); });
    if (begin == end) return nullptr;
    gl_wchar *const cut = ws + (begin - ws);
    *cut = 0;
    return cut;
}
