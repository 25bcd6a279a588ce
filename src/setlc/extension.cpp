// Categories that the extension library serves.
#include "coll/fingerprint.h"
#include "ext/error.h"
#include "order/maps.h"
#include "qbnxdl/entry_points.h"
#include "qbnxdl/served.h"
#include "setlc/handle.h"

#include <string.h>
#include <utility>

namespace qbgl {

namespace {

// The handle of another category of the same name; one that belongs to the source of a copy is not ours to share.
void *handle_of_name(const gl_locale *locale, const char *name) {
    for (int other = FIRST_CATEGORY; other <= LAST_CATEGORY; ++other) {
        if (locale->glu_flag[other] != 0 && is_of_this_load(locale, other) && locale->shared[other] == 0 &&
            strncmp(locale->locale_name[other], name, LONGEST_LOCALE_NAME) == 0)
            return locale->glu_handle[other];
    }
    return nullptr;
}

void *open_handle(gl_locale *locale, const char *name) {
    int16_t error = 0;
    void *handle = glx_lc_open(const_cast<char *>(name), pMap, &error);
    if (handle != nullptr && error <= 0) return handle;
    set_error(locale, error > 0 ? int{error} : int{GL_ELOADCAT});
    return nullptr;
}

// The object's own order is none of this handle's any more. 0, or -1 with the error number.
int order_by_extension(gl_locale *locale) {
    locale->collate.kind = GL_COLLATION_EXTENSION;
    free_order_maps(std::exchange(locale->order_maps, nullptr));
    const int error = fingerprint_of_extension(locale, locale->order_fingerprint);
    return error == 0 ? 0 : fail(locale, error, -1);
}

void let_go(gl_locale *locale, int category) {
    void *handle = std::exchange(locale->glu_handle[category], nullptr);
    if (handle == nullptr || locale->shared[category] != 0 || !is_of_this_load(locale, category)) return;
    for (int other = FIRST_CATEGORY; other <= LAST_CATEGORY; ++other)
        if (locale->glu_handle[other] == handle && is_of_this_load(locale, other)) return;
    glx_lc_close(handle);
}

} // namespace

int set_categories_glu(gl_locale *locale, int category, const char *name) {
    if (unicode_collate != 1 || fn_glu_useIcuLocCall == nullptr || fn_glu_useIcuLocCall(name, category) != 1) return 0;
    void *handle = handle_of_name(locale, name);
    if (handle == nullptr) handle = open_handle(locale, name);
    if (handle == nullptr) return -1;
    locale->glu_handle[category] = handle;
    locale->glu_flag[category] = 1;
    locale->glu_load[category] = extension_load;
    return category == GL_CAT_COLLATE ? order_by_extension(locale) : 0;
}

void set_categories_glu_null(gl_locale *locale, int category) {
    if (category != GL_CAT_ALL) return let_go(locale, category);
    for (int each = FIRST_CATEGORY; each <= LAST_CATEGORY; ++each) let_go(locale, each);
}

} // namespace qbgl
