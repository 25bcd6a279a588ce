// Keys for optimisers: of the letters alone, and around all texts with a prefix.
#include "ext/error.h"
#include "util/owned.h"

#include <string.h>

using namespace qbgl;

int gl_mbsprimary(gl_locale *locale, const char *s, int len, unsigned char *key, int room) {
    const int size = gl_order_key(locale, s, len, 1, key, room);
    return size <= room ? size : fail(locale, GL_E2BIG, -1);
}

int gl_mbsbounds(gl_locale *locale, const char *prefix, int len, unsigned char *least, int *least_size, unsigned char *greatest,
                 int *greatest_size, int room) {
    unsigned char few[1024], *bounds = few;
    int32_t offsets[2 * GL_ORDER_RANGES + 1];
    Owned<unsigned char> more;
    int count = gl_order_ranges(locale, prefix, len, bounds, sizeof few, offsets);
    if (count == 0 && offsets[0] > 0) {
        more = Owned<unsigned char>::allocate(static_cast<uint32_t>(offsets[0]));
        bounds = more.get();
        if (bounds != nullptr) count = gl_order_ranges(locale, prefix, len, bounds, offsets[0], offsets);
    }
    if (count <= 0) return fail(locale, GL_ENOMEM, -1);
    const int32_t last = offsets[2 * count - 1], first_size = offsets[1] - offsets[0], last_size = offsets[2 * count] - last;
    *least_size = first_size;
    *greatest_size = last_size;
    if (first_size > room || last_size > room) {
        *least_size = first_size > last_size ? first_size : last_size;
        *greatest_size = 0;
        return fail(locale, GL_E2BIG, -1);
    }
    if (first_size > 0) memcpy(least, bounds + offsets[0], static_cast<size_t>(first_size));
    if (last_size > 0) memcpy(greatest, bounds + last, static_cast<size_t>(last_size));
    return count;
}
