// One block: the pointers, then the texts, each with the zeros that end it in any codeset.
#include "time/zones.h"

#include "ext/error.h"
#include "setlc/handle.h"
#include "setlc/text.h"
#include "util/owned.h"

#include <limits.h>
#include <string.h>

using namespace qbgl;

const char *qbgl::zone_name_of(const gl_locale *locale, int32_t zone) {
    return zone >= 0 && zone < locale->zone_count ? locale->zone_names[zone] : nullptr;
}

int gl_set_zone_names(gl_locale *locale, const char *const *names, int count) {
    if (is_canned(locale)) return -1;
    if (count < 0) return fail(locale, GL_ENEGCOUNT, -1);
    if (count > 0 && names == nullptr) return fail(locale, GL_ENULLPTR, -1);
    uint64_t size = 0;
    for (int i = 0; i < count; ++i) {
        const int length = names[i] != nullptr ? text_bytes(locale, names[i]) : 0;
        if (length < 0) return -1;
        size += sizeof(char *) + static_cast<uint64_t>(length) + TEXT_PADDING;
    }
    if (size > INT_MAX) return fail(locale, GL_ENOMEM, -1);
    Owned<char> block;
    if (count > 0) {
        block = Owned<char>::allocate(static_cast<uint32_t>(size));
        if (!block) return fail(locale, GL_ENOMEM, -1);
        memset(block.get(), 0, static_cast<size_t>(size));
    }
    auto **pointers = reinterpret_cast<char **>(block.get());
    char *text = block.get() + static_cast<size_t>(count) * sizeof(char *);
    for (int i = 0; i < count; ++i) {
        pointers[i] = nullptr;
        if (names[i] == nullptr) continue;
        pointers[i] = text;
        const auto length = static_cast<size_t>(text_bytes(locale, names[i]));
        memcpy(text, names[i], length);
        text += length + TEXT_PADDING;
    }
    _gl_free_ptr(locale->zone_names);
    locale->zone_names = reinterpret_cast<char **>(block.release());
    locale->zone_count = count;
    return 0;
}
