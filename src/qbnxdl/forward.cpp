// Thin forwarding to the extension. While none is loaded, a call does nothing and returns null, or -1 where a count is expected; so
// a host may still release its locales after gl_unload_glu.
#include "qbnxdl/entry_points.h"

namespace {

template <class Result, class... Parameters, class... Arguments>
Result forward(Result (*entry_point)(Parameters...), Result absent, Arguments... arguments) {
    return entry_point != nullptr ? entry_point(arguments...) : absent;
}

} // namespace

void *glx_gluMap(void) { return pMap; }

void *glx_gluLoc(gl_locale *locale, int i) {
    constexpr int SLOTS = sizeof locale->glu_handle / sizeof locale->glu_handle[0];
    return locale != nullptr && i >= 0 && i < SLOTS ? locale->glu_handle[i] : nullptr;
}

const char *glx_icuErrorName(int code) { return forward<const char *>(qbgl::fn_glu_icuErrorName, nullptr, code); }

void *glx_getICULocName(void *x) { return x != nullptr ? forward<void *>(qbgl::fn_glu_getICULocName, nullptr, x) : nullptr; }

void *glx_getICUCvtName(void *x) { return x != nullptr ? forward<void *>(qbgl::fn_glu_getICUCvtName, nullptr, x) : nullptr; }

void *glx_lc_open(void *a, void *b, void *c) { return forward<void *>(qbgl::fn_glu_lc_open, nullptr, a, b, c); }

void *glx_lc_close(void *a) { return forward<void *>(qbgl::fn_glu_lc_close, nullptr, a); }

int glx_ucs32tombs(void *a, void *b, int c, void *d, int e, void *f) {
    return forward(qbgl::fn_glu_ucs32tombs, -1, a, b, c, d, e, f);
}

int glx_ucs32toucs(void *a, void *b, int c, void *d, int e) { return forward(qbgl::fn_glu_ucs32toucs, -1, a, b, c, d, e); }
