/* The extension library over ICU in a host. It serves the locales whose names ask for it, as cs_CZ.utf8@icu, and those alone,
 * whatever the installation's map would serve: the order of other locales stays what their indexes were built under, and
 * conversions stay the library's own. Locales and conversions are to be loaded by one thread at a time. For C and C++. */
#ifndef QBGL_HOSTS_ICU_H
#define QBGL_HOSTS_ICU_H

#include "qbgl.h"

#include <string.h>

/* NOLINTBEGIN(modernize-use-nullptr): C has none */
/* Whether the name of a locale asks for ICU. */
static inline int qbgl_asks_for_icu(const char *name) {
    const char *const modifier = strrchr(name, '@');
    return modifier != NULL && strcmp(modifier, "@icu") == 0;
}

/* gl_lc_load, with the extension where the name asks for it. The environment that the library sees must have GL_USEGLU=1. */
static inline int qbgl_load_locale(gl_locale **handle, const char *name) {
    const int asks = qbgl_asks_for_icu(name);
    int result;
    gl_useglu(asks);
    if (pMap != NULL) unicode_collate = asks; /* it is loaded, and nothing is decided any more */
    result = gl_lc_load(handle, name, NULL, NULL);
    unicode_collate = 0;
    gl_useglu(0);
    return result;
}

/* Why a locale that asks for ICU is not served, after it was loaded with a result and an error number; null where it is, or where
 * the reason is none of ICU's. */
static inline const char *qbgl_why_no_icu(const gl_locale *handle, int result, int error) {
    unsigned i;
    if (result == 0)
        return handle->glu_flag[GL_CAT_CTYPE] && handle->glu_flag[GL_CAT_COLLATE] ? NULL
                                                                                  : "the map vrn/etc/locmap does not serve it";
    if (pMap != NULL || error == GL_ENOMEM) return NULL;
    if (error == GL_EVERSION) return "vrn/etc/icudata is for another version of ICU";
    for (i = 0; i < sizeof handleglu / sizeof handleglu[0]; ++i)
        if (handleglu[i].error == -1 && handleglu[i].error_text != NULL) return handleglu[i].error_text; /* of the loader */
    return "a file of the extension library is missing or damaged: vrn/etc/dllregistry, icudata or locmap";
}
/* NOLINTEND(modernize-use-nullptr) */

#endif /* QBGL_HOSTS_ICU_H */
