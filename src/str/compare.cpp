// Comparison without regard to case.
#include "str/text.h"

#include <limits.h>

using namespace qbgl;

namespace {

template <class Text, class Unit> int compare(gl_locale *locale, const Unit *a, const Unit *b, int most) {
    if (a == nullptr || b == nullptr) return fail(locale, GL_ENULLPTR, 0);
    if (most < 0) return fail(locale, GL_ENEGCOUNT, 0);
    const Text text(locale);
    for (; most > 0; --most) {
        const Step one = text.step(a), other = text.step(b);
        if (one.length < 0 || other.length < 0) return fail(locale, GL_EILSEQ, 0);
        if (one.value != other.value) {
            const gl_wchar x = gl_towlower(locale, one.value), y = gl_towlower(locale, other.value);
            if (x != y) return x < y ? -1 : 1;
        }
        if (one.length == 0 || other.length == 0) return 0;
        a += one.length;
        b += other.length;
    }
    return 0;
}

} // namespace

int gl_mbscasecmp(gl_locale *locale, const char *a, const char *b) { return compare<MultibyteString>(locale, a, b, INT_MAX); }
int gl_mbsncasecmp(gl_locale *locale, const char *a, const char *b, int n) { return compare<MultibyteString>(locale, a, b, n); }

int gl_wcscasecmp(gl_locale *locale, const gl_wchar *a, const gl_wchar *b) { return compare<WideString>(locale, a, b, INT_MAX); }
int gl_wcsncasecmp(gl_locale *locale, const gl_wchar *a, const gl_wchar *b, int n) { return compare<WideString>(locale, a, b, n); }
