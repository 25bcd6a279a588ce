// Arithmetic on the big-endian number in a byte descriptor.
#include "qbgl.h"

#include <algorithm>

namespace {

int significant_bytes(const gl_desc &desc) { return static_cast<int>(std::min<uint32_t>(desc.count, sizeof desc.bytes)); }

void add(gl_desc &desc, unsigned offset) {
    for (int i = significant_bytes(desc) - 1; i >= 0 && offset != 0; --i) {
        const unsigned sum = desc.bytes[i] + (offset & 0xFF);
        desc.bytes[i] = static_cast<uint8_t>(sum);
        offset = (offset >> 8) + (sum >> 8);
    }
}

void subtract(gl_desc &desc, unsigned offset) {
    unsigned borrow = 0;
    for (int i = significant_bytes(desc) - 1; i >= 0; --i) {
        const unsigned amount = (offset & 0xFF) + borrow;
        borrow = desc.bytes[i] < amount ? 1 : 0;
        desc.bytes[i] = static_cast<uint8_t>(desc.bytes[i] - amount);
        offset >>= 8;
    }
}

} // namespace

void _gl_desc_offset(const gl_desc *source, int offset, gl_desc *result) {
    *result = *source;
    if (offset > 0) add(*result, static_cast<unsigned>(offset));
    if (offset < 0) subtract(*result, 0U - static_cast<unsigned>(offset));
}

int _gl_desc_eq(const gl_desc *a, const gl_desc *b) {
    return a->count == b->count && std::equal(a->bytes, a->bytes + significant_bytes(*a), b->bytes) ? 1 : 0;
}

gl_wchar _gl_desc_to_gl_wchar(const gl_desc *desc) {
    gl_wchar value = 0;
    for (int i = 0; i < significant_bytes(*desc); ++i) value = value << 8 | desc->bytes[i];
    return value;
}
