// Thin forwarding to the extension. While none is loaded, a call does nothing and returns null, or -1 where a count is expected; so
// a host may still release its locales after gl_unload_glu.
#include "qbnxdl/entry_points.h"

namespace {

template <class Result, class... Parameters, class... Arguments>
Result forward(Result (*entry_point)(Parameters...), Result absent, Arguments... arguments) {
    return entry_point != nullptr ? entry_point(arguments...) : absent;
}

void *name_of(const char *(*entry_point)(void *), void *x) {
    return x != nullptr ? const_cast<char *>(forward<const char *>(entry_point, nullptr, x)) : nullptr;
}

} // namespace

void *glx_gluMap(void) { return pMap; }

void *glx_gluLoc(gl_locale *locale, int i) {
    constexpr int SLOTS = sizeof locale->glu_handle / sizeof locale->glu_handle[0];
    return locale != nullptr && i >= 0 && i < SLOTS ? locale->glu_handle[i] : nullptr;
}

const char *glx_icuErrorName(int code) { return forward<const char *>(qbgl::fn_glu_icuErrorName, nullptr, code); }

void *glx_getICULocName(void *x) { return name_of(qbgl::fn_glu_getICULocName, x); }

void *glx_getICUCvtName(void *x) { return name_of(qbgl::fn_glu_getICUCvtName, x); }

void *glx_lc_open(void *a, void *b, void *c) {
    return forward<void *>(qbgl::fn_glu_lc_open, nullptr, static_cast<const char *>(a), b, static_cast<int16_t *>(c));
}

void *glx_lc_close(void *a) { return forward<void *>(qbgl::fn_glu_lc_close, nullptr, a); }

int glx_ucs32tombs(void *a, void *b, int c, void *d, int e, void *f) {
    return forward(qbgl::fn_glu_ucs32tombs, -1, a, static_cast<char *>(b), c, static_cast<const gl_wchar *>(d), e,
                   static_cast<int16_t *>(f));
}

int glx_ucs32toucs(void *a, void *b, int c, void *d, int e) {
    return forward(qbgl::fn_glu_ucs32toucs, -1, a, static_cast<uint16_t *>(b), c, static_cast<const gl_wchar *>(d), e);
}
