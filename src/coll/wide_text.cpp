#include "coll/wide_text.h"

#include "ext/error.h"

namespace qbgl {

namespace {

bool fail(gl_locale *locale, int error) {
    set_error(locale, error);
    return false;
}

int count_characters(gl_locale *locale, const char *s, int bytes) {
    return locale->single_byte != 0 || bytes < 0 ? bytes : _qbx_gl_im_mbfslen(locale, s, bytes);
}

} // namespace

bool WideText::convert(gl_locale *locale, const char *s, int len) {
    if (s == nullptr) return fail(locale, GL_ENULLPTR);
    const int bytes = len == -1 ? gl_mbsbytes(locale, s) - _gl_multi_min_length(locale->ctype.codeset_table) : len;
    length_ = count_characters(locale, s, bytes);
    if (length_ < 0) return fail(locale, GL_EILSEQ);
    if (length_ > ON_STACK) {
        heap_ = Owned<gl_wchar>::allocate(static_cast<uint32_t>(length_) + 1);
        if (!heap_) return fail(locale, GL_ENOMEM);
    }
    gl_wchar *const text = heap_ ? heap_.get() : stack_;
    if (length_ > 0 && locale->mbfstowcfs(locale, text, s, bytes, length_) < 0) return fail(locale, GL_EILSEQ);
    text[length_] = 0;
    return true;
}

} // namespace qbgl
