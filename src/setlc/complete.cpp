// Completing a handle whose categories have changed.
#include "ext/error.h"
#include "setlc/dispatch.h"
#include "setlc/handle.h"

#include <string.h>

namespace qbgl {

// The names are mostly equal, and then the registry need not be read.
bool same_codeset(void *ctx, const CodesetName &a, const CodesetName &b) {
    return memcmp(a, b, sizeof a) == 0 || gl_cs_name2cs_num(ctx, a, nullptr) == gl_cs_name2cs_num(ctx, b, nullptr);
}

// LC_MESSAGES is left out: texts to be shown may be in another codeset.
int check_codesets(gl_locale *locale) {
    set_error(locale, 0);
    for (int category = GL_CAT_COLLATE; category < GL_CAT_MESSAGES; ++category) {
        const bool same = same_codeset(locale, locale->codeset_name[category], locale->codeset_name[GL_CAT_CTYPE]);
        if (get_error(locale) == GL_ENOMEM) return -1;
        if (!same) {
            set_error(locale, GL_EMIXEDCS);
            return -1;
        }
    }
    set_error(locale, 0);
    return 0;
}

int update_locale(gl_locale *locale) { return set_flags(locale) == 0 ? check_codesets(locale) : -1; }

int init_locale_info(gl_locale *) { return 0; }

} // namespace qbgl
